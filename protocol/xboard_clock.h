// The xboard clock commands and what they make of the search limits.
#pragma once
#include "search/search.h"

namespace orvo {

// "level MPS BASE INC": moves per session (30 when 0 or less) and the
// increment. The base time is read and not used; the clock comes with
// every "time".
void xboard_level(SearchLimits& limits, const char* mps, const char* base, const char* inc);
// "time N": the engine's clock in centiseconds, at game ply `ply`, with
// `reserve` seconds kept back. Sets the target and hard limit for the next
// move; returns the full-move number it counted with.
int xboard_time(SearchLimits& limits, int centiseconds, int ply, double reserve = CLOCK_RESERVE);
// "st N": N seconds a move (only the hard limit binds). N <= 0 changes nothing.
void xboard_st(SearchLimits& limits, int seconds);
// "sd N": a depth limit of N plies. N < 0 changes nothing.
void xboard_sd(SearchLimits& limits, int depth);

}  // namespace orvo

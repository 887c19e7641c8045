// Link-time wraps of two engine routines for the targets that run searches
// and developer commands from fuzzed input: resetSearch, so that a search
// looks at its input as often as the target wants, and perft_command, so
// that "perft" walks at most 2 plies. Compile wraps.cpp into the target
// itself (not through a library: the engine's libraries that call these
// routines come later on the link line) and link with
// -Wl,--wrap=_ZN4orvo11resetSearchERNS_5chessE
// -Wl,--wrap=_ZN4orvo13perft_commandERNS_5boardEPKc.
#pragma once

namespace orvo::fuzz {

// Nodes between two looks at the input in every search started from now on.
extern int search_poll_interval;

}  // namespace orvo::fuzz

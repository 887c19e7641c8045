// Endgame bitbases served by an outside library loaded at run time: exact
// scores for positions with at most five men.
#pragma once
#include "position/board.h"

namespace orvo {

// File name of the library, appended to egbb_path.
constexpr const char* EGBB_LIBRARY_NAME = "egbbdll.dll";
// Cache size and load options handed to the library's loader.
constexpr int EGBB_CACHE_SIZE = 4194304;
constexpr int EGBB_LOAD_OPTIONS = 1;
// The library's answer for a position it does not know.
constexpr int EGBB_UNKNOWN = 99999;

// True when the last load succeeded; the search probes only then.
extern bool egbb_loaded;

// Releases a library loaded earlier, then loads egbb_path + "egbbdll.dll"
// and hands it egbb_path. Prints whether it worked.
bool egbb_load();

// Probes the position (at most three pieces besides the kings); true and
// the library's score when the position is in the bitbases.
bool egbb_probe(const board& b, int& score);

}  // namespace orvo

// The Gaviota tables behind the library: where they are looked for, and
// their opening and closing.
//
// Given a folder, the library looks for table files in that folder and in
// its subfolder "gaviota" (where the installed library keeps a link to the
// tables of Debian's gaviotatb package). Every compression scheme the
// tables come in is tried, scheme 4 (the usual one) first; the first scheme
// with any table present is kept.
#pragma once
#include <cstddef>

namespace egbb_gaviota {

// The subfolder looked in besides the folder itself.
constexpr const char* TABLES_SUBFOLDER = "gaviota";
// Cache sizes below this get this much.
constexpr std::size_t MIN_CACHE_BYTES = 1 << 20;

// Opens the tables found under folder (closing any opened before) with a
// cache of cache_bytes. True when at least one table was found; otherwise
// prints a message and leaves every probe unanswered.
bool open_tables(const char* folder, std::size_t cache_bytes);
// True when open_tables found tables and close_tables has not run since.
bool tables_open();
void close_tables();

}  // namespace egbb_gaviota

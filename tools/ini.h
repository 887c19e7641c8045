// The settings file "Orvo214.ini" in the current directory: transposition
// table size for xboard play, and the paths of the bitbase library and of
// the opening book.
#pragma once

namespace orvo {

constexpr const char* INI_FILE_NAME = "Orvo214.ini";
constexpr int HASH_SIZE_DEFAULT = 64;
constexpr int PATH_SIZE = 128;
// Additions to the file's keys: search threads for xboard play (UCI has
// its "Threads" option), and the milliseconds kept back from the clock on
// every move (UCI: "Move Overhead").
constexpr int THREADS_DEFAULT = 1, THREADS_MAX = 256;
constexpr int MOVE_OVERHEAD_DEFAULT_MS = 1000, MOVE_OVERHEAD_MAX_MS = 5000;

struct Settings {
  // Megabytes of transposition table for xboard play (UCI has its "Hash"
  // option instead).
  int hash_size = HASH_SIZE_DEFAULT;
  // Directory prefix of the bitbase library, ending in a path separator.
  // 38 blanks until the file sets it: opening the library then fails with
  // its own message.
  char egbb_path[PATH_SIZE] = "                                      ";
  // Full path of the opening-book file; 38 blanks likewise.
  char book_path[PATH_SIZE] = "                                      ";
  // Key n_threads: 1 to 256 (a larger count is held at 256, a smaller one
  // or text leaves 1).
  int threads = THREADS_DEFAULT;
  // Key overheads: 0 to 5000 ms, held to the range.
  int move_overhead_ms = MOVE_OVERHEAD_DEFAULT_MS;
};

// Reads the file into settings; true when it was found. Each call first
// puts hash_size, threads and the overhead back to their defaults; the
// paths keep what an earlier call gave them.
bool read_ini(Settings& settings);

}  // namespace orvo

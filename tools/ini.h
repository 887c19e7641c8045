// The settings file "Orvo214.ini" in the current directory: transposition
// table size for xboard play, and the paths of the bitbase library and of
// the opening book.
#pragma once

namespace orvo {

constexpr const char* INI_FILE_NAME = "Orvo214.ini";
constexpr int HASH_SIZE_DEFAULT = 64;
constexpr int PATH_SIZE = 128;

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
};

// Reads the file into settings; true when it was found. Each call first
// puts hash_size back to 64; the paths keep what an earlier call gave them.
bool read_ini(Settings& settings);

}  // namespace orvo

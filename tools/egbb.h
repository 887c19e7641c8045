// Endgame bitbases served by an outside library loaded at run time: exact
// scores for positions with at most five men.
#pragma once
#include <mutex>

#include "position/board.h"

namespace orvo {

// File name of the library, appended to egbb_path.
constexpr const char* EGBB_LIBRARY_NAME = "egbbdll.dll";
// Tried when the first name does not load: the name the bitbase library
// has on 64-bit Linux, so that bitbases a user already has work too.
// A deliberate addition for Linux.
constexpr const char* EGBB_LINUX_LIBRARY_NAME = "egbbso64.so";
// Cache size and load options handed to the library's loader.
constexpr int EGBB_CACHE_SIZE = 4194304;
constexpr int EGBB_LOAD_OPTIONS = 1;
// The library's answer for a position it does not know.
constexpr int EGBB_UNKNOWN = 99999;

// The loaded library. One per engine: the library itself is a resource of
// the process. Searches running side by side share it, one probe at a
// time, since the library keeps a cache of its own.
class Bitbases {
 public:
  Bitbases() = default;
  ~Bitbases();
  Bitbases(const Bitbases&) = delete;
  Bitbases& operator=(const Bitbases&) = delete;

  // Releases a library loaded earlier, then loads path + "egbbdll.dll" (or,
  // failing that, path + "egbbso64.so") and hands it the path. Prints
  // whether it worked; a file that exists but cannot serve is named on
  // standard error with the reason.
  bool load(const char* path);
  // True when the last load succeeded; the search probes only then.
  bool loaded() const { return probe_ != nullptr; }
  // Probes the position (at most three pieces besides the kings); true and
  // the library's score when the position is in the bitbases.
  bool probe(const board& b, int& score) const;

  using ProbeFunction = int (*)(int side, int white_king, int black_king, int piece1, int square1,
                                int piece2, int square2, int piece3, int square3);

 private:
  void release();

  void* library_ = nullptr;
  ProbeFunction probe_ = nullptr;
  mutable std::mutex probing_;
};

}  // namespace orvo

#include "tools/egbb.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>

#include "io/output.h"
#include "tools/ini.h"

namespace orvo {

namespace {

// The loader's result is not used.
using LoadFunction = int (*)(char* path, int cache_size, int load_options);

// Library piece codes by piece type (pawn .. king); Black's are 6 higher.
constexpr int white_code[7] = {0, 6, 5, 4, 3, 2, 1};
constexpr int BLACK_OFFSET = 6;

// The names tried in turn. The second one is a deliberate addition for
// Linux: the bitbase library's own name there.
constexpr const char* library_names[] = {EGBB_LIBRARY_NAME, EGBB_LINUX_LIBRARY_NAME};
constexpr int NAME_SIZE = PATH_SIZE + 16;
// The path handed to the library's loader, which takes it writable.
constexpr int LOADER_PATH_SIZE = PATH_SIZE;

// Why a file that is there cannot serve, on standard error, so a user sees
// why the bitbases stay off; not into a pipe that standard output shares.
__attribute__((format(printf, 1, 2))) void report(const char* format, ...) {
  if (!stderr_is_own_channel()) return;
  char text[OUTPUT_BUFFER_SIZE];
  std::va_list args;
  va_start(args, format);
  std::vsnprintf(text, sizeof text, format, args);
  va_end(args);
  err("%s", text);
}

}  // namespace

Bitbases::~Bitbases() { release(); }

void Bitbases::release() {
  if (library_) dlclose(library_);
  library_ = nullptr;
  probe_ = nullptr;
}

bool Bitbases::load(const char* path) {
  release();
  LoadFunction load = nullptr;
  for (const char* file : library_names) {
    char name[NAME_SIZE];
    std::snprintf(name, sizeof name, "%s%s", path, file);
    // Opens the candidate and finds both entry points; a file that is there
    // but cannot serve (not a library for this machine, an entry point
    // missing) is reported.
    const bool present = access(name, F_OK) == 0;
    library_ = dlopen(name, RTLD_NOW | RTLD_LOCAL);
    if (!library_) {
      if (present) report("egbb: cannot load %s: %s\n", name, dlerror());
      continue;
    }
    load = reinterpret_cast<LoadFunction>(dlsym(library_, "load_egbb_5men"));
    probe_ = reinterpret_cast<ProbeFunction>(dlsym(library_, "probe_egbb_5men"));
    // A library without both entry points counts as missing rather than
    // being called through a null address.
    if (load && probe_) break;
    report("egbb: %s lacks load_egbb_5men or probe_egbb_5men\n", name);
    release();
    load = nullptr;
  }
  if (!load) {
    out("EgbbProbe not Loaded!\n");
    return false;
  }
  char loader_path[LOADER_PATH_SIZE];
  std::snprintf(loader_path, sizeof loader_path, "%s", path);
  load(loader_path, EGBB_CACHE_SIZE, EGBB_LOAD_OPTIONS);
  out("EgbbProbe Loaded!\n");
  return true;
}

bool Bitbases::probe(const board& b, int& score) const {
  if (!probe_) return false;
  int king[2] = {0, 0};
  int piece[3] = {0, 0, 0}, square[3] = {0, 0, 0};
  int n = 0;
  for (int sq = 0; sq < 64; ++sq) {
    const int type = b.piece[sq];
    if (type == EMPTY) continue;
    const int color = b.color[sq];
    // The library counts squares from a1 = 0: the row bits flipped.
    if (type == KING) {
      king[color == WHITE ? WHITE : BLACK] = sq ^ 56;
    } else if (n < 3) {  // the caller sends at most three; never write past them
      piece[n] = white_code[type] + (color == WHITE ? 0 : BLACK_OFFSET);
      square[n] = sq ^ 56;
      ++n;
    }
  }
  // The library's side code is 0 for White to move: the board's xside.
  std::lock_guard<std::mutex> lock(probing_);
  score = probe_(b.xside, king[WHITE], king[BLACK], piece[0], square[0], piece[1], square[1], piece[2],
                 square[2]);
  return score != EGBB_UNKNOWN;
}

}  // namespace orvo

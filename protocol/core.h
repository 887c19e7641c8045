// The parts of the engine that both protocols work on: the game, the
// transposition table, the bitbases, the book, the settings and the search.
// The chess object owns them for the life of the program; a protocol gets
// them when it starts.
#pragma once
#include "book/book.h"
#include "position/game.h"
#include "search/hash.h"
#include "search/search.h"
#include "tools/egbb.h"
#include "tools/ini.h"

namespace orvo {

constexpr const char* ORVO_VERSION = "2.14a_x64";

struct Core {
  Game game;
  hash tt;
  Bitbases bitbases;
  Book book;
  Settings settings;
  Search search{tt, &bitbases};
};

// How a protocol loop ended: the program then ends with its status.
struct LoopEnd {
  int status = 0;
  // Ended by a command ("quit") rather than by the end of the input.
  bool quit = false;
};

}  // namespace orvo

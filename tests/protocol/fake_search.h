// A stand-in for the search, the transposition table and the evaluation
// caches, so that the UCI side can be tested on its own. It records how it
// was called; its think() runs a hook that may feed lines to the UCI
// handler, as the input poll of a real search would.
#pragma once
#include <string>

#include "search/search.h"

namespace orvo::fake {

struct Calls {
  int reset_search = 0;
  int think = 0;
  int tt_resize = 0;
  int last_tt_megabytes = -1;
  int tt_clear = 0;
  int eval_caches = 0;
  int allocate = 0;
  double alloc_time = 0, alloc_inc = 0, alloc_factor = 0;
  int alloc_togo = 0;
  // Engine flags and limits as think() found them.
  int searching = -1, ponder_search = -1, bestmove_owed = -1;
  SearchLimits limits_at_think{};
};
extern Calls calls;

// What the fake search answers.
struct Script {
  Move best = 0;
  Move reply = 0;
  TimeAllocation allocation{1.5, 6.0};
  double elapsed = 0;  // seconds
  int nodes = 0;
  double nps = 0;
  // Run inside think(), as the search's input poll would.
  void (*during_think)(chess&) = nullptr;
};
extern Script script;

// When set, the stand-ins print a marker line ("[tt_resize 32]") when
// called, so that their order among the engine's messages can be checked.
extern bool trace;

void reset();

}  // namespace orvo::fake

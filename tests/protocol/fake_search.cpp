#include "tests/protocol/fake_search.h"

#include <cstdio>

#include "engine/chess.h"

namespace orvo {

SearchLimits limits;
SearchState state;
SearchClock search_clock;
i64 nodes;
i32 seldepth;

namespace fake {

Calls calls;
Script script;
bool trace = false;

void reset() {
  calls = Calls{};
  script = Script{};
  trace = false;
}

}  // namespace fake

double now_seconds() { return 0; }

void resetSearch(chess& c) {
  ++fake::calls.reset_search;
  if (fake::trace) std::printf("[resetSearch]\n");
  if (c.uci_mode) {
    limits.fixedDepth = false;
    limits.depthLimit = 0;
    limits.timed = false;
    limits.targetTime = 0;
    limits.hardLimit = 0;
    limits.infinite = false;
  }
  limits.analysis = false;
  const Move reply = state.expected_reply;
  state = SearchState{};
  state.expected_reply = reply;  // the reply is the search's to keep
  search_clock = SearchClock{};
  nodes = 0;
  seldepth = 0;
}

void updateClock() {}

Move think(chess& c) {
  ++fake::calls.think;
  fake::calls.searching = c.searching;
  fake::calls.ponder_search = c.ponder_search;
  fake::calls.bestmove_owed = c.force_mode;
  fake::calls.limits_at_think = limits;
  if (fake::script.during_think) fake::script.during_think(c);
  state.best_move = fake::script.best;
  state.expected_reply = fake::script.reply;
  search_clock.elapsed = fake::script.elapsed;
  search_clock.nps = fake::script.nps;
  nodes = fake::script.nodes;
  return fake::script.best;
}

TimeAllocation allocate_time(double time_left, double increment, int moves_to_go, double factor) {
  ++fake::calls.allocate;
  fake::calls.alloc_time = time_left;
  fake::calls.alloc_inc = increment;
  fake::calls.alloc_togo = moves_to_go;
  fake::calls.alloc_factor = factor;
  return fake::script.allocation;
}

void tt_resize(int megabytes) {
  ++fake::calls.tt_resize;
  fake::calls.last_tt_megabytes = megabytes;
  if (fake::trace) std::printf("[tt_resize %d]\n", megabytes);
}

void tt_clear() {
  ++fake::calls.tt_clear;
  if (fake::trace) std::printf("[tt_clear]\n");
}

void eval_allocate_caches() {
  ++fake::calls.eval_caches;
  if (fake::trace) std::printf("[eval_allocate_caches]\n");
}

}  // namespace orvo

// One position searched to a fixed depth from a cleared table, without
// output: the unit of the search benchmarks, whose node totals are
// signatures of the search.
#pragma once
#include "engine/chess.h"
#include "position/fen.h"
#include "search/hash.h"
#include "search/search.h"

namespace orvo::bench {

// Returns the nodes searched.
inline long long search_fixed_depth(chess& c, const char* fen, int depth) {
  set_position(c.pos, fen);
  tt_clear();
  c.uci_mode = 1;  // resetSearch clears the limits in UCI mode
  resetSearch(c);
  c.uci_mode = 0;
  c.post_on = 0;
  limits.fixedDepth = true;
  limits.depthLimit = depth;
  think(c);
  return nodes;
}

}  // namespace orvo::bench

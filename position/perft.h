// Perft: walks the legal move tree and counts, per level, the moves and how
// many were captures, en-passant captures, promotions and castlings.
#pragma once
#include "position/board.h"

namespace orvo {

constexpr int PERFT_MAX_DEPTH = 10;

// Counters by level (0 = moves from the root). 64-bit, so that deep counts
// (perft 7 from the start is over three billion) print correctly.
struct PerftCounts {
  i64 moves[PERFT_MAX_DEPTH];
  i64 captures[PERFT_MAX_DEPTH];
  i64 ep[PERFT_MAX_DEPTH];
  i64 promotions[PERFT_MAX_DEPTH];
  i64 castles[PERFT_MAX_DEPTH];
};

// Walks depth levels (1..PERFT_MAX_DEPTH) from b and returns the counters;
// all zero for a depth outside that range. b comes back as it was.
PerftCounts perft_run(board& b, int depth);

}  // namespace orvo

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
extern PerftCounts perft_counts;

// Zeroes the counters and walks depth levels (1..PERFT_MAX_DEPTH) from b.
void perft_run(board& b, int depth);
// The "perft" command: reads the depth with atoi; nothing for depth <= 0;
// a depth above PERFT_MAX_DEPTH is refused with a message. Otherwise walks,
// prints the table and the elapsed milliseconds.
void perft_command(board& b, const char* arg);

}  // namespace orvo

#include "position/perft.h"

#include <cstdlib>

#include "position/makemove.h"
#include "position/movegen.h"

namespace orvo {

namespace {

void walk(board& b, int remaining, int level, PerftCounts& counts) {
  if (remaining == 0) return;
  MoveList list;
  generate_all(b, list);
  const int ep = b.ep;
  undo u;
  for (int i = 0; i < list.count; ++i) {
    const Move m = list.moves[i];
    if (!make(b, m, u)) continue;
    if (move_captured(m)) ++counts.captures[level];
    if (move_piece(m) == PAWN && move_to(m) == ep && move_captured(m) == PAWN) ++counts.ep[level];
    if (move_promotion(m)) ++counts.promotions[level];
    if (move_piece(m) == KING && std::abs(move_from(m) - move_to(m)) == 2) ++counts.castles[level];
    ++counts.moves[level];
    walk(b, remaining - 1, level + 1, counts);
    unmake(b, u);
  }
}

}  // namespace

PerftCounts perft_run(board& b, int depth) {
  PerftCounts counts{};
  if (depth >= 1 && depth <= PERFT_MAX_DEPTH) walk(b, depth, 0, counts);
  return counts;
}

}  // namespace orvo

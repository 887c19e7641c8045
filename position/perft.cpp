#include "position/perft.h"

#include <cstdlib>

#include "position/make_body.h"
#include "position/movegen.h"

namespace orvo {

namespace {

// One body for both colours; the side to move alternates with the level, so
// each colour's walk calls the other's, and make and unmake are those of the
// known colour, without a dispatch per move.
template <int C>
void walk(board& b, int remaining, int level, PerftCounts& counts) {
  if (remaining == 0) return;
  MoveList list;
  generate_all(b, list);
  const int ep = b.ep;
  make_detail::PreparedPosition prepared = make_detail::prepare_position<C>(b);
  const int count = list.count;  // read once: the board's writes could alias it
  for (int i = 0; i < count; ++i) {
    const Move m = list.moves[i];
    if (!make_detail::make_prepared<C>(b, m, prepared)) continue;
    if (const int captured = move_captured(m)) {
      ++counts.captures[level];
      if (captured == PAWN && move_to(m) == ep && move_piece(m) == PAWN) ++counts.ep[level];
    }
    if (move_promotion(m)) ++counts.promotions[level];
    if (move_piece(m) == KING && std::abs(move_from(m) - move_to(m)) == 2) ++counts.castles[level];
    ++counts.moves[level];
    if (remaining > 1) walk<C ^ 1>(b, remaining - 1, level + 1, counts);
    make_detail::unmake_inline<C>(b, prepared.record);
  }
}

}  // namespace

PerftCounts perft_run(board& b, int depth) {
  PerftCounts counts{};
  if (depth >= 1 && depth <= PERFT_MAX_DEPTH) {
    if (b.side == WHITE)
      walk<WHITE>(b, depth, 0, counts);
    else
      walk<BLACK>(b, depth, 0, counts);
  }
  return counts;
}

}  // namespace orvo

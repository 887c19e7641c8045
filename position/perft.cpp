#include "position/perft.h"

#include <cstdlib>

#include "position/make_body.h"
#include "position/movegen.h"

namespace orvo {

namespace {

using make_detail::PreparedPosition;
using make_detail::Taking;

// The counts of one level, kept apart from the table while the level's
// moves are walked: the board's 64-bit fields could alias the table's, so
// counts written through it would be stored and reloaded around every move.
struct LevelCounts {
  i64 moves = 0, captures = 0, ep = 0, promotions = 0, castles = 0;

  template <Taking T>
  void count(Move m, int ep_square) {
    ++moves;
    if constexpr (T != Taking::NEVER) {
      if (const int captured = move_captured(m)) {
        ++captures;
        if (captured == PAWN && move_to(m) == ep_square && move_piece(m) == PAWN) ++ep;
      }
    }
    if (move_promotion(m)) ++promotions;
    if (move_piece(m) == KING && std::abs(move_from(m) - move_to(m)) == 2) ++castles;
  }
  void add_to(PerftCounts& c, int level) const {
    c.moves[level] += moves;
    c.captures[level] += captures;
    c.ep[level] += ep;
    c.promotions[level] += promotions;
    c.castles[level] += castles;
  }
};

template <int C>
void walk(board& b, int remaining, int level, PerftCounts& counts);

// One stretch of a level's list, in list order, whose moves are all of
// kind T. The last level is an instance of its own: with no walk below it,
// nothing has to outlive a call between a move's make and its unmake.
template <int C, Taking T, bool Last>
void walk_moves(board& b, const Move* moves, int n, int remaining, int level, PerftCounts& counts,
                PreparedPosition& prepared, LevelCounts& here, int ep) {
  for (int i = 0; i < n; ++i) {
    const Move m = moves[i];
    if (!make_detail::make_prepared<C, T>(b, m, prepared)) continue;
    here.count<T>(m, ep);
    if constexpr (!Last) walk<C ^ 1>(b, remaining - 1, level + 1, counts);
    make_detail::unmake_prepared<C, T>(b, prepared);
  }
}

// Both stretches of a level's list: the capture generator's moves, then the
// quiet generator's, which take nothing.
template <int C, bool Last>
void walk_list(board& b, const MoveList& list, int captures, int count, int remaining, int level,
               PerftCounts& counts, PreparedPosition& prepared, LevelCounts& here, int ep) {
  walk_moves<C, Taking::MAYBE, Last>(b, list.moves, captures, remaining, level, counts, prepared, here, ep);
  walk_moves<C, Taking::NEVER, Last>(b, list.moves + captures, count - captures, remaining, level, counts,
                                     prepared, here, ep);
}

// One body for both colours; the side to move alternates with the level, so
// each colour's walk calls the other's, and make and unmake are those of the
// known colour, without a dispatch per move. The quiet generator's moves,
// which follow the capture generator's in the list, take nothing: their
// make and unmake leave the captures' branches out.
template <int C>
void walk(board& b, int remaining, int level, PerftCounts& counts) {
  if (remaining == 0) return;
  MoveList list;
  // Each count read once: the board's writes could alias the list's.
  const int captures = generate_captures(b, list);
  const int count = generate_quiets(b, list);
  const int ep = b.ep;
  PreparedPosition prepared = make_detail::prepare_position<C>(b);
  LevelCounts here;
  if (remaining == 1)
    walk_list<C, true>(b, list, captures, count, remaining, level, counts, prepared, here, ep);
  else
    walk_list<C, false>(b, list, captures, count, remaining, level, counts, prepared, here, ep);
  here.add_to(counts, level);
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

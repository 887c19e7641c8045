// Passed pawns with pieces and kings: king support in the endgame, a rook
// beside a pawn on the seventh rank, a blockading piece, and the drawn rook
// and pawn against rook endings.
#include "eval/colour.h"
#include "eval/tables.h"
#include "eval/terms.h"

namespace orvo::eval {

namespace {

// Adds C's passed-pawn bonuses (White-relative) and returns the square of
// the last passed pawn visited, or -1.
template <int C>
int passed_of(const board& b, u64 passed, int& score) {
  using S = colour<C>;
  const int own_king = king_square(b, C);
  const u64 seventh_rank_rooks = S::own(b)[BB_ROOK] & rank_mask[S::rel_row(A7)];
  // Deliberate: White's blockade test reads the pawn's own square, which
  // holds the White pawn itself, so it never finds a Black piece and never
  // scores. Black's reads the square two rows ahead of the pawn.
  constexpr int blockade_offset = C == WHITE ? 0 : 16;
  int last = -1;
  while (passed) {
    const int sq = pop_lsb(passed);
    last = sq;
    const int index = S::home_sq(sq) >> 3;  // own rank - 1
    if (b.phase == 2 && file_distance(own_king, sq) == 1 && S::rel_row(own_king) <= S::rel_row(sq))
      score += S::sign * passed_king_support[index];
    if (S::rel_row(sq) == 1 && seventh_rank_rooks) score += S::sign * 100;
    const int block = sq + blockade_offset;
    // A pawn on its seventh rank has no square two rows ahead.
    if (block < 64 && b.color[block] == S::them) score -= S::sign * passed_blockade[index];
  }
  return last;
}

// Rook and pawn against rook, for C's single pawn on pawn_sq: true when the
// position counts as drawn and the term is 0. Drawn are: the defending king
// within one file of the pawn and on its home side of it (a larger row for a
// White pawn), as the rule is written; or the own king on its home side of
// the pawn, or more than one file away from it.
template <int C>
bool rook_pawn_draw(const board& b, int pawn_sq) {
  using S = colour<C>;
  const int own_king = king_square(b, C), enemy_king = king_square(b, S::them);
  if (file_distance(enemy_king, pawn_sq) <= 1 && S::rel_row(enemy_king) > S::rel_row(pawn_sq))
    return true;
  return S::rel_row(own_king) > S::rel_row(pawn_sq) || file_distance(own_king, pawn_sq) > 1;
}

}  // namespace

int passed_pawn_term(const board& b, const pawn_record& pawns) {
  int score = 0;
  const int white_last = passed_of<WHITE>(b, pawns.white_passed, score);
  const int black_last = passed_of<BLACK>(b, pawns.black_passed, score);
  const bool rook_each = b.phase_units[WHITE] == 5 && b.phase_units[BLACK] == 5;
  if (rook_each && b.pawn_count[WHITE] == 1 && b.pawn_count[BLACK] == 0 && white_last >= 0 &&
      rook_pawn_draw<WHITE>(b, white_last))
    return 0;
  if (rook_each && b.pawn_count[BLACK] == 1 && b.pawn_count[WHITE] == 0 && black_last >= 0 &&
      rook_pawn_draw<BLACK>(b, black_last))
    return 0;
  return score;
}

}  // namespace orvo::eval

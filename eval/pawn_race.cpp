// King and pawns against a bare king: a bonus of 525 when the pawn is sure
// to promote, so that the search steers into such endings.
#include "eval/colour.h"
#include "eval/tables.h"
#include "eval/terms.h"

namespace orvo::eval {

namespace {

constexpr int RACE_BONUS = 525;

template <int C>
int race_of(const board& b) {
  using S = colour<C>;
  // Deliberate: both colours take their pawn on the lowest square number.
  // For White that is the most advanced pawn (nearest the a-file among
  // equals); for Black it is the least advanced one.
  const int pawn = __builtin_ctzll(S::own(b)[BB_PAWN]);
  const int king = king_square(b, C), enemy_king = king_square(b, S::them);
  const int king_row = S::rel_row(king), pawn_row = S::rel_row(pawn);
  if (king_row >= pawn_row) return 0;  // the king must stand ahead of the pawn
  const int ahead = pawn_row - king_row;
  const int file = pawn & 7;

  if (file == 0 || file == 7) {
    // Rook pawn: the king on the neighbouring file in front of it keeps the
    // defending king out of the corner if that king is too far away.
    const int corner = S::rel_sq(file == 0 ? A8 : H8);
    const int escort_file = file == 0 ? 1 : 6;
    const int steps = king_row > 1 ? king_row : 1;
    if ((king & 7) == escort_file && steps < king_distance[enemy_king][corner])
      return S::sign * RACE_BONUS;
    // Deliberate: a White rook pawn is judged by this rule alone, while a
    // Black one goes on to the rule for the other files.
    if constexpr (C == WHITE) return 0;
  }

  const bool nearer = king_distance[king][pawn] < king_distance[enemy_king][pawn];
  if constexpr (C == WHITE) {
    // Nearer to the pawn and two rows ahead of it, or on the sixth rank.
    if (nearer && (ahead >= 2 || king_row == 2)) return RACE_BONUS;
    // Directly ahead: the opposition test asked for the side to move always
    // holds, so this always scores. Kept as it is.
    if (ahead == 1 && opposition(b, b.side)) return RACE_BONUS;
  } else {
    // Deliberately grouped differently from White's rule: (nearer and not
    // ahead of the pawn) or on the third rank. With the king ahead of the
    // pawn the first alternative never holds, so only a king on the third
    // rank qualifies.
    if ((nearer && (king >> 3) < (pawn >> 3) + 1) || king_row == 2) return -RACE_BONUS;
    // Directly ahead: the opposition test for the side not to move.
    if (ahead == 1 && opposition(b, b.xside)) return -RACE_BONUS;
  }
  return 0;
}

}  // namespace

bool opposition(const board& b, int side) {
  const int wk = king_square(b, WHITE), bk = king_square(b, BLACK);
  int df = file_distance(wk, bk);
  int dr = (wk >> 3) - (bk >> 3);
  if (dr < 0) dr = -dr;
  if (side == b.side) {
    if (dr & 1) --dr;
    if (!(df & 1)) return !(dr & 1);
    --df;
  }
  if (df & 1) return false;
  return !(dr & 1);
}

int pawn_race_term(const board& b) {
  if (b.phase_units[WHITE] != 0 || b.phase_units[BLACK] != 0) return 0;
  const u64 white_pawns = b.white[BB_PAWN], black_pawns = b.black[BB_PAWN];
  if (white_pawns && !black_pawns) return race_of<WHITE>(b);
  if (black_pawns && !white_pawns) return race_of<BLACK>(b);
  return 0;
}

}  // namespace orvo::eval

// The castling terms and the king-safety term: pawn shelter against the
// pressure of the enemy pieces, and the king's square in the endgame.
#include "eval/colour.h"
#include "eval/tables.h"
#include "eval/terms.h"

namespace orvo::eval {

namespace {

template <int C>
constexpr u32 short_right() {
  return C == WHITE ? WHITE_SHORT : BLACK_SHORT;
}
template <int C>
constexpr u32 long_right() {
  return C == WHITE ? WHITE_LONG : BLACK_LONG;
}

// Castling term of colour C, from C's own point of view.
template <int C>
int castling_of(const board& b, const pawn_record& pawns) {
  using S = colour<C>;
  const u64* enemy = S::enemy(b);
  // Deliberate: each colour's term starts from the other colour's set-up.
  // White's term is 12 worse when Black has pawns on d5 and c7, none on e5,
  // and a knight or bishop on c6; Black's term likewise looks at White's
  // pawns on d4 and c2, e4 and a White minor piece on c3.
  int s = 0;
  if ((enemy[BB_PAWN] & sq_bit(S::rel_sq(D5))) && (enemy[BB_PAWN] & sq_bit(S::rel_sq(C7))) &&
      !(enemy[BB_PAWN] & sq_bit(S::rel_sq(E5))) &&
      ((enemy[BB_KNIGHT] | enemy[BB_BISHOP]) & sq_bit(S::rel_sq(C6))))
    s = -12;
  if (b.phase == 2) return s;
  if (b.castled[C]) {
    if ((king_square(b, C) & 7) >= 5)
      s += 5 - shelter_of(pawns, C, SHELTER_KINGSIDE);
    else
      s -= shelter_of(pawns, C, SHELTER_QUEENSIDE);
  } else {
    const bool no_right_left = !(b.castle & (short_right<C>() | long_right<C>()));
    s -= (b.phase == 0 && no_right_left) ? 26 : 13;
  }
  return s;
}

template <int C>
int shelter_for(const board& b, const pawn_record& pawns) {
  const int kf = king_square(b, C) & 7;
  const int king_side = shelter_of(pawns, C, SHELTER_KINGSIDE);
  const int queen_side = shelter_of(pawns, C, SHELTER_QUEENSIDE);
  const int e_file = shelter_of(pawns, C, SHELTER_E);
  if (b.castled[C]) {
    if (kf >= 5) return king_side;
    if (kf == 4) return e_file;
    if (kf == 3) return shelter_of(pawns, C, SHELTER_D);
    return queen_side;
  }
  const bool may_short = b.castle & short_right<C>();
  const bool may_long = b.castle & long_right<C>();
  int s = e_file;
  if (may_short && may_long) {
    if (king_side < s) s = king_side;
    if (queen_side < s) s = queen_side;
  } else if (may_short) {
    if (king_side < s) s = king_side;
  } else {
    if (queen_side < s) s = queen_side;
  }
  return s < 3 ? 3 : s;
}

int clamp15(int v) { return v < 0 ? 0 : v > 15 ? 15 : v; }

}  // namespace

int castling_term(const board& b, const pawn_record& pawns, int colour) {
  return colour == WHITE ? castling_of<WHITE>(b, pawns) : -castling_of<BLACK>(b, pawns);
}

int king_shelter(const board& b, const pawn_record& pawns, int colour) {
  return colour == WHITE ? shelter_for<WHITE>(b, pawns) : shelter_for<BLACK>(b, pawns);
}

int king_safety_term(const board& b, const pawn_record& pawns) {
  int s = 0;
  if (b.phase == 2) {
    constexpr u64 queen_wing = 0x0F0F0F0F0F0F0F0Full, king_wing = 0xF0F0F0F0F0F0F0F0ull;
    const u64 all = b.white[BB_PAWN] | b.black[BB_PAWN];
    const int* table = ((all & queen_wing) && (all & king_wing)) ? king_endgame_both_wings
                       : (all & king_wing)                      ? king_endgame_kingside
                                                                : king_endgame_queenside;
    s += table[king_square(b, WHITE) ^ 56] - table[king_square(b, BLACK)];
  }

  // The White king: clamp, then remap when Black has no queen.
  {
    int shelter = shelter_for<WHITE>(b, pawns);
    int pressure = clamp15(b.king_attack[WHITE]);
    if (shelter > 15) shelter = 15;
    if (!b.black[BB_QUEEN]) {
      pressure = queenless_remap[pressure];
      shelter = queenless_remap[shelter];
    }
    s -= danger[shelter][pressure];
  }

  // The Black king: deliberately the other order. Without a White queen the
  // pressure is remapped before it is clamped, and a pressure above 15 has
  // no entry in the remap table and counts as 0. (The shelter value never
  // exceeds 15, so for it the order makes no difference.)
  {
    int shelter = shelter_for<BLACK>(b, pawns);
    int pressure = b.king_attack[BLACK];
    if (!b.white[BB_QUEEN]) {
      pressure = (pressure < 0 || pressure > 15) ? 0 : queenless_remap[pressure];
      shelter = queenless_remap[clamp15(shelter)];
    }
    pressure = clamp15(pressure);
    if (shelter > 15) shelter = 15;
    s += danger[shelter][pressure];
  }
  return s;
}

}  // namespace orvo::eval

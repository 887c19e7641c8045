// Knights, bishops, rooks and queens: placement, outposts, trapped bishops,
// the bishop pair, rook files, mobility (into the positional sums) and king
// tropism (into the king-attack counters).
#include "eval/colour.h"
#include "eval/tables.h"
#include "eval/terms.h"

namespace orvo::eval {

int mobility(u64 targets) {
  int m = 0;
  for (int i = 0; i < 4; ++i) m += mobility_weight[i] * popcount(targets & mobility_ring[i]);
  return m;
}

namespace {

template <int C>
int knights_of(board& b, const pawn_record& pawns) {
  using S = colour<C>;
  const u64* own = S::own(b);
  const int enemy_king = king_square(b, S::them);
  const u64 outposts = outposts_of(pawns, C);
  int s = 0, pressure = 0, mob = 0;
  u64 set = own[BB_KNIGHT];
  while (set) {
    const int sq = pop_lsb(set);
    s += knight_table[sq];
    if (b.phase != 2 && (outposts & sq_bit(sq))) s += 2 * outpost_bonus[sq & 7];
    pressure += knight_tropism[king_distance[sq][enemy_king]];
    mob += mobility(knight_attacks[sq] & ~own[BB_ALL]);
  }
  b.king_attack[S::them] += pressure;
  b.positional[C] += mob;
  return S::sign * s;
}

// A bishop on a7 shut in by an enemy pawn on b6, and the like, written for
// White (Black's squares are the mirror images).
struct trap {
  int bishop, pawn;
};
constexpr trap bishop_traps[4] = {{A7, B6}, {B8, C7}, {H7, G6}, {G8, F7}};

// The four trap squares of colour C's bishops, to skip the test elsewhere.
template <int C>
constexpr u64 trap_squares() {
  u64 m = 0;
  for (const trap& t : bishop_traps) m |= sq_bit(colour<C>::rel_sq(t.bishop));
  return m;
}

template <int C>
int bishops_of(board& b, const pawn_record& pawns, int pawns_on_board) {
  using S = colour<C>;
  const u64* own = S::own(b);
  const u64 enemy_pawns = S::enemy(b)[BB_PAWN];
  const int enemy_king = king_square(b, S::them);
  const u64 outposts = outposts_of(pawns, C);
  int s = 0, pressure = 0, mob = 0;
  u64 set = own[BB_BISHOP];
  while (set) {
    const int sq = pop_lsb(set);
    s += bishop_table[sq];
    if (b.phase != 2 && (outposts & sq_bit(sq))) s += outpost_bonus[sq & 7];
    if (trap_squares<C>() & sq_bit(sq))
      for (const trap& t : bishop_traps)
        if (sq == S::rel_sq(t.bishop) && (enemy_pawns & sq_bit(S::rel_sq(t.pawn)))) s -= 174;
    pressure += bishop_tropism[king_distance[sq][enemy_king]];
    mob += mobility(bishop_attacks(b, sq) & ~own[BB_ALL]);
  }
  if (popcount(own[BB_BISHOP]) == 2) s += 50 - pawns_on_board;
  b.king_attack[S::them] += pressure;
  b.positional[C] += mob;
  return S::sign * s;
}

template <int C>
int rooks_of(board& b, const pawn_record& pawns) {
  using S = colour<C>;
  const u64* own = S::own(b);
  const int enemy_king = king_square(b, S::them);
  const int own_king = king_square(b, C);
  const unsigned open = pawns.open_files, half_open = half_open_of(pawns, C);
  int s = 0, pressure = 0, count = 0, previous_file = -1;
  u64 set = own[BB_ROOK];
  while (set) {
    const int sq = pop_lsb(set);
    const int f = sq & 7;
    s += rook_table[sq];
    if (S::rel_row(sq) == 1) s += 50;  // on the seventh rank
    int file_dist = 7;                 // a closed file gives no file tropism
    if (open & (1u << f)) {
      s += 11;
      file_dist = file_distance(sq, enemy_king);
    } else if (half_open & (1u << f)) {
      s += 9;
      file_dist = file_distance(sq, enemy_king);
    }
    // The second rook doubled with the first on an open or half-open file.
    // Only the loop's second rook is compared with the one before it; a
    // third rook (after a promotion) earns nothing here.
    if (count == 1 && f == previous_file && (half_open & (1u << f))) s += 20;
    // Shut in by its own uncastled king on the back rank.
    if (b.phase != 2 && S::rel_row(sq) >= 6 && S::rel_row(own_king) == 7) {
      const int kf = own_king & 7;
      if ((f >= 5 && kf >= 5 && kf < f) || (f <= 2 && kf <= 2 && kf > f)) s -= 50;
    }
    const int by_file = rook_file_tropism[file_dist];
    const int by_king = rook_tropism[king_distance[sq][enemy_king]];
    pressure += by_file > by_king ? by_file : by_king;
    previous_file = f;
    ++count;
  }
  b.king_attack[S::them] += pressure;
  return S::sign * s;
}

template <int C>
int queens_of(board& b) {
  using S = colour<C>;
  const u64* own = S::own(b);
  const int enemy_king = king_square(b, S::them);
  // Deliberate: the wrong-wing test looks at the Black king for both
  // colours. For a White queen that is the enemy king; a Black queen is
  // judged against its own king.
  const int wing_king_file = king_square(b, BLACK) & 7;
  const bool many_pawns = b.pawn_count[C] >= 5;
  int s = 0, pressure = 0;
  u64 set = own[BB_QUEEN];
  while (set) {
    const int sq = pop_lsb(set);
    const int f = sq & 7;
    s += queen_table[sq];
    if (many_pawns && ((f <= 1 && wing_king_file >= 5) || (f >= 6 && wing_king_file <= 2))) s -= 30;
    if (!(own[BB_PAWN] & queen_forward[C][sq])) {
      const int by_file = queen_file_tropism[file_distance(sq, enemy_king)];
      const int by_king = queen_tropism[king_distance[sq][enemy_king]];
      pressure += by_file > by_king ? by_file : by_king;
    }
  }
  b.king_attack[S::them] += pressure;
  return S::sign * s;
}

}  // namespace

int knight_term(board& b, const pawn_record& pawns) {
  return knights_of<WHITE>(b, pawns) + knights_of<BLACK>(b, pawns);
}

int bishop_term(board& b, const pawn_record& pawns) {
  const int pawns_on_board = popcount(b.white[BB_PAWN] | b.black[BB_PAWN]);
  return bishops_of<WHITE>(b, pawns, pawns_on_board) + bishops_of<BLACK>(b, pawns, pawns_on_board);
}

int rook_term(board& b, const pawn_record& pawns) {
  return rooks_of<WHITE>(b, pawns) + rooks_of<BLACK>(b, pawns);
}

int queen_term(board& b) { return queens_of<WHITE>(b) + queens_of<BLACK>(b); }

}  // namespace orvo::eval

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
  const u64 knights = own[BB_KNIGHT];
  if (!knights) return 0;
  const u8* const tropism = knight_pressure[king_square(b, S::them)];
  int s = 0, pressure = 0, mob = 0;
  // Knights on outposts are few: counted apart from the walk over all.
  if (b.phase != 2)
    for (u64 on_outpost = knights & outposts_of(pawns, C); on_outpost;)
      s += 2 * outpost_bonus[pop_lsb(on_outpost) & 7];
  const u64 reach = ~own[BB_ALL];
  for (u64 set = knights; set;) {
    const int sq = pop_lsb(set);
    s += knight_table[sq];
    pressure += tropism[sq];
    mob += mobility(knight_attacks[sq] & reach);
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
  const u64 bishops = own[BB_BISHOP];
  if (!bishops) return 0;
  const u8* const tropism = bishop_pressure[king_square(b, S::them)];
  int s = 0, pressure = 0, mob = 0;
  // Bishops on outposts or trap squares are few: counted apart from the
  // walk over all.
  if (b.phase != 2)
    for (u64 on_outpost = bishops & outposts_of(pawns, C); on_outpost;)
      s += outpost_bonus[pop_lsb(on_outpost) & 7];
  if (bishops & trap_squares<C>()) {
    const u64 enemy_pawns = S::enemy(b)[BB_PAWN];
    for (const trap& t : bishop_traps)
      if ((bishops & sq_bit(S::rel_sq(t.bishop))) && (enemy_pawns & sq_bit(S::rel_sq(t.pawn)))) s -= 174;
  }
  const u64 reach = ~own[BB_ALL];
  for (u64 set = bishops; set;) {
    const int sq = pop_lsb(set);
    s += bishop_table[sq];
    pressure += tropism[sq];
    mob += mobility(bishop_attacks(b, sq) & reach);
  }
  if (popcount(bishops) == 2) s += 50 - pawns_on_board;
  b.king_attack[S::them] += pressure;
  b.positional[C] += mob;
  return S::sign * s;
}

// The files, counted from the king's file, whose rooks an uncastled king
// on its back rank shuts in: beyond it towards the corner, on the wing it
// stands on (f, g or h; a, b or c).
constexpr unsigned shut_in_files(int king_file) {
  constexpr int KINGSIDE_FIRST = 5, QUEENSIDE_LAST = 2;
  if (king_file >= KINGSIDE_FIRST) return (0xFFu << (king_file + 1)) & 0xFFu;
  if (king_file <= QUEENSIDE_LAST) return (1u << king_file) - 1;
  return 0;
}

template <int C>
int rooks_of(board& b, const pawn_record& pawns) {
  using S = colour<C>;
  constexpr u64 SEVENTH_RANK = 0xFFull << S::rel_sq(A7);
  // The own first and second ranks.
  constexpr u64 HOME_RANKS = 0xFFFFull << 8 * (C == WHITE ? 6 : 0);
  const u64* own = S::own(b);
  const u64 rooks = own[BB_ROOK];
  if (!rooks) return 0;
  const int own_king = king_square(b, C), enemy_king = king_square(b, S::them);
  const u8* const closed_tropism = rook_pressure[0][enemy_king];
  const u8* const open_tropism = rook_pressure[1][enemy_king];
  const unsigned open = pawns.open_files, half_open = half_open_of(pawns, C);
  // Open files are half-open as well.
  const u64 open_squares = squares_of_files(open), half_open_squares = squares_of_files(half_open);
  int s = 50 * popcount(rooks & SEVENTH_RANK) + 11 * popcount(rooks & open_squares) +
          9 * popcount(rooks & half_open_squares & ~open_squares);
  // The second rook doubled with the first on an open or half-open file.
  // Only the second rook (in square order) is compared with the first; a
  // third rook (after a promotion) earns nothing here.
  if (const u64 rest = rooks & (rooks - 1)) {
    const int first = __builtin_ctzll(rooks), second = __builtin_ctzll(rest);
    if (((first ^ second) & 7) == 0 && (half_open & (1u << (second & 7)))) s += 20;
  }
  // Shut in by its own uncastled king on the back rank.
  if (b.phase != 2 && S::rel_row(own_king) == 7)
    s -= 50 * popcount(rooks & HOME_RANKS & squares_of_files(shut_in_files(own_king & 7)));
  int pressure = 0;
  u64 set = rooks;
  while (set) {
    const int sq = pop_lsb(set);
    s += rook_table[sq];
    // A closed file gives no file tropism.
    pressure += ((half_open >> (sq & 7)) & 1) ? open_tropism[sq] : closed_tropism[sq];
  }
  b.king_attack[S::them] += pressure;
  return S::sign * s;
}

template <int C>
int queens_of(board& b) {
  using S = colour<C>;
  const u64* own = S::own(b);
  const u8* const tropism = queen_pressure[king_square(b, S::them)];
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
    if (!(own[BB_PAWN] & queen_forward[C][sq])) pressure += tropism[sq];
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

// Process-wide lookup tables: fixed constants (rotation maps, Zobrist keys)
// and tables built once at start-up (bit tables, attack tables, directions
// and rays). init_tables() builds them; it is cheap to call again.
#pragma once
#include "position/board.h"
#include "position/zobrist.h"

namespace orvo {

// Direction codes, clockwise from north, and their square steps.
enum Direction : int { NORTH, NORTH_EAST, EAST, SOUTH_EAST, SOUTH, SOUTH_WEST, WEST, NORTH_WEST };
extern const int dir_step[8];
extern const int knight_pairs[8][2];

// Rotated-board maps: bit i of the rotated board stands for square map[i].
extern const int rot90_map[64];
extern const int rot_h1a8_map[64];
extern const int rot_a1h8_map[64];
extern const int rank_shift[64];
extern const int file_shift[64];
extern const int diag_h1a8_start[64], diag_h1a8_len[64];
extern const int diag_a1h8_start[64], diag_a1h8_len[64];
extern const int len_mask[9];
extern const int debruijn_index[32];


// Built by the bit-table builder.
extern u64 set_mask[64];
extern u64 clear_mask[64];
extern u8 first_bit16[65536];  // highest set bit of a 16-bit value; 255 for 0
extern u8 last_bit16[65536];   // lowest set bit of a 16-bit value; 207 for 0

// Built by the move-generator tables.
extern i8 next_sq[8][64];
extern i8 knight_sq[8][64];
extern u64 knight_attacks[64];
extern u64 king_attacks[64];
extern u64 rank_attacks[64][256];
extern u64 file_attacks[64][256];
extern u64 diag_h1a8_attacks[64][256];
extern u64 diag_a1h8_attacks[64][256];
extern int rot90_index[64];
extern int rot_h1a8_index[64];
extern int rot_a1h8_index[64];
// A square's own bit and its bit in each of the three rotated boards: what
// make and unmake toggle. One table per kind, so that one base address and
// the square, scaled, reach any entry in one instruction.
struct SquareBitTables {
  u64 square[64], file[64], h1a8[64], a1h8[64];
};
extern SquareBitTables square_bit_tables;
// One square's entries.
struct SquareBits {
  int sq;
  u64 square() const { return square_bit_tables.square[sq]; }
  u64 file() const { return square_bit_tables.file[sq]; }
  u64 h1a8() const { return square_bit_tables.h1a8[sq]; }
  u64 a1h8() const { return square_bit_tables.a1h8[sq]; }
};
inline SquareBits square_bits(int sq) { return SquareBits{sq}; }
// Every square on a rook's / a bishop's lines through sq, on an empty board.
extern u64 rook_lines[64];
extern u64 bishop_lines[64];
// Squares a pawn of colour c standing on sq attacks.
extern u64 pawn_attacks[2][64];

// Built by the direction builder.
extern i8 direction[64][64];
extern u64 ray[8][64];

void build_bit_tables();
void build_movegen_tables();
void build_direction_tables();
// All of the above, once.
void init_tables();

// Lowest set bit of a non-empty set, by the de Bruijn multiply on the 32-bit
// halves. Returns the square number.
inline int bit_scan(u64 b) {
  u32 lo = u32(b);
  int add = 0;
  if (lo == 0) {
    lo = u32(b >> 32);
    add = 32;
  }
  u32 low_bit = lo & (0u - lo);
  return debruijn_index[u32(low_bit * 0x0E89B2BEu) >> 27] + add;
}

inline int pop_lsb(u64& b) {
  int sq = __builtin_ctzll(b);  // same square as bit_scan, one instruction
  b &= b - 1;
  return sq;
}

inline int popcount(u64 b) { return __builtin_popcountll(b); }

// The a- and h-files as sets: what a shift by a file must mask off.
constexpr u64 FILE_A = 0x0101010101010101ull;
constexpr u64 FILE_H = FILE_A << 7;

// Sets of files (bit f for file f) and the squares on them, both ways.
inline u8 files_of(u64 squares) {
  squares |= squares >> 32;
  squares |= squares >> 16;
  squares |= squares >> 8;
  return u8(squares);
}
inline u64 squares_of_files(unsigned files) { return FILE_A * (files & 0xFF); }

// Everything one slider lookup from a square needs, packed together: the
// shift bringing each line's byte down, the line's length mask, and the
// square's own bit in that byte.
struct SliderSquare {
  u8 rank_shift, rank_self;
  u8 file_shift, file_self;
  u8 h1a8_shift, h1a8_mask, h1a8_self;
  u8 a1h8_shift, a1h8_mask, a1h8_self;
};
extern SliderSquare slider_sq[64];

// Slider attacks from s. The line pattern always includes s itself: the
// tables are empty for patterns without it, and a test "is t attacked"
// looks up from t, which may be empty.
inline u64 rank_attack(u64 occupied, int s) {
  const SliderSquare& q = slider_sq[s];
  return rank_attacks[s][((occupied >> q.rank_shift) & 255) | q.rank_self];
}
inline u64 file_attack(u64 occ_file, int s) {
  const SliderSquare& q = slider_sq[s];
  return file_attacks[s][((occ_file >> q.file_shift) & 255) | q.file_self];
}
inline u64 diag_h1a8_attack(u64 occ, int s) {
  const SliderSquare& q = slider_sq[s];
  return diag_h1a8_attacks[s][((occ >> q.h1a8_shift) & q.h1a8_mask) | q.h1a8_self];
}
inline u64 diag_a1h8_attack(u64 occ, int s) {
  const SliderSquare& q = slider_sq[s];
  return diag_a1h8_attacks[s][((occ >> q.a1h8_shift) & q.a1h8_mask) | q.a1h8_self];
}
inline u64 rook_attacks(const board& b, int s) {
  return rank_attack(b.occupied, s) | file_attack(b.occ_file, s);
}
inline u64 bishop_attacks(const board& b, int s) {
  return diag_h1a8_attack(b.occ_diag_h1a8, s) | diag_a1h8_attack(b.occ_diag_a1h8, s);
}
inline u64 queen_attacks(const board& b, int s) { return rook_attacks(b, s) | bishop_attacks(b, s); }

// True when a piece of colour C attacks sq. Looked up from the target
// square, which gives the same answer as trying every attacker in turn,
// since slider lines are symmetric. A king is found through king_sq.
template <int C>
inline bool attacked_by(const board& b, int sq) {
  const u64* a = b.bb(C);
  if (knight_attacks[sq] & a[BB_KNIGHT]) return true;
  if (pawn_attacks[C ^ 1][sq] & a[BB_PAWN]) return true;
  if (king_attacks[b.king_sq[C]] & (1ull << sq)) return true;
  // Sliders off the square's lines on an empty board cannot attack it.
  const u64 rq = (a[BB_ROOK] | a[BB_QUEEN]) & rook_lines[sq];
  if (rq && (rook_attacks(b, sq) & rq)) return true;
  const u64 bq = (a[BB_BISHOP] | a[BB_QUEEN]) & bishop_lines[sq];
  return bq && (bishop_attacks(b, sq) & bq);
}

}  // namespace orvo

#include "position/tables.h"

#include <cstdlib>

namespace orvo {

const int dir_step[8] = {-8, -7, 1, 9, 8, 7, -1, -9};
// Each knight jump: one step in the first direction, then one in the second.
const int knight_pairs[8][2] = {{0, 7}, {0, 1}, {2, 1}, {2, 3}, {4, 3}, {6, 5}, {4, 5}, {6, 7}};

// Files a..h, each from rank 1 up to rank 8.
const int rot90_map[64] = {
    56, 48, 40, 32, 24, 16, 8,  0, 57, 49, 41, 33, 25, 17, 9,  1,
    58, 50, 42, 34, 26, 18, 10, 2, 59, 51, 43, 35, 27, 19, 11, 3,
    60, 52, 44, 36, 28, 20, 12, 4, 61, 53, 45, 37, 29, 21, 13, 5,
    62, 54, 46, 38, 30, 22, 14, 6, 63, 55, 47, 39, 31, 23, 15, 7};

// Diagonals of the a8-h1 direction, from corner a1 to corner h8, each
// listed from its a-file (upper) end.
const int rot_h1a8_map[64] = {
    56, 48, 57, 40, 49, 58, 32, 41, 50, 59, 24, 33, 42, 51, 60, 16,
    25, 34, 43, 52, 61, 8,  17, 26, 35, 44, 53, 62, 0,  9,  18, 27,
    36, 45, 54, 63, 1,  10, 19, 28, 37, 46, 55, 2,  11, 20, 29, 38,
    47, 3,  12, 21, 30, 39, 4,  13, 22, 31, 5,  14, 23, 6,  15, 7};

// Diagonals of the a1-h8 direction, from corner a8 to corner h1, each
// listed from its a-file (lower) end.
const int rot_a1h8_map[64] = {
    0,  8,  1,  16, 9,  2,  24, 17, 10, 3,  32, 25, 18, 11, 4,  40,
    33, 26, 19, 12, 5,  48, 41, 34, 27, 20, 13, 6,  56, 49, 42, 35,
    28, 21, 14, 7,  57, 50, 43, 36, 29, 22, 15, 58, 51, 44, 37, 30,
    23, 59, 52, 45, 38, 31, 60, 53, 46, 39, 61, 54, 47, 62, 55, 63};

const int rank_shift[64] = {
    0,  0,  0,  0,  0,  0,  0,  0,  8,  8,  8,  8,  8,  8,  8,  8,
    16, 16, 16, 16, 16, 16, 16, 16, 24, 24, 24, 24, 24, 24, 24, 24,
    32, 32, 32, 32, 32, 32, 32, 32, 40, 40, 40, 40, 40, 40, 40, 40,
    48, 48, 48, 48, 48, 48, 48, 48, 56, 56, 56, 56, 56, 56, 56, 56};

const int file_shift[64] = {
    0, 8, 16, 24, 32, 40, 48, 56, 0, 8, 16, 24, 32, 40, 48, 56,
    0, 8, 16, 24, 32, 40, 48, 56, 0, 8, 16, 24, 32, 40, 48, 56,
    0, 8, 16, 24, 32, 40, 48, 56, 0, 8, 16, 24, 32, 40, 48, 56,
    0, 8, 16, 24, 32, 40, 48, 56, 0, 8, 16, 24, 32, 40, 48, 56};

const int diag_h1a8_start[64] = {
    28, 36, 43, 49, 54, 58, 61, 63, 21, 28, 36, 43, 49, 54, 58, 61,
    15, 21, 28, 36, 43, 49, 54, 58, 10, 15, 21, 28, 36, 43, 49, 54,
    6,  10, 15, 21, 28, 36, 43, 49, 3,  6,  10, 15, 21, 28, 36, 43,
    1,  3,  6,  10, 15, 21, 28, 36, 0,  1,  3,  6,  10, 15, 21, 28};

const int diag_h1a8_len[64] = {
    8, 7, 6, 5, 4, 3, 2, 1, 7, 8, 7, 6, 5, 4, 3, 2,
    6, 7, 8, 7, 6, 5, 4, 3, 5, 6, 7, 8, 7, 6, 5, 4,
    4, 5, 6, 7, 8, 7, 6, 5, 3, 4, 5, 6, 7, 8, 7, 6,
    2, 3, 4, 5, 6, 7, 8, 7, 1, 2, 3, 4, 5, 6, 7, 8};

const int diag_a1h8_start[64] = {
    0,  1,  3,  6,  10, 15, 21, 28, 1,  3,  6,  10, 15, 21, 28, 36,
    3,  6,  10, 15, 21, 28, 36, 43, 6,  10, 15, 21, 28, 36, 43, 49,
    10, 15, 21, 28, 36, 43, 49, 54, 15, 21, 28, 36, 43, 49, 54, 58,
    21, 28, 36, 43, 49, 54, 58, 61, 28, 36, 43, 49, 54, 58, 61, 63};

const int diag_a1h8_len[64] = {
    1, 2, 3, 4, 5, 6, 7, 8, 2, 3, 4, 5, 6, 7, 8, 7,
    3, 4, 5, 6, 7, 8, 7, 6, 4, 5, 6, 7, 8, 7, 6, 5,
    5, 6, 7, 8, 7, 6, 5, 4, 6, 7, 8, 7, 6, 5, 4, 3,
    7, 8, 7, 6, 5, 4, 3, 2, 8, 7, 6, 5, 4, 3, 2, 1};

const int len_mask[9] = {0, 1, 3, 7, 15, 31, 63, 127, 255};

const int debruijn_index[32] = {31, 0,  9,  1,  10, 20, 13, 2,  7,  11, 21,
                                23, 17, 14, 3,  25, 30, 8,  19, 12, 6,  22,
                                16, 24, 29, 18, 5,  15, 28, 4,  27, 26};

u64 set_mask[64];
u64 clear_mask[64];
u8 first_bit16[65536];
u8 last_bit16[65536];

i8 next_sq[8][64];
i8 knight_sq[8][64];
u64 knight_attacks[64];
u64 king_attacks[64];
u64 rank_attacks[64][256];
u64 file_attacks[64][256];
u64 diag_h1a8_attacks[64][256];
u64 diag_a1h8_attacks[64][256];
int rot90_index[64];
int rot_h1a8_index[64];
int rot_a1h8_index[64];
SquareBitTables square_bit_tables;
u64 pawn_attacks[2][64];
SliderSquare slider_sq[64];
u64 rook_lines[64];
u64 bishop_lines[64];

i8 direction[64][64];
u64 ray[8][64];

void build_bit_tables() {
  for (int sq = 0; sq < 64; ++sq) {
    set_mask[sq] = 1ull << sq;
    clear_mask[sq] = ~set_mask[sq];
  }
  // Entry 0 has no set bit; its two values are what the program has always
  // stored there, and the pawn-shelter code depends on them.
  first_bit16[0] = 255;
  last_bit16[0] = 207;
  for (int v = 1; v < 65536; ++v) {
    first_bit16[v] = u8(31 - __builtin_clz(unsigned(v)));
    last_bit16[v] = u8(__builtin_ctz(unsigned(v)));
  }
}

// Attack set of a slider on s along the two directions d1 and d2, with the
// line's occupancy given as a set of squares.
static u64 slide(int s, u64 occ, int d1, int d2) {
  u64 result = 0;
  for (int d : {d1, d2}) {
    for (int t = next_sq[d][s]; t != -1; t = next_sq[d][t]) {
      result |= 1ull << t;
      if (occ & (1ull << t)) break;
    }
  }
  return result;
}

// Fills one 64 x 256 line table: pattern bit i stands for square
// map[first + i] of s's line, for the line's len squares.
static void build_line_table(u64 (*table)[256], const int* map, const int* start,
                             const int* len, int d1, int d2) {
  for (int s = 0; s < 64; ++s) {
    int n = len ? len[s] : 8;
    int first = start[s];
    for (int p = 0; p < 256; ++p) {
      int pattern = p & len_mask[n];
      u64 occ = 0;
      bool includes_s = false;
      for (int i = 0; i < n; ++i) {
        if (pattern & (1 << i)) {
          int sq = map[first + i];
          occ |= 1ull << sq;
          if (sq == s) includes_s = true;
        }
      }
      // Patterns without s are never looked up: the piece stands on s.
      table[s][p] = includes_s ? slide(s, occ, d1, d2) : 0;
    }
  }
}

void build_movegen_tables() {
  static bool built = false;
  if (built) return;
  built = true;
  for (int d = 0; d < 8; ++d)
    for (int s = 0; s < 64; ++s) {
      int t = s + dir_step[d];
      bool ok = t >= 0 && t < 64 && std::abs(row_of(t) - row_of(s)) <= 1 &&
                std::abs(file_of(t) - file_of(s)) <= 1;
      next_sq[d][s] = i8(ok ? t : -1);
    }
  for (int s = 0; s < 64; ++s) {
    knight_attacks[s] = king_attacks[s] = 0;
    for (int k = 0; k < 8; ++k) {
      int mid = next_sq[knight_pairs[k][0]][s];
      int t = mid == -1 ? -1 : next_sq[knight_pairs[k][1]][mid];
      knight_sq[k][s] = i8(t);
      if (t != -1) knight_attacks[s] |= 1ull << t;
      if (next_sq[k][s] != -1) king_attacks[s] |= 1ull << next_sq[k][s];
    }
  }
  for (int i = 0; i < 64; ++i) {
    rot90_index[rot90_map[i]] = i;
    rot_h1a8_index[rot_h1a8_map[i]] = i;
    rot_a1h8_index[rot_a1h8_map[i]] = i;
  }
  for (int s = 0; s < 64; ++s) {
    square_bit_tables.square[s] = 1ull << s;
    square_bit_tables.file[s] = 1ull << rot90_index[s];
    square_bit_tables.h1a8[s] = 1ull << rot_h1a8_index[s];
    square_bit_tables.a1h8[s] = 1ull << rot_a1h8_index[s];
  }
  // Rank table: bit i of the pattern is file i of s's row.
  static int rank_map[64];
  for (int i = 0; i < 64; ++i) rank_map[i] = i;
  static int rank_start[64], file_start[64];
  for (int s = 0; s < 64; ++s) {
    rank_start[s] = rank_shift[s];
    file_start[s] = file_shift[s];
  }
  build_line_table(rank_attacks, rank_map, rank_start, nullptr, EAST, WEST);
  build_line_table(file_attacks, rot90_map, file_start, nullptr, NORTH, SOUTH);
  build_line_table(diag_h1a8_attacks, rot_h1a8_map, diag_h1a8_start, diag_h1a8_len, SOUTH_EAST,
                   NORTH_WEST);
  build_line_table(diag_a1h8_attacks, rot_a1h8_map, diag_a1h8_start, diag_a1h8_len, NORTH_EAST,
                   SOUTH_WEST);
  for (int s = 0; s < 64; ++s) {
    rook_lines[s] = bishop_lines[s] = 0;
    for (int d = 0; d < 8; ++d)
      for (int t = next_sq[d][s]; t != -1; t = next_sq[d][t]) (d & 1 ? bishop_lines : rook_lines)[s] |= 1ull << t;
  }
  for (int s = 0; s < 64; ++s) {
    SliderSquare& q = slider_sq[s];
    q.rank_shift = u8(rank_shift[s]);
    q.rank_self = u8(1u << file_of(s));
    q.file_shift = u8(file_shift[s]);
    q.file_self = u8(1u << (rot90_index[s] - file_shift[s]));
    q.h1a8_shift = u8(diag_h1a8_start[s]);
    q.h1a8_mask = u8(len_mask[diag_h1a8_len[s]]);
    q.h1a8_self = u8(1u << (rot_h1a8_index[s] - diag_h1a8_start[s]));
    q.a1h8_shift = u8(diag_a1h8_start[s]);
    q.a1h8_mask = u8(len_mask[diag_a1h8_len[s]]);
    q.a1h8_self = u8(1u << (rot_a1h8_index[s] - diag_a1h8_start[s]));
  }
  for (int s = 0; s < 64; ++s) {
    pawn_attacks[WHITE][s] = pawn_attacks[BLACK][s] = 0;
    for (int d : {NORTH_EAST, NORTH_WEST})
      if (next_sq[d][s] != -1) pawn_attacks[WHITE][s] |= 1ull << next_sq[d][s];
    for (int d : {SOUTH_EAST, SOUTH_WEST})
      if (next_sq[d][s] != -1) pawn_attacks[BLACK][s] |= 1ull << next_sq[d][s];
  }
}

void build_direction_tables() {
  for (int a = 0; a < 64; ++a)
    for (int b = 0; b < 64; ++b) {
      int dr = row_of(b) - row_of(a), df = file_of(b) - file_of(a);
      int d = -1;
      if (a == b)
        d = -1;
      else if (dr == 0)
        d = df > 0 ? EAST : WEST;
      else if (df == 0)
        d = dr < 0 ? NORTH : SOUTH;
      else if (std::abs(dr) == std::abs(df))
        d = dr > 0 ? (df > 0 ? SOUTH_EAST : SOUTH_WEST) : (df > 0 ? NORTH_EAST : NORTH_WEST);
      direction[a][b] = i8(d);
    }
  for (int d = 0; d < 8; ++d)
    for (int s = 0; s < 64; ++s) {
      u64 r = 0;
      for (int t = next_sq[d][s]; t != -1; t = next_sq[d][t]) r |= 1ull << t;
      ray[d][s] = r;
    }
}

void init_tables() {
  static bool done = false;
  if (done) return;
  done = true;
  build_bit_tables();
  build_movegen_tables();
  build_direction_tables();
}

}  // namespace orvo

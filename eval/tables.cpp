#include "eval/tables.h"

#include "position/tables.h"

namespace orvo::eval {

u64 file_mask[8];
u64 rank_mask[8];
u64 adjacent_files[8];
u64 passed_mask[2][64];
u64 support_mask[2][64];

u8 king_distance[64][64];
u64 king_zone[64];
u64 queen_forward[2][64];
u8 knight_pressure[64][64];
u8 bishop_pressure[64][64];
u8 rook_pressure[2][64][64];
u8 queen_pressure[64][64];

int danger[16][16];

namespace {

int abs_diff(int a, int b) { return a > b ? a - b : b - a; }

u8 larger(int a, int b) { return u8(a > b ? a : b); }

}  // namespace

void build_pawn_masks() {
  for (int f = 0; f < 8; ++f) {
    file_mask[f] = FILE_A << f;
    rank_mask[f] = 0xFFull << (8 * f);
  }
  for (int f = 0; f < 8; ++f)
    adjacent_files[f] = (f > 0 ? file_mask[f - 1] : 0) | (f < 7 ? file_mask[f + 1] : 0);
  for (int sq = 0; sq < 64; ++sq) {
    const int f = sq & 7, r = sq >> 3;
    const u64 three_files = file_mask[f] | adjacent_files[f];
    u64 north = 0, south = 0;  // rows strictly ahead for White / for Black
    for (int row = 0; row < r; ++row) north |= rank_mask[row];
    for (int row = r + 1; row < 8; ++row) south |= rank_mask[row];
    passed_mask[WHITE][sq] = three_files & north;
    passed_mask[BLACK][sq] = three_files & south;
    // The pawn's own row and everything behind it, on the neighbouring files.
    support_mask[WHITE][sq] = adjacent_files[f] & (south | rank_mask[r]);
    support_mask[BLACK][sq] = adjacent_files[f] & (north | rank_mask[r]);
  }
}

void build_piece_masks() {
  for (int a = 0; a < 64; ++a)
    for (int b = 0; b < 64; ++b) {
      const int df = abs_diff(a & 7, b & 7), dr = abs_diff(a >> 3, b >> 3);
      king_distance[a][b] = u8(df > dr ? df : dr);
    }
  // The near zone of a lone king: every square within two king steps. A
  // king farther away takes none of the lone king's squares itself, and a
  // stalemate by the other pieces alone is rare enough not to pay for the
  // attack tests it would need.
  for (int a = 0; a < 64; ++a) {
    king_zone[a] = 0;
    for (int b = 0; b < 64; ++b)
      if (king_distance[a][b] <= 2) king_zone[a] |= 1ull << b;
  }
  // A queen's forward mask is its own file ahead of it, towards the enemy's
  // back rank: an own pawn there stands between the queen and the enemy
  // camp, and the queen's king tropism is then not counted.
  for (int sq = 0; sq < 64; ++sq) {
    queen_forward[WHITE][sq] = ray[NORTH][sq];
    queen_forward[BLACK][sq] = ray[SOUTH][sq];
  }
  // A closed file's rook takes the file tropism of distance 7.
  constexpr int CLOSED_FILE_DISTANCE = 7;
  for (int king = 0; king < 64; ++king)
    for (int sq = 0; sq < 64; ++sq) {
      const int by_king = king_distance[sq][king], by_file = abs_diff(sq & 7, king & 7);
      knight_pressure[king][sq] = u8(knight_tropism[by_king]);
      bishop_pressure[king][sq] = u8(bishop_tropism[by_king]);
      rook_pressure[0][king][sq] = larger(rook_file_tropism[CLOSED_FILE_DISTANCE], rook_tropism[by_king]);
      rook_pressure[1][king][sq] = larger(rook_file_tropism[by_file], rook_tropism[by_king]);
      queen_pressure[king][sq] = larger(queen_file_tropism[by_file], queen_tropism[by_king]);
    }
}

void build_danger_table() {
  for (int i = 0; i < 16; ++i)
    for (int j = 0; j < 16; ++j) {
      const int k = i + j < 15 ? i + j : 15;
      const int n = i + j > 1 ? i + j : 1;
      danger[i][j] = (danger_attack_weight[k] * j + danger_shelter_weight[k] * i) / n;
    }
}

}  // namespace orvo::eval

// Every fixed table of the evaluation, typed in again here rank by rank and
// compared entry by entry with the program's tables.
#include <gtest/gtest.h>

#include <algorithm>

#include "position/tables.h"
#include "tests/eval/eval_test_util.h"

using namespace orvo;
using namespace orvo::eval;

namespace {

void expect_table(const int* actual, const int* expected, int n, const char* name) {
  for (int i = 0; i < n; ++i) EXPECT_EQ(actual[i], expected[i]) << name << " entry " << i;
}

// A square table given by rank from rank 8 down to rank 1 is stored row by
// row as it reads; these build one from rows given once for a symmetric pair.
void fill_symmetric(int* out, const int rows[4][8]) {
  for (int r = 0; r < 4; ++r)
    for (int f = 0; f < 8; ++f) out[r * 8 + f] = out[(7 - r) * 8 + f] = rows[r][f];
}

int sq(const char* name) { return (8 - (name[1] - '0')) * 8 + (name[0] - 'a'); }

}  // namespace

class eval_tables : public ::testing::Test {
 protected:
  void SetUp() override { build_eval_tables(); }
};

TEST_F(eval_tables, KnightTable) {
  const int expected[64] = {
      -60, -30, -30, -30, -30, -30, -30, -60,  // rank 8
      -30, -24, -10, -10, -10, -10, -24, -30,  // rank 7
      -30, -6,  -6,  -6,  -6,  -6,  -6,  -30,  // rank 6
      -30, -6,  -2,  0,   0,   -2,  -6,  -30,  // rank 5
      -30, -6,  -2,  0,   0,   -2,  -6,  -30,  // rank 4
      -30, -6,  -6,  -6,  -6,  -6,  -6,  -30,  // rank 3
      -30, -24, -10, -10, -10, -10, -24, -30,  // rank 2
      -60, -30, -30, -30, -30, -30, -30, -60,  // rank 1
  };
  expect_table(knight_table, expected, 64, "knight");
}

TEST_F(eval_tables, BishopTable) {
  const int rows[4][8] = {
      {-20, -20, -20, -20, -20, -20, -20, -20},  // ranks 8 and 1
      {-20, 6, 6, 3, 3, 6, 6, -20},              // ranks 7 and 2
      {-20, 6, 8, 6, 6, 8, 6, -20},              // ranks 6 and 3
      {-20, 3, 6, 10, 10, 6, 3, -20},            // ranks 5 and 4
  };
  int expected[64];
  fill_symmetric(expected, rows);
  expect_table(bishop_table, expected, 64, "bishop");
}

TEST_F(eval_tables, RookTable) {
  const int rank[8] = {-10, -6, -2, 2, 2, -2, -6, -10};
  for (int r = 0; r < 8; ++r) expect_table(rook_table + 8 * r, rank, 8, "rook");
}

TEST_F(eval_tables, QueenTable) {
  const int rows[4][8] = {
      {-20, -20, 0, 0, 0, 0, -20, -20},  // ranks 8 and 1
      {-20, 0, 8, 8, 8, 8, 0, -20},      // ranks 7 and 2
      {0, 8, 8, 12, 12, 8, 8, 0},        // ranks 6 and 3
      {0, 8, 12, 16, 16, 12, 8, 0},      // ranks 5 and 4
  };
  int expected[64];
  fill_symmetric(expected, rows);
  expect_table(queen_table, expected, 64, "queen");
}

TEST_F(eval_tables, OutpostsRingsAndTropism) {
  const int outpost[8] = {4, 5, 5, 4, 3, 6, 6, 3};
  expect_table(outpost_bonus, outpost, 8, "outpost");

  // Rings from their square names.
  u64 border = 0, second = 0, third = 0, centre = 0;
  for (int s = 0; s < 64; ++s) {
    const int r = s >> 3, f = s & 7;
    const int ring = std::min(std::min(r, 7 - r), std::min(f, 7 - f));
    (ring == 0 ? border : ring == 1 ? second : ring == 2 ? third : centre) |= 1ull << s;
  }
  EXPECT_EQ(ring_border, border);
  EXPECT_EQ(ring_second, second);
  EXPECT_EQ(ring_third, third);
  EXPECT_EQ(ring_centre, (1ull << sq("d4")) | (1ull << sq("e4")) | (1ull << sq("d5")) |
                             (1ull << sq("e5")));
  const int weights[4] = {0, 0, 1, 1};
  expect_table(mobility_weight, weights, 4, "ring weights");

  const int knight[8] = {0, 3, 3, 2, 1, 0, 0, 0};
  const int bishop[8] = {0, 2, 2, 1, 0, 0, 0, 0};
  const int rook[8] = {0, 3, 2, 1, 0, 0, 0, 0};
  const int rook_file[8] = {3, 2, 1, 0, 0, 0, 0, 0};
  const int queen[8] = {0, 4, 3, 2, 1, 0, 0, 0};
  const int queen_file[8] = {3, 2, 1, 0, 0, 0, 0, 0};
  expect_table(knight_tropism, knight, 8, "knight tropism");
  expect_table(bishop_tropism, bishop, 8, "bishop tropism");
  expect_table(rook_tropism, rook, 8, "rook tropism");
  expect_table(rook_file_tropism, rook_file, 8, "rook file tropism");
  expect_table(queen_tropism, queen, 8, "queen tropism");
  expect_table(queen_file_tropism, queen_file, 8, "queen file tropism");
}

TEST_F(eval_tables, MaterialAndPawnlessTables) {
  const int bonus[3] = {100, 50, 25};
  expect_table(imbalance_bonus, bonus, 3, "imbalance");

  const int kbn[64] = {
      30,  40, 50, 60, 70, 80, 90, 100,  // rank 8
      40,  30, 40, 50, 60, 70, 80, 90,   // rank 7
      50,  40, 30, 40, 50, 60, 70, 80,   // rank 6
      60,  50, 40, 30, 40, 50, 60, 70,   // rank 5
      70,  60, 50, 40, 30, 40, 50, 60,   // rank 4
      80,  70, 60, 50, 40, 30, 40, 50,   // rank 3
      90,  80, 70, 60, 50, 40, 30, 40,   // rank 2
      100, 90, 80, 70, 60, 50, 40, 30,   // rank 1
  };
  expect_table(kbn_dark_corner, kbn, 64, "kbn dark");
  // The unused one is its mirror between the ranks: 100 in a8 and h1, 30
  // along the a1-h8 diagonal.
  int light[64];
  for (int s = 0; s < 64; ++s) light[s] = kbn[s ^ 56];
  expect_table(kbn_light_corner, light, 64, "kbn light");
  EXPECT_EQ(kbn_light_corner[sq("a8")], 100);
  EXPECT_EQ(kbn_light_corner[sq("h1")], 100);
  EXPECT_EQ(kbn_light_corner[sq("d4")], 30);

  const int edge_rows[4][8] = {
      {100, 96, 93, 90, 90, 93, 96, 100},  // ranks 8 and 1
      {96, 80, 70, 60, 60, 70, 80, 96},    // ranks 7 and 2
      {93, 70, 60, 50, 50, 60, 70, 93},    // ranks 6 and 3
      {90, 60, 50, 40, 40, 50, 60, 90},    // ranks 5 and 4
  };
  int edge[64];
  fill_symmetric(edge, edge_rows);
  expect_table(edge_table, edge, 64, "edge");
}

TEST_F(eval_tables, KingSafetyTables) {
  const int a[16] = {0, 1, 2, 3, 4, 5, 11, 20, 32, 47, 65, 86, 110, 137, 167, 200};
  const int b[16] = {0, 7, 14, 21, 28, 35, 42, 49, 56, 63, 70, 77, 84, 91, 98, 105};
  const int remap[16] = {0, 0, 1, 2, 3, 3, 4, 4, 5, 6, 6, 7, 8, 9, 10, 10};
  expect_table(danger_attack_weight, a, 16, "A");
  expect_table(danger_shelter_weight, b, 16, "B");
  expect_table(queenless_remap, remap, 16, "remap");

  for (int i = 0; i < 16; ++i)
    for (int j = 0; j < 16; ++j) {
      const int k = std::min(i + j, 15);
      EXPECT_EQ(danger[i][j], (a[k] * j + b[k] * i) / std::max(i + j, 1)) << i << "," << j;
    }
  EXPECT_EQ(danger[0][0], 0);
  EXPECT_EQ(danger[3][0], 21);
  EXPECT_EQ(danger[0][4], 4);
  EXPECT_EQ(danger[4][4], 44);
  EXPECT_EQ(danger[15][15], 152);
  EXPECT_EQ(danger[15][6], 132);
  EXPECT_EQ(danger[10][4], 117);

  const int both[64] = {
      -40, -20, -20, -20, -20, -20, -20, -40,  // own rank 1
      -20, 0,   0,   0,   0,   0,   0,   -20,  // own rank 2
      -20, 20,  20,  20,  20,  20,  20,  -20,  // own rank 3
      -20, 20,  40,  40,  40,  40,  20,  -20,  // own rank 4
      -20, 30,  60,  60,  60,  60,  30,  -20,  // own rank 5
      -20, 30,  60,  60,  60,  60,  30,  -20,  // own rank 6
      -20, 30,  40,  40,  40,  40,  30,  -20,  // own rank 7
      -40, -20, -20, -20, -20, -20, -20, -40,  // own rank 8
  };
  const int kingside[64] = {
      -60, -40, -20, -20, -20, -20, -20, -20,  // own rank 1
      -60, -40, -20, 0,   0,   0,   0,   0,    // own rank 2
      -60, -40, -20, 20,  20,  20,  20,  20,   // own rank 3
      -60, -40, -20, 20,  40,  40,  40,  40,   // own rank 4
      -60, -40, -20, 20,  60,  60,  60,  40,   // own rank 5
      -60, -40, -20, 20,  60,  60,  60,  40,   // own rank 6
      -60, -40, -20, 20,  40,  40,  40,  40,   // own rank 7
      -60, -40, -20, -20, -20, -20, -20, -20,  // own rank 8
  };
  expect_table(king_endgame_both_wings, both, 64, "king both wings");
  expect_table(king_endgame_kingside, kingside, 64, "king kingside");
  int queenside[64];
  for (int s = 0; s < 64; ++s) queenside[s] = kingside[s ^ 7];
  expect_table(king_endgame_queenside, queenside, 64, "king queenside");
  const int own_rank5[8] = {40, 60, 60, 60, 20, -20, -40, -60};
  expect_table(king_endgame_queenside + 32, own_rank5, 8, "king queenside own rank 5");
}

TEST_F(eval_tables, PassedPawnPieceTables) {
  const int support[8] = {0, 0, 0, 20, 40, 60, 100, 0};
  const int blockade[8] = {0, 6, 10, 24, 36, 60, 75, 0};
  expect_table(passed_king_support, support, 8, "king support");
  expect_table(passed_blockade, blockade, 8, "blockade");
}

TEST_F(eval_tables, PawnStructureTables) {
  const int square[64] = {
      0,  0,  0,  0,   0,   0,  0,  0,   // row 0
      0,  0,  0,  -10, -10, 0,  0,  0,   // row 1
      1,  1,  1,  10,  10,  1,  1,  1,   // row 2
      3,  3,  3,  13,  13,  3,  3,  3,   // row 3
      6,  6,  6,  16,  16,  6,  6,  6,   // row 4
      10, 10, 10, 30,  30,  10, 10, 10,  // row 5
      40, 40, 40, 40,  40,  40, 40, 40,  // row 6
      0,  0,  0,  0,   0,   0,  0,  0,   // row 7
  };
  expect_table(pawn_square_table, square, 64, "pawn square");

  const int iso_row[8] = {4, 5, 6, 8, 8, 6, 5, 4};
  const int doubled_row[8] = {-8, -7, -5, -3, -3, -5, -7, -8};
  const int white_duo_rows[8] = {0, 10, 6, 3, 2, 2, 2, 0};
  const int black_duo_rows[8] = {0, 2, 2, 2, 3, 6, 10, 0};
  for (int s = 0; s < 64; ++s) {
    const int r = s >> 3, f = s & 7;
    EXPECT_EQ(isolated_penalty[s], (r >= 1 && r <= 6) ? iso_row[f] : 0) << s;
    EXPECT_EQ(doubled_term[s], doubled_row[f]) << s;
    EXPECT_EQ(white_duo_bonus[s], white_duo_rows[r]) << s;
    EXPECT_EQ(black_duo_bonus[s], black_duo_rows[r]) << s;
  }

  const int wp[8] = {0, 234, 145, 95, 24, 2, 2, 0};
  const int bp[8] = {0, 2, 2, 24, 95, 145, 234, 0};
  const int wc[8] = {0, 0, 48, 32, 16, 9, 9, 0};
  const int bc[8] = {0, 9, 9, 16, 32, 48, 0, 0};
  const int empty[8] = {6, 5, 4, 4, 4, 4, 5, 6};
  const int missing[8] = {4, 4, 3, 3, 3, 3, 4, 4};
  expect_table(white_passed_bonus, wp, 8, "white passed");
  expect_table(black_passed_bonus, bp, 8, "black passed");
  expect_table(white_candidate_bonus, wc, 8, "white candidate");
  expect_table(black_candidate_bonus, bc, 8, "black candidate");
  expect_table(shelter_empty_file, empty, 8, "shelter empty");
  expect_table(shelter_missing_pawn, missing, 8, "shelter missing");
  EXPECT_EQ(full_material, 4075);
}

TEST_F(eval_tables, BuiltMasks) {
  EXPECT_EQ(file_mask[0], 0x0101010101010101ull);
  EXPECT_EQ(rank_mask[0], 0xFFull);  // rank 8
  EXPECT_EQ(adjacent_files[0], file_mask[1]);
  EXPECT_EQ(adjacent_files[4], file_mask[3] | file_mask[5]);
  // White passed mask of e4: d5-f8 ahead on three files.
  u64 e4 = 0;
  for (int r = 0; r < 4; ++r)
    for (int f = 3; f <= 5; ++f) e4 |= 1ull << (r * 8 + f);
  EXPECT_EQ(passed_mask[WHITE][sq("e4")], e4);
  EXPECT_EQ(passed_mask[BLACK][sq("e5")], e4 << 32);
  EXPECT_EQ(passed_mask[WHITE][sq("a8")], 0u);
  // King distance and the near zone (two king steps).
  EXPECT_EQ(king_distance[sq("a1")][sq("h8")], 7);
  EXPECT_EQ(king_distance[sq("e4")][sq("f6")], 2);
  EXPECT_EQ(popcount(king_zone[sq("e4")]), 25);
  EXPECT_EQ(popcount(king_zone[sq("a8")]), 9);
  // Queen forward masks: the own file ahead of the queen.
  EXPECT_EQ(queen_forward[WHITE][sq("d1")], file_mask[3] & ~(1ull << sq("d1")));
  EXPECT_EQ(queen_forward[BLACK][sq("d8")], file_mask[3] & ~(1ull << sq("d8")));
  EXPECT_EQ(queen_forward[WHITE][sq("d8")], 0u);
}

// The tropism by enemy king square and piece square, worked out by hand
// from the distance tables typed in above.
TEST_F(eval_tables, TropismByKingAndPieceSquare) {
  EXPECT_EQ(knight_pressure[sq("g5")][sq("e4")], 3);  // king distance 2
  EXPECT_EQ(knight_pressure[sq("g8")][sq("b1")], 0);  // 7
  EXPECT_EQ(knight_pressure[sq("a8")][sq("d5")], 2);  // 3
  EXPECT_EQ(bishop_pressure[sq("g8")][sq("e6")], 2);  // 2
  EXPECT_EQ(bishop_pressure[sq("g8")][sq("c4")], 0);  // 4
  EXPECT_EQ(bishop_pressure[sq("g8")][sq("d5")], 1);  // 3
  // A rook on a closed file: the king distance alone.
  EXPECT_EQ(rook_pressure[0][sq("d8")][sq("d1")], 0);  // distance 7
  EXPECT_EQ(rook_pressure[0][sq("b2")][sq("a1")], 3);  // 1
  EXPECT_EQ(rook_pressure[0][sq("g8")][sq("e6")], 2);  // 2
  // On a half-open file: the larger of the file and the king distance.
  EXPECT_EQ(rook_pressure[1][sq("d8")][sq("d1")], 3);  // file distance 0
  EXPECT_EQ(rook_pressure[1][sq("g8")][sq("e1")], 1);  // file distance 2, king distance 7
  EXPECT_EQ(rook_pressure[1][sq("b2")][sq("a1")], 3);  // file 2 against king 3
  EXPECT_EQ(rook_pressure[1][sq("h8")][sq("a1")], 0);  // both 7
  // The queen: the larger of the file and the king distance.
  EXPECT_EQ(queen_pressure[sq("e8")][sq("e2")], 3);  // file distance 0, king distance 6
  EXPECT_EQ(queen_pressure[sq("g8")][sq("d1")], 0);  // file 3, king 7
  EXPECT_EQ(queen_pressure[sq("g8")][sq("e6")], 3);  // king distance 2
  EXPECT_EQ(queen_pressure[sq("g8")][sq("f7")], 4);  // king distance 1
  EXPECT_EQ(queen_pressure[sq("g8")][sq("c4")], 1);  // king distance 4
}

TEST_F(eval_tables, BuildingAgainChangesNothing) {
  int before[16][16];
  std::copy(&danger[0][0], &danger[0][0] + 256, &before[0][0]);
  build_eval_tables();
  build_eval_tables();
  EXPECT_TRUE(std::equal(&danger[0][0], &danger[0][0] + 256, &before[0][0]));
}

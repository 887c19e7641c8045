#include <gtest/gtest.h>

#include <set>

#include "position/fen.h"
#include "position/tables.h"
#include "tests/support/positions.h"

using namespace orvo;
using orvo::test::sq;

class Tables : public ::testing::Test {
 protected:
  void SetUp() override { init_tables(); }
};

TEST_F(Tables, NextSquareDoesNotWrapAcrossEdges) {
  EXPECT_EQ(next_sq[EAST][sq("h1")], -1);
  EXPECT_EQ(next_sq[WEST][sq("a8")], -1);
  EXPECT_EQ(next_sq[SOUTH][sq("a1")], -1);
  EXPECT_EQ(next_sq[NORTH][sq("a1")], sq("a2"));
  EXPECT_EQ(next_sq[EAST][sq("h5")], -1);  // would be a4 by number
  EXPECT_EQ(next_sq[SOUTH_EAST][sq("h5")], -1);
}

TEST_F(Tables, KnightOnA8HasTwoTargets) {
  std::set<int> targets;
  for (int k = 0; k < 8; ++k)
    if (knight_sq[k][sq("a8")] != -1) targets.insert(knight_sq[k][sq("a8")]);
  EXPECT_EQ(targets, (std::set<int>{sq("b6"), sq("c7")}));
  EXPECT_EQ(knight_attacks[sq("a8")], (1ull << sq("b6")) | (1ull << sq("c7")));
}

TEST_F(Tables, RookOnD4) {
  board b = test::from_fen("8/8/8/8/3R4/8/8/8 w - - 0 1");
  EXPECT_EQ(popcount(rook_attacks(b, sq("d4"))), 14);
  b = test::from_fen("8/8/3p4/8/3R1p2/8/8/8 w - - 0 1");
  u64 expected = 0;
  for (const char* s : {"d5", "d6", "e4", "f4", "c4", "b4", "a4", "d3", "d2", "d1"})
    expected |= 1ull << sq(s);
  EXPECT_EQ(rook_attacks(b, sq("d4")), expected);
}

TEST_F(Tables, Directions) {
  EXPECT_EQ(direction[sq("e1")][sq("h4")], NORTH_EAST);
  EXPECT_EQ(direction[sq("e1")][sq("f3")], -1);
  EXPECT_EQ(direction[sq("e1")][sq("e8")], NORTH);
  EXPECT_EQ(direction[sq("e8")][sq("a8")], WEST);
  EXPECT_EQ(direction[sq("a8")][sq("h1")], SOUTH_EAST);
  EXPECT_EQ(ray[NORTH_EAST][sq("e1")],
            (1ull << sq("f2")) | (1ull << sq("g3")) | (1ull << sq("h4")));
}

TEST_F(Tables, BitTables) {
  EXPECT_EQ(first_bit16[0], 255);
  EXPECT_EQ(last_bit16[0], 207);
  EXPECT_EQ(first_bit16[1], 0);
  EXPECT_EQ(first_bit16[0x8001], 15);
  EXPECT_EQ(last_bit16[0x8000], 15);
  EXPECT_EQ(last_bit16[0x0006], 1);
  for (int s = 0; s < 64; ++s) {
    EXPECT_EQ(set_mask[s], 1ull << s);
    EXPECT_EQ(clear_mask[s], ~(1ull << s));
  }
}

TEST_F(Tables, DeBruijnScanFindsTheLowestBit) {
  for (int s = 0; s < 64; ++s) {
    EXPECT_EQ(bit_scan(1ull << s), s);
    EXPECT_EQ(bit_scan((1ull << s) | (1ull << 63)), s);
  }
}

TEST_F(Tables, RotationMapsAndTheirInverses) {
  EXPECT_EQ(rot90_map[0], 56);
  EXPECT_EQ(rot90_map[7], 0);
  EXPECT_EQ(rot_h1a8_map[0], 56);
  EXPECT_EQ(rot_h1a8_map[63], 7);
  EXPECT_EQ(rot_a1h8_map[0], 0);
  EXPECT_EQ(rot_a1h8_map[63], 63);
  for (int i = 0; i < 64; ++i) {
    EXPECT_EQ(rot90_index[rot90_map[i]], i);
    EXPECT_EQ(rot_h1a8_index[rot_h1a8_map[i]], i);
    EXPECT_EQ(rot_a1h8_index[rot_a1h8_map[i]], i);
  }
  const int starts[] = {0, 1, 3, 6, 10, 15, 21, 28, 36, 43, 49, 54, 58, 61, 63};
  for (int s = 0; s < 64; ++s) {
    EXPECT_NE(std::find(std::begin(starts), std::end(starts), diag_h1a8_start[s]), std::end(starts));
    // The square lies inside its diagonal's stretch of the rotated board.
    EXPECT_GE(rot_h1a8_index[s], diag_h1a8_start[s]);
    EXPECT_LT(rot_h1a8_index[s], diag_h1a8_start[s] + diag_h1a8_len[s]);
    EXPECT_GE(rot_a1h8_index[s], diag_a1h8_start[s]);
    EXPECT_LT(rot_a1h8_index[s], diag_a1h8_start[s] + diag_a1h8_len[s]);
  }
}

TEST_F(Tables, SliderTablesMatchAPlainRayWalk) {
  // Every slider lookup agrees with stepping along the rays square by
  // square, on a few irregular occupancies.
  const char* fens[] = {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
                        "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
                        "1k6/8/8/8/8/8/8/6K1 w - - 0 1"};
  for (const char* f : fens) {
    board b = test::from_fen(f);
    for (int s = 0; s < 64; ++s) {
      u64 rook = 0, bishop = 0;
      for (int d = 0; d < 8; ++d)
        for (int t = next_sq[d][s]; t != -1; t = next_sq[d][t]) {
          (d % 2 ? bishop : rook) |= 1ull << t;
          if (b.piece[t]) break;
        }
      EXPECT_EQ(rook_attacks(b, s), rook) << f << " square " << s;
      EXPECT_EQ(bishop_attacks(b, s), bishop) << f << " square " << s;
    }
  }
}

TEST_F(Tables, PatternsWithoutTheSquareStayEmpty) {
  EXPECT_EQ(rank_attacks[sq("d4")][0], 0u);
  EXPECT_EQ(file_attacks[sq("d4")][0], 0u);
  EXPECT_NE(rank_attacks[sq("d4")][1 << 3], 0u);
}

TEST_F(Tables, ZobristExamples) {
  EXPECT_EQ(zobrist_side[BLACK], 0x23DCB789481002C6ull);
  EXPECT_EQ(zobrist_side[WHITE], 0x7AEA9451B6E5D395ull);
  EXPECT_EQ(zobrist_castle_ep[0], 0x5D73A5FFDF5FF619ull);
  EXPECT_EQ(zobrist[WHITE][PAWN][sq("a8")], 0x2A18C73F15802BFCull);
  EXPECT_EQ(zobrist[BLACK][KING][sq("e8")], 0x64247C8819F3618Cull);
}

TEST_F(Tables, ZobristKeysAreDistinctAndWellMixed) {
  std::set<u64> seen;
  int bits = 0, n = 0;
  auto add = [&](u64 k) {
    seen.insert(k);
    bits += popcount(k);
    ++n;
  };
  for (int c = 0; c < 2; ++c)
    for (int p = 1; p <= 6; ++p)
      for (int s = 0; s < 64; ++s) add(zobrist[c][p][s]);
  for (u64 k : zobrist_castle_ep) add(k);
  for (u64 k : zobrist_side) add(k);
  EXPECT_EQ(n, 834);
  EXPECT_EQ(seen.size(), 834u);
  const double mean = double(bits) / n;
  EXPECT_GT(mean, 30.0);
  EXPECT_LT(mean, 34.0);
}

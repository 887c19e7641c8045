#include <gtest/gtest.h>

#include "position/fen.h"
#include "tests/support/positions.h"

using namespace orvo;
using orvo::test::from_fen;
using orvo::test::sq;

TEST(Board, StartPosition) {
  board b = from_fen(start_fen);
  EXPECT_EQ(b.side, WHITE);
  EXPECT_EQ(b.xside, BLACK);
  EXPECT_EQ(b.castle, 15u);
  EXPECT_EQ(b.ep, -1);
  for (int c : {WHITE, BLACK}) {
    EXPECT_EQ(b.material[c], 4075);
    EXPECT_EQ(b.pieces_count[c], 7);
    EXPECT_EQ(b.pawn_count[c], 8);
    EXPECT_EQ(b.phase_units[c], 31);
    EXPECT_EQ(b.castled[c], 0);
  }
  EXPECT_EQ(b.phase, 0);
  EXPECT_EQ(b.king_sq[WHITE], sq("e1"));
  EXPECT_EQ(b.king_sq[BLACK], sq("e8"));
  EXPECT_EQ(b.occupied, 0xFFFF00000000FFFFull);
  EXPECT_EQ(b.in_check, 0);
}

TEST(Board, KingsAndPawnsAreEndgame) {
  board b = from_fen("4k3/pppppppp/8/8/8/8/PPPPPPPP/4K3 w - - 0 1");
  EXPECT_EQ(b.material[WHITE] + b.material[BLACK], 1600);
  EXPECT_EQ(b.phase, 2);
  EXPECT_EQ(from_fen("r3k3/8/8/8/8/8/8/R2QK3 w - - 0 1").phase, 2);
  // 2 x 4075 minus a queen and rook = 6675: opening; minus more: middlegame.
  EXPECT_EQ(from_fen("rnb1kbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBN1 w - - 0 1").phase, 0);
  EXPECT_EQ(from_fen("4k3/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w - - 0 1").phase, 1);
}

TEST(Board, NoWhiteRightsMeansCastled) {
  board b = from_fen("r3k2r/8/8/8/8/8/8/R3K2R w kq - 0 1");
  EXPECT_EQ(b.castled[WHITE], 1);
  EXPECT_EQ(b.castled[BLACK], 0);
}

TEST(Board, PromotionMoveWord) {
  Move m = encode_move(sq("e7"), sq("e8"), 0, QUEEN, PAWN);
  EXPECT_EQ(move_from(m), 12);
  EXPECT_EQ(move_to(m), 4);
  EXPECT_EQ(move_captured(m), 0);
  EXPECT_EQ(move_promotion(m), 5);
  EXPECT_EQ(move_piece(m), 1);
  EXPECT_EQ(m >> 24, 0u);
  EXPECT_FALSE(move_is_quiet(m));
  EXPECT_TRUE(move_is_quiet(encode_move(sq("e2"), sq("e4"), 0, 0, PAWN)));
}

TEST(Board, SquareNumbering) {
  EXPECT_EQ(sq("a8"), 0);
  EXPECT_EQ(sq("h8"), 7);
  EXPECT_EQ(sq("a7"), 8);
  EXPECT_EQ(sq("a1"), 56);
  EXPECT_EQ(sq("h1"), 63);
  EXPECT_EQ(sq("e3"), 44);
  EXPECT_EQ(square_of(4, 3), 44);
}

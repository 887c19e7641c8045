// Passed pawns with kings and pieces.
#include <gtest/gtest.h>

#include "tests/eval/eval_test_util.h"

using namespace orvo;
using namespace orvo::eval;
using orvo::test::pawn_record_of;
using orvo::test::position;

namespace {

int passed_term(const char* fen) {
  board b = position(fen);
  return passed_pawn_term(b, pawn_record_of(b));
}

}  // namespace

class eval_passed : public ::testing::Test {
 protected:
  void SetUp() override { test::fresh_eval(); }
};

TEST_F(eval_passed, KingSupportInTheEndgame) {
  // e6 pawn: own rank 6, index 5: 60 with the king beside it on d6.
  EXPECT_EQ(passed_term("4k3/8/3KP3/8/8/8/8/8 w - - 0 1"), 60);
  // King on d5, behind the pawn: nothing.
  EXPECT_EQ(passed_term("4k3/8/4P3/3K4/8/8/8/8 w - - 0 1"), 0);
  // King on d7, ahead of it, still beside it: 60.
  EXPECT_EQ(passed_term("4k3/3K4/4P3/8/8/8/8/8 w - - 0 1"), 60);
  // Black's mirror: pawn d3 (its own rank 6), Black king e3: -60.
  EXPECT_EQ(passed_term("8/8/8/8/8/3pk3/8/4K3 w - - 0 1"), -60);
}

TEST_F(eval_passed, KingSupportOnlyInTheEndgame) {
  // The same pawn and king with queens and rooks on the board (phase 1).
  const char* fen = "r2qk2r/8/3KP3/8/8/8/8/R2Q3R w - - 0 1";
  ASSERT_EQ(position(fen).phase, 1);
  EXPECT_EQ(passed_term(fen), 0);
}

TEST_F(eval_passed, RookOnTheSeventhBesideThePawn) {
  // b7 pawn with a rook on h7: 100 (the king on e1 is too far to support).
  EXPECT_EQ(passed_term("4k3/1P5R/8/8/8/8/8/4K3 w - - 0 1"), 100);
  // In the opening as well (the other White pawns are passed too, but only
  // the king support would score them, and that needs the endgame).
  const char* opening = "rnbqk3/1P5R/8/8/8/8/PPPPPPP1/RNBQKBN1 w - - 0 1";
  ASSERT_EQ(position(opening).phase, 0);
  EXPECT_EQ(passed_term(opening), 100);
  // Black: pawn on b2 and a rook on its second rank.
  EXPECT_EQ(passed_term("4k3/8/8/8/8/8/1p5r/4K3 w - - 0 1"), -100);
}

TEST_F(eval_passed, BlockadeOfABlackPawn) {
  // Black passed pawn d4 (index 4), White knight on d2 two rows ahead: 36.
  EXPECT_EQ(passed_term("4k3/8/8/8/3p4/8/3N4/4K3 w - - 0 1"), 36);
  // Knight on d3: nothing.
  EXPECT_EQ(passed_term("4k3/8/8/8/3p4/3N4/8/4K3 w - - 0 1"), 0);
  // Any White piece counts, the king too.
  EXPECT_EQ(passed_term("4k3/8/8/8/3p4/8/3K4/8 w - - 0 1"), 36);
}

TEST_F(eval_passed, WhiteBlockadeTestNeverScores) {
  // A Black knight two rows ahead of a White passed pawn (e4 - e6), or right
  // in front of it: nothing, the test reads the pawn's own square.
  EXPECT_EQ(passed_term("4k3/8/4n3/8/4P3/8/8/K7 w - - 0 1"), 0);
  EXPECT_EQ(passed_term("4k3/8/8/4n3/4P3/8/8/K7 w - - 0 1"), 0);
}

TEST_F(eval_passed, BlackPawnOnItsSecondRankHasNoSquareTwoAhead) {
  // Black passed pawn on h2 (square 55): 55 + 16 is off the board.
  EXPECT_EQ(passed_term("4k3/8/8/8/8/8/7p/K7 w - - 0 1"), 0);
}

TEST_F(eval_passed, RookAndPawnAgainstRookDraws) {
  // White Kc8 two files from the e7 pawn: the term is 0, although steps 1-2
  // would give 100 for the rook on the seventh.
  EXPECT_EQ(passed_term("2K5/R3P3/8/8/8/8/8/1r5k w - - 0 1"), 0);
  // With the king on d8 (one file away, not behind the pawn) the score
  // stands: 100 for the rook and 100 king support (index 6).
  EXPECT_EQ(passed_term("3K4/R3P3/8/8/8/8/8/1r5k w - - 0 1"), 200);
  // White king behind the pawn (row greater): 0.
  EXPECT_EQ(passed_term("8/R3P3/3K4/8/8/8/8/1r5k w - - 0 1"), 0);
  // Black king within one file and behind the pawn (row greater): 0. With
  // the Black king far away the 40 of the king support stands.
  EXPECT_EQ(passed_term("3K4/8/8/4P3/3k4/8/8/r6R w - - 0 1"), 0);
  EXPECT_EQ(passed_term("3K4/8/8/4P3/8/8/8/k5rR w - - 0 1"), 40);
}

TEST_F(eval_passed, RookAndPawnAgainstRookForBlack) {
  // Black pawn e2, Black rook a2 (-100), Black king d1 beside it (-100):
  // the score stands, -200.
  EXPECT_EQ(passed_term("1R5K/8/8/8/8/8/r3p3/3k4 w - - 0 1"), -200);
  // Black king c1, two files away: 0.
  EXPECT_EQ(passed_term("1R5K/8/8/8/8/8/r3p3/2k5 w - - 0 1"), 0);
  // White king within one file and ahead of... in front of the pawn's
  // path from Black's side (row smaller): 0.
  EXPECT_EQ(passed_term("1R6/8/8/3K4/4p3/8/r7/4k3 w - - 0 1"), 0);
}

TEST_F(eval_passed, NotCalledWithoutPassers) {
  // The driver calls the term only with a passed pawn; the term itself
  // returns 0 for a record without one.
  board b = position("4k3/4p3/8/8/8/8/4P3/4K3 w - - 0 1");
  const pawn_record r = pawn_record_of(b);
  EXPECT_EQ(r.white_passed | r.black_passed, 0u);
  EXPECT_EQ(passed_pawn_term(b, r), 0);
}

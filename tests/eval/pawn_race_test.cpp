// King and pawns against a bare king.
#include <gtest/gtest.h>

#include "tests/eval/eval_test_util.h"

using namespace orvo;
using namespace orvo::eval;
using orvo::test::position;

namespace {

int race(const char* fen) {
  board b = position(fen);
  return pawn_race_term(b);
}

}  // namespace

class eval_pawn_race : public ::testing::Test {
 protected:
  void SetUp() override { test::fresh_eval(); }
};

TEST_F(eval_pawn_race, KingDirectlyAheadOnTheSixth) {
  EXPECT_EQ(race("4k3/8/4K3/4P3/8/8/8/8 w - - 0 1"), 525);
  EXPECT_EQ(race("4k3/8/4K3/4P3/8/8/8/8 b - - 0 1"), 525);
}

TEST_F(eval_pawn_race, KingNearerAndTwoRowsAhead) {
  EXPECT_EQ(race("8/3K4/8/3P4/8/8/8/7k w - - 0 1"), 525);
}

TEST_F(eval_pawn_race, RookPawnWithTheKingOnTheKnightFile) {
  // max(2, 1) = 2 < distance from d8 to a8 (3).
  EXPECT_EQ(race("3k4/8/1K6/P7/8/8/8/8 w - - 0 1"), 525);
  // Black king c8: distance 2, not more than 2.
  EXPECT_EQ(race("2k5/8/1K6/P7/8/8/8/8 w - - 0 1"), 0);
  // h-pawn with the king on the g-file.
  EXPECT_EQ(race("4k3/8/6K1/7P/8/8/8/8 w - - 0 1"), 525);
}

TEST_F(eval_pawn_race, WhiteRookPawnIsJudgedByTheCornerRuleAlone) {
  // King a6 on the sixth rank ahead of the a5 pawn: the rule for the other
  // files would give 525, but a White rook pawn stops after the corner rule.
  EXPECT_EQ(race("7k/8/K7/P7/8/8/8/8 w - - 0 1"), 0);
}

TEST_F(eval_pawn_race, BlackRookPawnGoesOnToTheGeneralRule) {
  // Black pawn a4, Black king a3 on the third rank: -525.
  EXPECT_EQ(race("8/8/8/8/p7/k7/8/7K w - - 0 1"), -525);
}

TEST_F(eval_pawn_race, BlackOppositionTest) {
  // Black pawn e5, Black king e4, White king e2: file distance 0, row
  // distance 2, both even: -525 with either side to move.
  EXPECT_EQ(race("8/8/8/4p3/4k3/8/4K3/8 b - - 0 1"), -525);
  EXPECT_EQ(race("8/8/8/4p3/4k3/8/4K3/8 w - - 0 1"), -525);
  // White king d2: file distance 1: 0.
  EXPECT_EQ(race("8/8/8/4p3/4k3/8/3K4/8 b - - 0 1"), 0);
}

TEST_F(eval_pawn_race, BlackTakesItsLeastAdvancedPawn) {
  // Alone, the e3 pawn with the king on e2 just ahead earns -525 (kings
  // e2 and a8: file distance 4, row distance 6, both even) ...
  EXPECT_EQ(race("K7/8/8/8/8/4p3/4k3/8 b - - 0 1"), -525);
  // ... but with a second pawn on a6 the lowest square number is a6, the
  // least advanced Black pawn, which the king does not stand beside: 0.
  EXPECT_EQ(race("K7/8/p7/8/8/4p3/4k3/8 b - - 0 1"), 0);
}

TEST_F(eval_pawn_race, WhiteKingOneRowAheadAlwaysScores) {
  // King e5 directly ahead of e4, Black king d3 as near to the pawn: the
  // opposition test for the side to move always holds.
  EXPECT_EQ(race("8/8/8/4K3/4P3/3k4/8/8 w - - 0 1"), 525);
  EXPECT_EQ(race("8/8/8/4K3/4P3/3k4/8/8 b - - 0 1"), 525);
}

TEST_F(eval_pawn_race, NothingWithPiecesOrPawnsOfBothColours) {
  EXPECT_EQ(race("4k3/8/4K3/4P3/8/8/8/6N1 w - - 0 1"), 0);
  EXPECT_EQ(race("4k3/8/4K3/4P3/8/8/8/6n1 w - - 0 1"), 0);
  EXPECT_EQ(race("4k3/p7/4K3/4P3/8/8/8/8 w - - 0 1"), 0);
  // The king behind its pawn: nothing.
  EXPECT_EQ(race("4k3/8/8/4P3/4K3/8/8/8 w - - 0 1"), 0);
}

TEST_F(eval_pawn_race, OppositionTest) {
  // Kings e1 and f4 (df 1, dr 3): for the side to move always true; for
  // the other side df is odd: false.
  board b = position("8/8/8/5k2/8/8/8/4K3 w - - 0 1");
  EXPECT_TRUE(opposition(b, b.side));
  EXPECT_FALSE(opposition(b, b.xside));
  // Kings e1 and e5 (df 0, dr 4): both even: true for either.
  board e = position("8/8/8/4k3/8/8/8/4K3 w - - 0 1");
  EXPECT_TRUE(opposition(e, e.side));
  EXPECT_TRUE(opposition(e, e.xside));
  // Kings e1 and g4 (df 2, dr 3): the side not to move: dr odd: false.
  board g = position("8/8/8/8/6k1/8/8/4K3 w - - 0 1");
  EXPECT_TRUE(opposition(g, g.side));
  EXPECT_FALSE(opposition(g, g.xside));
}

TEST_F(eval_pawn_race, DriverAddsTheTermAgainstABareKing) {
  // White king e6, pawn e5, Black king e8: the full evaluation includes
  // the 525 (it is far above material plus everything else).
  board b = position("4k3/8/4K3/4P3/8/8/8/8 w - - 0 1");
  EXPECT_GT(test::full_eval(b), 525);
}

// The driver's material part: the material term and its imbalance
// correction, the win-chance flags, the bare-king test, the pawnless
// endings and the final scaling.
#include <gtest/gtest.h>

#include <string>

#include "tests/eval/eval_test_util.h"

using namespace orvo;
using namespace orvo::eval;
using orvo::test::full_eval;
using orvo::test::position;

class eval_material : public ::testing::Test {
 protected:
  void SetUp() override {
    test::fresh_eval();
    orvo::test::set_root_castle(0);
  }
};

// ---- Bare kings with a pawnless minor piece

TEST_F(eval_material, LoneMinorPieceCannotWin) {
  // KNK: White has no pawns and 3 units (its bit goes), Black has nothing
  // (its bit goes too): flags 0, and every score scales to 0.
  board knk = position("4k3/8/8/8/8/8/8/4KN2 w - - 0 1");
  EXPECT_EQ(win_chance(knk), 0u);
  EXPECT_EQ(full_eval(knk), 0);
  knk.side = BLACK, knk.xside = WHITE;
  EXPECT_EQ(full_eval(knk), 0);

  board kbk = position("4kb2/8/8/8/8/8/8/4K3 b - - 0 1");
  EXPECT_EQ(win_chance(kbk), 0u);
  EXPECT_EQ(full_eval(kbk), 0);
}

TEST_F(eval_material, LoneMinorAgainstPawnsLeavesTheOtherSidesBit) {
  board b = position("4k3/p7/8/8/8/8/8/4KN2 w - - 0 1");
  EXPECT_EQ(win_chance(b), BLACK_CAN_WIN);
  // White is a knight up in material but cannot win: its advantage is 0.
  EXPECT_EQ(full_eval(b), 0);
}

TEST_F(eval_material, BareKingsScoreZero) {
  board b = position("4k3/8/8/8/8/8/8/4K3 w - - 0 1");
  EXPECT_EQ(full_eval(b), 0);
  b.side = BLACK, b.xside = WHITE;
  EXPECT_EQ(full_eval(b), 0);
}

// ---- King, bishop and knight against king

TEST_F(eval_material, KbnUsesTheDarkCornersWhateverTheBishop) {
  // Bf1 stands on a light square, so a8 and h1 would be the mating corners;
  // the dark-corner table is used all the same.
  const char* fens[] = {
      "8/8/8/8/8/2K2N2/8/k4B2 w - - 0 1",  // a1: 100
      "7k/8/8/8/8/2K2N2/8/5B2 w - - 0 1",  // h8: 100
      "k7/8/8/8/8/2K2N2/8/5B2 w - - 0 1",  // a8: 30
      "8/8/8/8/8/2K2N2/8/5B1k w - - 0 1",  // h1: 30
  };
  const int expected_corner[] = {100, 100, 30, 30};
  for (int i = 0; i < 4; ++i) {
    board b = position(fens[i]);
    EXPECT_EQ(pawnless_term(b), expected_corner[i]) << fens[i];
    // Material 650 plus the corner value; flags 1 (only White can win).
    EXPECT_EQ(full_eval(b), 650 + expected_corner[i]) << fens[i];
  }
}

TEST_F(eval_material, KbnScoreRisesTowardsA1) {
  // White Kh1, Bh3 (a light square), Nh2; the defending king walks e5, d4,
  // c3, b2, a1, where the table reads 40, 40, 60, 80, 100.
  const char* squares[] = {"e5", "d4", "c3", "b2", "a1"};
  const int expected[] = {40, 40, 60, 80, 100};
  for (int i = 0; i < 5; ++i) {
    std::string rows[8] = {"8", "8", "8", "8", "8", "7B", "7N", "7K"};
    const int f = squares[i][0] - 'a', r = 8 - (squares[i][1] - '0');
    const std::string left = f ? std::to_string(f) : "", right = f < 7 ? std::to_string(7 - f) : "";
    rows[r] = r >= 5 ? left + "k" + std::to_string(6 - f) + rows[r].substr(1) : left + "k" + right;
    std::string text;
    for (int k = 0; k < 8; ++k) text += rows[k] + (k < 7 ? "/" : " w - - 0 1");
    board b = position(text.c_str());
    ASSERT_EQ(b.piece[f + 8 * r], KING) << text;
    EXPECT_EQ(pawnless_term(b), expected[i]) << text;
  }
}

TEST_F(eval_material, BlackKbnIsTheMirror) {
  // Black king, bishop and knight: the White king's square in the same
  // table, negated. White king on h8: -100.
  board b = position("7K/8/8/8/8/2k2n2/8/5b2 b - - 0 1");
  EXPECT_EQ(pawnless_term(b), -100);
  EXPECT_EQ(full_eval(b), 650 + 100);  // Black to move: its own view
}

// ---- Other pawnless endings

TEST_F(eval_material, RookAgainstBareKing) {
  // Kings a1 and c1 (distance 2): 500 + 15 * (3 - 2) + edge[a1] 100 = 615.
  board b = position("8/8/8/8/8/8/8/k1K4R w - - 0 1");
  EXPECT_EQ(pawnless_term(b), 115);
  EXPECT_EQ(full_eval(b), 615);
  b.side = BLACK, b.xside = WHITE;  // a2 is free: no stalemate
  EXPECT_EQ(full_eval(b), -615);
}

TEST_F(eval_material, EqualPawnlessMaterialIsLevel) {
  board b = position("3rk3/8/8/8/8/8/8/3RK3 w - - 0 1");
  EXPECT_EQ(pawnless_term(b), 0);
  EXPECT_EQ(full_eval(b), 0);
}

TEST_F(eval_material, RookAgainstKnightForBlack) {
  // White knight against Black rook: White's bit goes (no pawns, 3 units),
  // Black's stays. Kings e1 and e8 (distance 7):
  // 325 - 500 - (15 * (3 - 7) + edge[e1] 90) = -175 - 30 = -205.
  board b = position("4k2r/8/8/8/8/8/8/4KN2 w - - 0 1");
  EXPECT_EQ(win_chance(b), BLACK_CAN_WIN);
  EXPECT_EQ(full_eval(b), -205);
}

// ---- Bare-king stalemate

TEST_F(eval_material, StalematedBareKingWithPawnsScoresZero) {
  // Black Ka8 to move, White Kb6 (inside the near zone) and a pawn on a7:
  // a7, b7 and b8 are all attacked. Flags 1 from the cache, 0 after the
  // test, so the evaluation is 0.
  board b = position("k7/P7/1K6/8/8/8/8/8 b - - 0 1");
  EXPECT_EQ(win_chance(b), WHITE_CAN_WIN);
  EXPECT_TRUE(bare_king_stalemate(b));
  EXPECT_EQ(orvo::test::material_flags_of(b), 0u);
  EXPECT_EQ(full_eval(b), 0);
  // With White to move the test is about White, which has a pawn: no.
  board w = position("k7/P7/1K6/8/8/8/8/8 w - - 0 1");
  EXPECT_FALSE(bare_king_stalemate(w));
  EXPECT_GT(full_eval(w), 0);
}

TEST_F(eval_material, StalematedBareKingWithoutPawnsOnlyQuartersTheScore) {
  // King and queen against king, Black Ka8 stalemated by Qb6 and Kc7.
  // Pawnless path: 975 + 15 * (3 - 2) + edge[a8] 100 = 1090; with White's
  // bit cleared a positive score is divided by 4: 272; Black to move: -272.
  board b = position("k7/2K5/1Q6/8/8/8/8/8 b - - 0 1");
  EXPECT_TRUE(bare_king_stalemate(b));
  EXPECT_EQ(orvo::test::material_flags_of(b), 0u);
  EXPECT_EQ(full_eval(b), -272);
  board w = position("k7/2K5/1Q6/8/8/8/8/8 w - - 0 1");
  EXPECT_EQ(full_eval(w), 1090);
}

TEST_F(eval_material, BareKingTestNeedsTheOtherKingInTheZone) {
  // The queen alone takes a7, b7 and b8, but the White king on h1 is
  // outside the two-step zone of a8: the test answers no.
  board b = position("k7/8/1Q6/8/8/8/8/7K b - - 0 1");
  EXPECT_FALSE(bare_king_stalemate(b));
  EXPECT_EQ(orvo::test::material_flags_of(b), WHITE_CAN_WIN);
}

TEST_F(eval_material, BareKingTestDoesNotAskAboutCheck) {
  // Back-rank mate of a lone king: in check and every square attacked; the
  // test answers yes all the same.
  board b = position("R6k/8/7K/8/8/8/8/8 b - - 0 1");
  EXPECT_TRUE(bare_king_stalemate(b));
}

// ---- Bishop and rook pawns

TEST_F(eval_material, WrongBishopRookPawnForWhite) {
  // Bc1 with an h-pawn; the Black king next to h8 (distance 1): drawn,
  // whatever the bishop's colour (c1 is in fact the right one for h8).
  board near = position("8/6k1/8/7P/8/2K5/8/2B5 w - - 0 1");
  EXPECT_EQ(win_chance(near) & WHITE_CAN_WIN, 0u);
  EXPECT_EQ(full_eval(near), 0);
  // Defender far away (a1, distance 7): still winnable.
  board far = position("8/8/8/7P/8/2K5/8/k1B5 w - - 0 1");
  EXPECT_EQ(win_chance(far), WHITE_CAN_WIN);
  // Defender e5 (distance 3) against White king a1 (7 - 1 = 6 with White to
  // move) and a pawn on h2 (6 rows, 5 moves with the double step, 4 with
  // the move): 3 < 6 and 3 < 4, drawn. With the pawn on h4 (4 - 1 = 3): not.
  board race = position("8/8/8/4k3/8/8/7P/K1B5 w - - 0 1");
  EXPECT_EQ(win_chance(race) & WHITE_CAN_WIN, 0u);
  board ahead = position("8/8/8/4k3/7P/8/8/K1B5 w - - 0 1");
  EXPECT_EQ(win_chance(ahead) & WHITE_CAN_WIN, WHITE_CAN_WIN);
}

TEST_F(eval_material, WrongBishopRookPawnForBlackUsesTheA1Corner) {
  // Black a-pawn on a7 with a bishop, Black to move. The White king on d3
  // is 3 from a1; Black's king a8 is 7 - 1 = 6 away; the pawn needs 6 rows,
  // 5 moves with the double step, 4 with the move: 3 < 6 and 3 < 4, drawn.
  board b = position("k1b5/p7/8/8/8/3K4/8/8 b - - 0 1");
  EXPECT_EQ(win_chance(b) & BLACK_CAN_WIN, 0u);
  // Deliberate asymmetry: a White a-pawn and a Black h-pawn are never judged.
  board white_a = position("k7/8/8/P7/8/2K5/8/2B5 w - - 0 1");
  EXPECT_EQ(win_chance(white_a), WHITE_CAN_WIN);
  board black_h = position("2b5/7p/8/8/8/8/6k1/7K b - - 0 1");
  EXPECT_EQ(win_chance(black_h), BLACK_CAN_WIN);
}

TEST_F(eval_material, PawnsOnBothRookFilesAreNeverDrawn) {
  board b = position("8/6k1/8/P6P/8/2K5/8/2B5 w - - 0 1");
  EXPECT_EQ(win_chance(b), WHITE_CAN_WIN);
}

// ---- Final scaling

TEST_F(eval_material, FiftyMoveScaling) {
  board b = position("4k3/8/8/8/8/8/8/4K3 w - - 0 1");
  b.fifty = 80;
  EXPECT_EQ(final_scaling(b, BOTH_CAN_WIN, 333), 333);
  b.fifty = 81;
  EXPECT_EQ(final_scaling(b, BOTH_CAN_WIN, 333), 333);  // 20 / 20
  b.fifty = 95;
  EXPECT_EQ(final_scaling(b, BOTH_CAN_WIN, 333), 99);    // 6 * 333 / 20 = 99.9
  EXPECT_EQ(final_scaling(b, BOTH_CAN_WIN, -333), -99);  // toward zero
  b.fifty = 100;
  EXPECT_EQ(final_scaling(b, BOTH_CAN_WIN, 333), 16);  // one twentieth
}

TEST_F(eval_material, FiftyMoveScalingThroughTheDriver) {
  // Black is a knight down; evaluated with clocks 0, 80, 81 and 95.
  const char* fen = "r1bqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR b KQkq - 0 1";
  board b = position(fen);
  b.fifty = 0;
  const int base = full_eval(b);
  ASSERT_LT(base, 0);
  b.fifty = 80;
  EXPECT_EQ(full_eval(b), base);
  b.fifty = 81;
  EXPECT_EQ(full_eval(b), base);
  b.fifty = 95;
  EXPECT_EQ(full_eval(b), 6 * base / 20);
}

TEST_F(eval_material, DrawFlagsInTheFinalScaling) {
  board b = position("4k3/8/8/8/8/8/8/4K3 w - - 0 1");
  // Only Black can win: a White advantage is cancelled, a Black one kept.
  EXPECT_EQ(final_scaling(b, BLACK_CAN_WIN, 50), 0);
  EXPECT_EQ(final_scaling(b, BLACK_CAN_WIN, -50), -50);
  // Only White can win: a Black advantage is raised to 0.
  EXPECT_EQ(final_scaling(b, WHITE_CAN_WIN, 50), 50);
  EXPECT_EQ(final_scaling(b, WHITE_CAN_WIN, -50), 0);
  // Nobody: 0 either way.
  EXPECT_EQ(final_scaling(b, 0, 50), 0);
  EXPECT_EQ(final_scaling(b, 0, -50), 0);
}

// ---- Material term

TEST_F(eval_material, KnightForThreePawnsInTheOpening) {
  // White lacks the b1 knight, Black three pawns: 3750 - 3775 = -25 plainly;
  // Black has the piece, so 100 more for Black in the opening: -125.
  board b = position("rnbqkbnr/ppppp3/8/8/8/8/PPPPPPPP/R1BQKBNR w KQkq - 0 1");
  ASSERT_EQ(b.phase, 0);
  EXPECT_EQ(material_term(b), -125);
  // The mirror: White has the piece.
  board w = position("r1bqkbnr/pppppppp/8/8/8/8/PPPPP3/RNBQKBNR w KQkq - 0 1");
  EXPECT_EQ(material_term(w), 125);
}

TEST_F(eval_material, ImbalanceBonusFollowsThePhase) {
  // Middlegame (phase 1): 50. Endgame (phase 2): 25.
  board mid = position("r2qk2r/pppppppp/8/8/8/8/PPPPP3/RN1QK2R w - - 0 1");
  ASSERT_EQ(mid.phase, 1);
  EXPECT_EQ(material_term(mid), 325 - 300 + 50);
  board end = position("4k3/pppppppp/8/8/8/8/PPPPP3/1N2K3 w - - 0 1");
  ASSERT_EQ(end.phase, 2);
  EXPECT_EQ(material_term(end), 325 - 300 + 25);
}

TEST_F(eval_material, NoImbalanceBonusWhenMajorPiecesDiffer) {
  board b = position("rnbqkbn1/ppppp3/8/8/8/8/PPPPPPPP/R1BQKBNR w KQq - 0 1");
  EXPECT_EQ(material_term(b), b.material[WHITE] - b.material[BLACK]);
}

// ---- Cache

TEST_F(eval_material, CacheStoresTheFlagsUnderTheKeysHighWord) {
  board b = position("4k3/8/8/8/8/8/8/4KN2 w - - 0 1");
  orvo::test::evaluator().clear_material_cache();
  orvo::test::material_flags_of(b);
  const material_entry& e = orvo::test::evaluator().material_cache()[b.mat_key & 1023];
  EXPECT_EQ(e.check, u32(b.mat_key >> 32));
  EXPECT_EQ(e.flags & BOTH_CAN_WIN, 0u);  // the other bits are the cache's own
  orvo::test::evaluator().clear_material_cache();
  EXPECT_EQ(orvo::test::evaluator().material_cache()[b.mat_key & 1023].check, 0u);
  EXPECT_EQ(orvo::test::evaluator().material_cache()[b.mat_key & 1023].flags, 3u);
}

TEST_F(eval_material, CacheIsNotAskedWithThirteenUnitsOrMore) {
  board b = position("4k3/8/8/8/8/8/8/3QKR2 w - - 0 1");  // 14 units
  orvo::test::evaluator().clear_material_cache();
  EXPECT_EQ(orvo::test::material_flags_of(b), BOTH_CAN_WIN);
  EXPECT_EQ(orvo::test::evaluator().material_cache()[b.mat_key & 1023].check, 0u);
}

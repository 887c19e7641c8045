// Knights, bishops, rooks and queens: placement, outposts, trapped bishops,
// the bishop pair, rook files, mobility and king tropism.
#include <gtest/gtest.h>

#include "position/tables.h"
#include "tests/eval/eval_test_util.h"

using namespace orvo;
using namespace orvo::eval;
using orvo::test::pawn_record_of;
using orvo::test::position;

namespace {

struct terms {
  int knights, bishops, rooks, queens;
  int pressure_on_black, pressure_on_white;
  int mobility_white, mobility_black;
};

terms run(const char* fen, const pawn_record* record = nullptr) {
  board b = position(fen);
  const pawn_record r = record ? *record : pawn_record_of(b);
  b.king_attack[0] = b.king_attack[1] = 0;
  b.positional[0] = b.positional[1] = 0;
  terms t{};
  t.knights = knight_term(b, r);
  t.bishops = bishop_term(b, r);
  t.rooks = rook_term(b, r);
  t.queens = queen_term(b);
  t.pressure_on_black = b.king_attack[BLACK];
  t.pressure_on_white = b.king_attack[WHITE];
  t.mobility_white = b.positional[WHITE];
  t.mobility_black = b.positional[BLACK];
  return t;
}

}  // namespace

class eval_pieces : public ::testing::Test {
 protected:
  void SetUp() override { test::fresh_eval(); }
};

// ---- Bishops

TEST_F(eval_pieces, TrappedBishopOnA7) {
  // Table value -20 and 174 for the trap.
  EXPECT_EQ(run("4k3/B7/1p6/8/8/8/8/4K3 w - - 0 1").bishops, -194);
  // Pawn on b5 instead: the table value only.
  EXPECT_EQ(run("4k3/B7/8/1p6/8/8/8/4K3 w - - 0 1").bishops, -20);
}

TEST_F(eval_pieces, TrappedBishopsAllFourSquaresBothColours) {
  EXPECT_EQ(run("1B2k3/2p5/8/8/8/8/8/4K3 w - - 0 1").bishops, -194);  // b8 / c7
  EXPECT_EQ(run("4k3/7B/6p1/8/8/8/8/4K3 w - - 0 1").bishops, -194);   // h7 / g6
  EXPECT_EQ(run("4k1B1/5p2/8/8/8/8/8/4K3 w - - 0 1").bishops, -194);  // g8 / f7
  EXPECT_EQ(run("4k3/8/8/8/8/1P6/b7/4K3 w - - 0 1").bishops, 194);    // a2 / b3
  EXPECT_EQ(run("4k3/8/8/8/8/8/2P5/1b2K3 w - - 0 1").bishops, 194);   // b1 / c2
  EXPECT_EQ(run("4k3/8/8/8/8/6P1/7b/4K3 w - - 0 1").bishops, 194);    // h2 / g3
  EXPECT_EQ(run("4k3/8/8/8/8/8/5P2/4K1b1 w - - 0 1").bishops, 194);   // g1 / f2
}

TEST_F(eval_pieces, BishopPair) {
  // Two White bishops on c1 and f1 (-20 each) with 16 pawns: 50 - 16 = 34.
  EXPECT_EQ(run("rn1qk1nr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1").bishops, -40 + 34);
  // With 4 pawns left: 50 - 4 = 46.
  EXPECT_EQ(run("4k3/pp6/8/8/8/8/6PP/2B1KB2 w - - 0 1").bishops, -40 + 46);
  // Three bishops: no pair bonus.
  EXPECT_EQ(run("4k3/pp6/8/8/8/8/6PP/2BBKB2 w - - 0 1").bishops, -60);
  // Black's pair counts for Black.
  EXPECT_EQ(run("2b1kb2/pp6/8/8/8/8/6PP/4K3 w - - 0 1").bishops, 40 - 46);
}

TEST_F(eval_pieces, BishopOutpostCountsOnceOutsideTheEndgame) {
  // Full material (phase 0). The Black d5 pawn is isolated, so d4 is a
  // White outpost: a bishop there gets outpost_bonus[d] = 4 once.
  const char* fen = "r1bqk1nr/pp3ppp/8/3p4/3B4/8/PPP2PPP/RN1QKBNR w KQkq - 0 1";
  board b = position(fen);
  ASSERT_NE(b.phase, 2);
  pawn_record r = pawn_record_of(b);
  ASSERT_TRUE(r.white_outposts & (1ull << D4));
  const int with = run(fen, &r).bishops;
  r.white_outposts = 0;
  EXPECT_EQ(with - run(fen, &r).bishops, 4);
}

// ---- Knights

TEST_F(eval_pieces, KnightMobilityCountsTheCentralBlock) {
  // A knight in the corner reaches b3 and c2, both outside c3-f6: nothing.
  const terms corner = run("4k3/8/8/8/8/8/8/N3K3 w - - 0 1");
  EXPECT_EQ(corner.mobility_white, 0);
  EXPECT_EQ(mobility(knight_attacks[A1]), 0);
  // A knight on e4 with all eight targets empty: d6, f6, c5, c3 lie inside
  // c3-f6 (g5, g3, d2, f2 do not): 4.
  EXPECT_EQ(run("4k3/8/8/8/4N3/8/8/4K3 w - - 0 1").mobility_white, 4);
  // An own pawn on d6 takes one of them away.
  EXPECT_EQ(run("4k3/8/3P4/8/4N3/8/8/4K3 w - - 0 1").mobility_white, 3);
  // An enemy pawn there does not.
  EXPECT_EQ(run("4k3/8/3p4/8/4N3/8/8/4K3 w - - 0 1").mobility_white, 4);
}

TEST_F(eval_pieces, KnightTableAndTropism) {
  // Knight e4 (0), Black king e6 at distance 2: tropism 3.
  const terms t = run("8/8/4k3/8/4N3/8/8/4K3 w - - 0 1");
  EXPECT_EQ(t.knights, 0);
  EXPECT_EQ(t.pressure_on_black, 3);
  // A Black knight on b8 (-30 for Black: +30), the White king e1 far away.
  const terms b = run("1n2k3/8/8/8/8/8/8/4K3 w - - 0 1");
  EXPECT_EQ(b.knights, 30);
  EXPECT_EQ(b.pressure_on_white, 0);
}

TEST_F(eval_pieces, KnightOutpostCountsTwice) {
  const char* fen = "r1bqkbnr/pp3ppp/8/3p4/3N4/8/PPP2PPP/R1BQKBNR w KQkq - 0 1";
  board b = position(fen);
  pawn_record r = pawn_record_of(b);
  ASSERT_TRUE(r.white_outposts & (1ull << D4));
  const int with = run(fen, &r).knights;
  r.white_outposts = 0;
  EXPECT_EQ(with - run(fen, &r).knights, 8);
}

// ---- Rooks

TEST_F(eval_pieces, RookShutInByItsKing) {
  // Middlegame: Rh1 (-10) with the king on g1 and a pawn on h2: -60.
  const char* middle = "4k3/pppppppp/8/8/8/8/PPPPPPPP/q2Q2KR w - - 0 1";
  ASSERT_EQ(position(middle).phase, 1);
  EXPECT_EQ(run(middle).rooks, -60);
  // Endgame: the table value only.
  const char* end = "4k3/pppp4/8/8/8/8/4PPPP/6KR w - - 0 1";
  ASSERT_EQ(position(end).phase, 2);
  EXPECT_EQ(run(end).rooks, -10);
}

TEST_F(eval_pieces, DoubledRooksOnAnOpenFile) {
  // d3 and d1 on the open d-file: 2 + 2 from the table, 11 + 11 + 20.
  EXPECT_EQ(run("4k3/ppp1pppp/8/8/8/3R4/PPP1PPPP/3RK3 w - - 0 1").rooks, 2 + 2 + 11 + 11 + 20);
  // Half-open for White (a Black pawn on d7): 9 + 9 + 20.
  EXPECT_EQ(run("4k3/pppppppp/8/8/8/3R4/PPP1PPPP/3RK3 w - - 0 1").rooks, 2 + 2 + 9 + 9 + 20);
  // Not doubled: no 20.
  EXPECT_EQ(run("4k3/ppp1pppp/8/8/8/3R4/PPP1PPPP/4KR2 w - - 0 1").rooks, 2 - 2 + 11);
}

TEST_F(eval_pieces, RookOnTheSeventhAndItsTropism) {
  // Ra7 (-10) on the seventh: +50. The a-file is open (11), the Black king on
  // b8 is one file away: file tropism 2, king distance 1 gives 3; the larger
  // is taken.
  const terms t = run("1k6/R7/8/8/8/8/8/4K3 w - - 0 1");
  EXPECT_EQ(t.rooks, -10 + 50 + 11);
  EXPECT_EQ(t.pressure_on_black, 3);
  // A rook on a file with an own pawn counts file distance 7 (0): only the
  // king distance table (e2 to e8 is 6: 0).
  EXPECT_EQ(run("4k3/8/8/8/8/4P3/4R3/K7 w - - 0 1").pressure_on_black, 0);
  // Half-open (only an enemy pawn on e7): file distance 0 gives 3.
  EXPECT_EQ(run("4k3/4p3/8/8/8/8/4R3/K7 w - - 0 1").pressure_on_black, 3);
  // A Black rook on its second rank (rank 2): -50 for White.
  EXPECT_EQ(run("4k3/8/8/8/8/8/r7/7K w - - 0 1").rooks, 10 - 50 - 11);
}

TEST_F(eval_pieces, BlackRookShutInByItsKing) {
  // Black Kg8 with Rh8, middlegame: +50 for White (and the table's -10 for
  // Black, so +10).
  const char* fen = "6kr/pppppppp/8/8/8/8/PPPPPPPP/Q2qK3 w - - 0 1";
  ASSERT_EQ(position(fen).phase, 1);
  EXPECT_EQ(run(fen).rooks, 10 + 50);
}

// ---- Queens

TEST_F(eval_pieces, QueenWrongWingLooksAtTheBlackKingForBothColours) {
  // White Qa1 (-20) with five pawns, Black king on g8: -30.
  EXPECT_EQ(run("6k1/8/8/8/8/8/PPPPP3/Q5K1 w - - 0 1").queens, -50);
  // Black Qa8 (-20 for Black: +20) with five pawns and the Black king on g8
  // (its own king on the far wing): +30, although the White king is on b1.
  EXPECT_EQ(run("q5k1/ppppp3/8/8/8/8/8/1K6 w - - 0 1").queens, 50);
  // Black king c8 and White king g1: the White king's wing would call it
  // wrong, but the Black king's does not: no 30.
  EXPECT_EQ(run("q1k5/ppppp3/8/8/8/8/8/6K1 w - - 0 1").queens, 20);
  // Four pawns: no wrong-wing test.
  EXPECT_EQ(run("6k1/8/8/8/8/8/PPPP4/Q5K1 w - - 0 1").queens, -20);
}

TEST_F(eval_pieces, QueenTropismNeedsAFreeFileAhead) {
  // Qd1 with its own pawn on d2: no tropism.
  EXPECT_EQ(run("3k4/8/8/8/8/8/3P4/3QK3 w - - 0 1").pressure_on_black, 0);
  // The pawn on c2 instead: file distance 0 gives 3, king distance 7 gives 0.
  EXPECT_EQ(run("3k4/8/8/8/8/8/2P5/3QK3 w - - 0 1").pressure_on_black, 3);
  // An enemy pawn ahead does not block: Qd4, Black pawn d6, Black king e6
  // (king distance 2: 3; file distance 1: 2): 3.
  EXPECT_EQ(run("8/8/3pk3/8/3Q4/8/8/4K3 w - - 0 1").pressure_on_black, 3);
}

TEST_F(eval_pieces, BishopMobilityAndTropism) {
  // Bd4 reaches c3, e3, c5, e5 and f6 inside c3-f6 (b6, a7, g7, b2, a1,
  // f2, g1 lie outside): 5. Black king g7 at distance 3: 1.
  const terms t = run("8/6k1/8/8/3B4/8/8/4K3 w - - 0 1");
  EXPECT_EQ(t.mobility_white, 5);
  EXPECT_EQ(t.pressure_on_black, 1);
  EXPECT_EQ(t.bishops, 10);
}

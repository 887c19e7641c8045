// Castling terms, king shelter against piece pressure, and the king's square
// in the endgame.
#include <gtest/gtest.h>

#include "tests/eval/eval_test_util.h"

using namespace orvo;
using namespace orvo::eval;
using orvo::test::full_eval;
using orvo::test::pawn_record_of;
using orvo::test::piece_terms;
using orvo::test::position;

class eval_king : public ::testing::Test {
 protected:
  void SetUp() override {
    test::fresh_eval();
    orvo::test::set_root_castle(0);
  }
};

// ---- King safety

TEST_F(eval_king, CastledBehindIntactSheltersIsZero) {
  // Both castled (no rights at setup), shelters f-g-h intact, rooks and
  // queens too far away for any pressure; middlegame.
  board b = position("rr1q2k1/5ppp/8/8/8/8/5PPP/RR1Q2K1 w - - 0 1");
  ASSERT_EQ(b.phase, 1);
  const pawn_record r = pawn_record_of(b);
  EXPECT_EQ(shelter_of(r, WHITE, SHELTER_KINGSIDE), 0);
  EXPECT_EQ(shelter_of(r, BLACK, SHELTER_KINGSIDE), 0);
  piece_terms(b, r);
  EXPECT_EQ(b.king_attack[WHITE], 0);
  EXPECT_EQ(b.king_attack[BLACK], 0);
  EXPECT_EQ(king_safety_term(b, r), 0);
}

TEST_F(eval_king, UncastledKingWithBothRights) {
  // White Ke1 with both rights; the start position's pawns give every
  // shelter value 0, so S = max(0, 3) = 3 and the term loses T[3][0] = 21.
  // Black is castled on g8 behind an intact shelter: T[0][0] = 0.
  board b = position("r2q1rk1/pppppppp/8/8/8/8/PPPPPPPP/R2QK2R w KQ - 0 1");
  ASSERT_EQ(b.phase, 1);
  const pawn_record r = pawn_record_of(b);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(shelter_of(r, WHITE, i), 0);
  EXPECT_EQ(king_shelter(b, r, WHITE), 3);
  piece_terms(b, r);
  EXPECT_EQ(b.king_attack[WHITE], 0);
  EXPECT_EQ(b.king_attack[BLACK], 0);
  EXPECT_EQ(king_safety_term(b, r), -21);
  // And 13 from the castling term (not castled, middlegame).
  EXPECT_EQ(castling_term(b, r, WHITE), -13);
}

TEST_F(eval_king, DangerWithAndWithoutTheAttackersQueen) {
  // White castled on g1 with a kingside shelter of 15 under pressure 6:
  // T[15][6] = (200 * 6 + 105 * 15) / 21 = 132 while Black has a queen.
  board b = position("r2qk2r/8/8/8/8/8/8/R2Q1RK1 w - - 0 1");
  ASSERT_EQ(b.phase, 1);
  pawn_record r = pawn_record_of(b);
  for (int i = 0; i < 8; ++i) r.shelter[i] = 0;
  r.shelter[SHELTER_KINGSIDE] = 15;
  b.king_attack[WHITE] = 6;
  b.king_attack[BLACK] = 0;
  EXPECT_EQ(king_safety_term(b, r), -132);
  // Without a Black queen both are remapped: T[10][4] = (167 * 4 + 98 * 10)
  // / 14 = 117.
  board nq = position("rnb1kbnr/8/8/8/8/8/8/R2Q1RK1 w - - 0 1");
  ASSERT_EQ(nq.phase, 1);
  nq.king_attack[WHITE] = 6;
  nq.king_attack[BLACK] = 0;
  EXPECT_EQ(king_safety_term(nq, r), -117);
}

TEST_F(eval_king, BlackPressureIsRemappedBeforeItIsClamped) {
  // No White queen. Black castled on e8 with an e-file shelter of 5.
  board b = position("r2qk2r/8/8/8/8/8/8/RNB1K2R w - - 0 1");
  pawn_record r = pawn_record_of(b);
  for (int i = 0; i < 8; ++i) r.shelter[i] = 0;
  r.shelter[4 + SHELTER_E] = 5;
  b.king_attack[WHITE] = 0;
  auto with_pressure = [&](int p) {
    b.king_attack[BLACK] = p;
    return king_safety_term(b, r);
  };
  // Pressure 20 counts as 0: T[remap 5 = 3][0] = 21.
  EXPECT_EQ(with_pressure(20), with_pressure(0));
  // Pressure 15 remaps to 10: T[3][10] = (137 * 10 + 91 * 3) / 13 = 126.
  EXPECT_EQ(with_pressure(15) - with_pressure(0), danger[3][10] - danger[3][0]);
  EXPECT_EQ(danger[3][10], 126);
}

TEST_F(eval_king, WhitePressureIsClampedBeforeItIsRemapped) {
  // No Black queen, White castled on e1 with an e-file shelter of 0: a
  // pressure of 20 is clamped to 15, then remapped to 10.
  board b = position("rnb1kbnr/8/8/8/8/8/8/R2QK2R w - - 0 1");
  pawn_record r = pawn_record_of(b);
  for (int i = 0; i < 8; ++i) r.shelter[i] = 0;
  b.king_attack[BLACK] = 0;
  b.king_attack[WHITE] = 20;
  const int twenty = king_safety_term(b, r);
  b.king_attack[WHITE] = 0;
  EXPECT_EQ(twenty - king_safety_term(b, r), -danger[0][10]);
}

TEST_F(eval_king, ShelterChoiceForUncastledKings) {
  board b = position("4k3/8/8/8/8/8/8/4K3 w KQkq - 0 1");
  pawn_record r{};
  r.shelter[SHELTER_KINGSIDE] = 4;
  r.shelter[SHELTER_QUEENSIDE] = 7;
  r.shelter[SHELTER_E] = 9;
  r.shelter[SHELTER_D] = 1;
  EXPECT_EQ(king_shelter(b, r, WHITE), 4);  // both rights: min(e, g, b)
  b.castle = WHITE_SHORT;
  EXPECT_EQ(king_shelter(b, r, WHITE), 4);  // short only: min(e, g)
  b.castle = WHITE_LONG;
  EXPECT_EQ(king_shelter(b, r, WHITE), 7);  // long only: min(e, b)
  b.castle = 0;
  EXPECT_EQ(king_shelter(b, r, WHITE), 7);  // none: min(e, b)
  r.shelter[SHELTER_QUEENSIDE] = 1;
  EXPECT_EQ(king_shelter(b, r, WHITE), 3);  // at least 3
}

TEST_F(eval_king, ShelterChoiceForCastledKings) {
  pawn_record r{};
  r.shelter[4 + SHELTER_KINGSIDE] = 2;
  r.shelter[4 + SHELTER_QUEENSIDE] = 6;
  r.shelter[4 + SHELTER_E] = 9;
  r.shelter[4 + SHELTER_D] = 11;
  const char* fens[] = {"6k1/8/8/8/8/8/8/4K3 w - - 0 1", "4k3/8/8/8/8/8/8/4K3 w - - 0 1",
                        "3k4/8/8/8/8/8/8/4K3 w - - 0 1", "1k6/8/8/8/8/8/8/4K3 w - - 0 1"};
  const int expected[] = {2, 9, 11, 6};  // g: kingside, e, d, b: queenside
  for (int i = 0; i < 4; ++i) {
    board b = position(fens[i]);
    ASSERT_EQ(b.castled[BLACK], 1);
    EXPECT_EQ(king_shelter(b, r, BLACK), expected[i]) << fens[i];
  }
}

TEST_F(eval_king, EndgameKingPlacement) {
  // Phase 2; no queens, so the shelter parts use remapped values. The
  // placement part is checked against the tables by hand.
  struct Case {
    const char* fen;
    int placement;
  };
  const Case cases[] = {
      // Pawns on both wings: White e1 (own rank 1, e) -20, Black e5 (its
      // own rank 4, e) 40.
      {"8/8/8/4k3/8/8/PP4PP/4K3 w - - 0 1", -20 - 40},
      // Pawns only on files e-h: White e1 -20, Black a5 (own rank 4, a) -60.
      {"8/8/8/k7/8/8/6PP/4K3 w - - 0 1", -20 + 60},
      // Pawns only on a-d: White e1 -20, Black e5 20.
      {"8/8/8/4k3/8/8/PP6/4K3 w - - 0 1", -20 - 20},
      // No pawns at all: the same table. White d4 (own rank 4, d) 40,
      // Black h8 (own rank 1, h) -60.
      {"7k/8/8/8/3K4/8/8/8 w - - 0 1", 40 + 60},
  };
  for (const Case& c : cases) {
    board b = position(c.fen);
    ASSERT_EQ(b.phase, 2);
    const pawn_record r = pawn_record_of(b);
    b.king_attack[0] = b.king_attack[1] = 0;
    const int sw = queenless_remap[king_shelter(b, r, WHITE)];
    const int sb = queenless_remap[king_shelter(b, r, BLACK)];
    EXPECT_EQ(king_safety_term(b, r), c.placement - danger[sw][0] + danger[sb][0]) << c.fen;
  }
}

// ---- Castling terms

TEST_F(eval_king, CastlingTermsLookAtTheOtherColoursPawns) {
  // Black pawns d5 and c7, none on e5, a Black knight on c6: White's term
  // starts at -12, then -13 for the uncastled king: -25. Black's term is
  // +13 only.
  board b = position("r1bqkbnr/ppp1pppp/2n5/3p4/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
  pawn_record r = pawn_record_of(b);
  EXPECT_EQ(castling_term(b, r, WHITE), -25);
  EXPECT_EQ(castling_term(b, r, BLACK), 13);
  // White pawns d4 and c2, none on e4, a White knight on c3: Black's term
  // starts at +12.
  board w = position("rnbqkbnr/pppppppp/8/8/3P4/2N5/PPP1PPPP/R1BQKBNR b KQkq - 0 1");
  r = pawn_record_of(w);
  EXPECT_EQ(castling_term(w, r, BLACK), 25);
  EXPECT_EQ(castling_term(w, r, WHITE), -13);
  // A bishop on c6 counts as well; a pawn on e5 cancels it.
  board bishop = position("r2qkbnr/ppp1pppp/2b5/3p4/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
  EXPECT_EQ(castling_term(bishop, pawn_record_of(bishop), WHITE), -25);
  board e5 = position("r1bqkbnr/ppp2ppp/2n5/3pp3/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
  EXPECT_EQ(castling_term(e5, pawn_record_of(e5), WHITE), -13);
}

TEST_F(eval_king, CastlingTermInTheEndgameIsOnlyTheStructureTest) {
  board b = position("4k3/2p5/2n5/3p4/8/8/8/4K3 w K - 0 1");
  ASSERT_EQ(b.phase, 2);
  EXPECT_EQ(castling_term(b, pawn_record_of(b), WHITE), -12);
  board plain = position("4k3/8/8/8/8/8/8/4K3 w K - 0 1");
  EXPECT_EQ(castling_term(plain, pawn_record_of(plain), WHITE), 0);
}

TEST_F(eval_king, CastledKings) {
  // Both castled short behind intact pawns (kingside shelter 0): White
  // 5 - 0 = 5; Black adds its kingside shelter - 5: -5.
  board b = position("rr1q2k1/5ppp/8/8/8/8/5PPP/RR1Q2K1 w - - 0 1");
  const pawn_record r = pawn_record_of(b);
  EXPECT_EQ(castling_term(b, r, WHITE), 5);
  EXPECT_EQ(castling_term(b, r, BLACK), -5);
  // Castled long (king c1, Black king c8): minus / plus the queenside
  // shelter. Files a, b, c without pawns: 6 + 5 + 4 = 15.
  board q = position("2kr3r/5ppp/3q4/8/8/3Q4/5PPP/2KR3R w - - 0 1");
  ASSERT_EQ(q.phase, 1);
  const pawn_record rq = pawn_record_of(q);
  ASSERT_EQ(shelter_of(rq, WHITE, SHELTER_QUEENSIDE), 15);
  EXPECT_EQ(castling_term(q, rq, WHITE), -15);
  EXPECT_EQ(castling_term(q, rq, BLACK), 15);
}

TEST_F(eval_king, UncastledWithoutRightsInTheOpening) {
  board b = position("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w - - 0 1");
  ASSERT_EQ(b.phase, 0);
  b.castled[WHITE] = b.castled[BLACK] = 0;  // kings that moved without castling
  const pawn_record r = pawn_record_of(b);
  EXPECT_EQ(castling_term(b, r, WHITE), -26);
  EXPECT_EQ(castling_term(b, r, BLACK), 26);
  b.castle = WHITE_LONG | BLACK_SHORT;
  EXPECT_EQ(castling_term(b, r, WHITE), -13);
  EXPECT_EQ(castling_term(b, r, BLACK), 13);
}

TEST_F(eval_king, RootRightsDecideWhetherTheCastlingTermsCount) {
  // Black castled, White not: only White's term differs from 0 here.
  const char* fen = "r2q1rk1/pppppppp/8/8/8/8/PPPPPPPP/R2QK2R w KQ - 0 1";
  board b = position(fen);
  const int white_term = castling_term(b, pawn_record_of(b), WHITE);
  ASSERT_NE(white_term, 0);
  orvo::test::set_root_castle(0);
  const int without = full_eval(b);
  orvo::test::set_root_castle(WHITE_SHORT);
  EXPECT_EQ(full_eval(b) - without, white_term);
  orvo::test::set_root_castle(BLACK_LONG);
  EXPECT_EQ(full_eval(b) - without, castling_term(b, pawn_record_of(b), BLACK));
  orvo::test::set_root_castle(0);
}

// The pawn-structure term, its record and its cache.
#include <gtest/gtest.h>

#include "position/makemove.h"
#include "position/movegen.h"
#include "tests/eval/eval_test_util.h"

using namespace orvo;
using namespace orvo::eval;
using orvo::test::pawn_record_of;
using orvo::test::position;

namespace {

int pawn_score(const char* fen, pawn_detail* detail = nullptr) {
  board b = position(fen);
  pawn_record r{};
  return compute_pawn_structure(b.white[BB_PAWN], b.black[BB_PAWN], b.material[WHITE],
                                b.material[BLACK], r, detail);
}

}  // namespace

class eval_pawns : public ::testing::Test {
 protected:
  void SetUp() override { test::fresh_eval(); }
};

TEST_F(eval_pawns, StartPositionScoresZero) {
  board b = position(start_fen);
  EXPECT_EQ(test::pawn_term(b), 0);
}

TEST_F(eval_pawns, StartPositionEveryPawnBackwardEveryPawnButTheHPawnsADuo) {
  // Per side: square values -10 -10 (d and e pawns) = -20, eight backward
  // pawns at -13 (an enemy pawn on every file, so no extra 6) = -104, seven
  // duos at 2 on the second rank = 14: -110, the same for both colours.
  pawn_detail d{};
  EXPECT_EQ(pawn_score(start_fen, &d), 0);
  EXPECT_EQ(d.score[WHITE], -110);
  EXPECT_EQ(d.score[BLACK], -110);
  EXPECT_EQ(d.isolated[WHITE] | d.isolated[BLACK] | d.weak[WHITE] | d.weak[BLACK], 0u);
}

TEST_F(eval_pawns, LoneWhitePawnOnD2) {
  // Square table -10, isolated -8 and half of it -4 (no Black pawn ahead),
  // passed trunc((4075 - 0) / 4075 * 2) = 2: -20.
  board b = position("4k3/8/8/8/8/8/3P4/4K3 w - - 0 1");
  const pawn_record* current;
  EXPECT_EQ(test::pawn_term(b, &current), -20);
  EXPECT_EQ(current->white_passed, 1ull << D2);
}

TEST_F(eval_pawns, PassedBonusShrinksWithTheEnemysMaterial) {
  // d5 pawn (row 3, bonus 95), isolated with no Black pawn ahead: square
  // value 16 (its own rank 5), isolated -8 - 4; Black has a queen (975):
  // trunc(3100 / 4075 * 95) = trunc(72.27) = 72.
  EXPECT_EQ(pawn_score("3qk3/8/8/3P4/8/8/8/4K3 w - - 0 1"), 16 - 12 + 72);
  // Beyond one side's full material the factor is negative and truncates
  // toward zero: (4075 - 5000) * 95 / 4075 = -21.56 -> -21.
  pawn_record r{};
  EXPECT_EQ(compute_pawn_structure(1ull << D5, 0, 0, 5000, r), 16 - 12 - 21);
}

TEST_F(eval_pawns, IsolatedWithAnEnemyPawnAhead) {
  // White d4: square 13, isolated -8, a Black pawn ahead on d6: no half.
  // Black d6: square 10, isolated -8, the White pawn below: no half.
  // Neither is passed. 5 - 2 = 3.
  pawn_detail d{};
  EXPECT_EQ(pawn_score("4k3/8/3p4/8/3P4/8/8/4K3 w - - 0 1", &d), 3);
  EXPECT_EQ(d.score[WHITE], 5);
  EXPECT_EQ(d.score[BLACK], 2);
  // Outposts: the squares in front of isolated pawns.
  board b = position("4k3/8/3p4/8/3P4/8/8/4K3 w - - 0 1");
  const pawn_record r = pawn_record_of(b);
  EXPECT_EQ(r.white_outposts, 1ull << D5);
  EXPECT_EQ(r.black_outposts, 1ull << D5);
}

TEST_F(eval_pawns, CandidateBonusForTheRearDoubledPawn) {
  // White c2, d2, d4; nothing for Black.
  //  d4: square 13, doubled -3, passed 24 (row 4)           = 34
  //  c2: square 0, backward -13 -6, duo 2, passed 2          = -15
  //  d2: square -10, backward -13 -6, doubled -3, candidate 9 = -23
  // (d2 is not passed, d4 stands ahead of it; its walk reaches d3 and stops
  // before d4 with no attacker, and d3's passed mask is free.)
  pawn_detail d{};
  EXPECT_EQ(pawn_score("4k3/8/8/8/3P4/8/2PP4/4K3 w - - 0 1", &d), -4);
  // The mirror for Black.
  EXPECT_EQ(pawn_score("4k3/2pp4/8/3p4/8/8/8/4K3 w - - 0 1"), 4);
}

TEST_F(eval_pawns, SafeAdvanceWalkStopsBeforeA7AndH2) {
  pawn_detail d{};
  pawn_score("4k3/P7/8/8/8/8/8/4K3 w - - 0 1", &d);
  EXPECT_EQ(d.safe[WHITE], 0u);  // a7 adds nothing, not even itself
  pawn_score("4k3/1P6/8/8/8/8/8/4K3 w - - 0 1", &d);
  EXPECT_EQ(d.safe[WHITE], 1ull << B7);  // b7 adds its own square
  pawn_score("4k3/8/8/8/8/8/7p/4K3 w - - 0 1", &d);
  EXPECT_EQ(d.safe[BLACK], 0u);  // h2 adds nothing
  pawn_score("4k3/8/8/8/8/8/p7/4K3 w - - 0 1", &d);
  EXPECT_EQ(d.safe[BLACK], 1ull << A2);  // a2 adds its own square
  // A pawn on a6 walks to a6 only: a7 stays out.
  pawn_score("4k3/8/P7/8/8/8/8/4K3 w - - 0 1", &d);
  EXPECT_EQ(d.safe[WHITE], 1ull << A6);
}

TEST_F(eval_pawns, SafeAdvanceStopsWhenAttackersOutnumberDefenders) {
  // White e2 alone against a Black pawn on d5 (attacks e4): the walk adds
  // e2 and e3, then finds e4 attacked once and defended by none.
  pawn_detail d{};
  pawn_score("4k3/8/8/3p4/8/8/4P3/4K3 w - - 0 1", &d);
  EXPECT_EQ(d.safe[WHITE], (1ull << E2) | (1ull << E3));
  // A White pawn on f3 defends e4: one against one, the walk goes on.
  pawn_score("4k3/8/8/3p4/8/5P2/4P3/4K3 w - - 0 1", &d);
  EXPECT_TRUE(d.safe[WHITE] & (1ull << E4));
}

TEST_F(eval_pawns, FileSets) {
  board b = position("4k3/pp6/8/8/8/8/1P5P/4K3 w - - 0 1");
  const pawn_record r = pawn_record_of(b);
  EXPECT_EQ(r.open_files, 0b01111100);      // c..g
  EXPECT_EQ(r.no_white_files, 0b01111101);  // a, c..g
  EXPECT_EQ(r.no_black_files, 0b11111100);  // c..h
}

TEST_F(eval_pawns, ShelterEmptySetAddendIsOne) {
  // White f2 and h2, a Black pawn on g7 only: f: missing/2 = 1 (own pawn on
  // rank 2); g: enemy pawn, no own pawn: the empty-set addend 1 plus the
  // missing-pawn value 4; h: 4/2 = 2. 1 + 5 + 2 = 8.
  board b = position("4k3/6p1/8/8/8/8/5P1P/4K3 w - - 0 1");
  EXPECT_EQ(shelter_of(pawn_record_of(b), WHITE, SHELTER_KINGSIDE), 8);
  // The mirror for Black.
  board m = position("4k3/5p1p/8/8/8/8/6P1/4K3 w - - 0 1");
  EXPECT_EQ(shelter_of(pawn_record_of(m), BLACK, SHELTER_KINGSIDE), 8);
}

TEST_F(eval_pawns, ShelterAdvancedPawnAddend) {
  // g3 against g7: (row 5 - 2) & 3 = 3, no pawn on g2: +1, one on g3: 4.
  board b = position("4k3/5ppp/8/8/8/6P1/5P1P/4K3 w - - 0 1");
  EXPECT_EQ(shelter_of(pawn_record_of(b), WHITE, SHELTER_KINGSIDE), 4);
  // g4: (4 - 2) & 3 = 2, +1 +1: 4. g5: 1 + 2 = 3. g6: 0 + 2 = 2.
  board g4 = position("4k3/5ppp/8/8/6P1/8/5P1P/4K3 w - - 0 1");
  EXPECT_EQ(shelter_of(pawn_record_of(g4), WHITE, SHELTER_KINGSIDE), 4);
  board g5 = position("4k3/5ppp/8/6P1/8/8/5P1P/4K3 w - - 0 1");
  EXPECT_EQ(shelter_of(pawn_record_of(g5), WHITE, SHELTER_KINGSIDE), 3);
  // Black g6 against g2: 5 - row 2 = 3, +1: 4.
  board bg6 = position("4k3/5p1p/6p1/8/8/8/5PPP/4K3 w - - 0 1");
  EXPECT_EQ(shelter_of(pawn_record_of(bg6), BLACK, SHELTER_KINGSIDE), 4);
}

TEST_F(eval_pawns, ShelterOfBareFiles) {
  // No pawns: g 4 + 5 + 6, b 6 + 5 + 4, e and d 4 + 4 + 4.
  for (int c : {WHITE, BLACK}) {
    EXPECT_EQ(shelter_of(empty_pawn_record, c, SHELTER_KINGSIDE), 15);
    EXPECT_EQ(shelter_of(empty_pawn_record, c, SHELTER_QUEENSIDE), 15);
    EXPECT_EQ(shelter_of(empty_pawn_record, c, SHELTER_E), 12);
    EXPECT_EQ(shelter_of(empty_pawn_record, c, SHELTER_D), 12);
  }
}

TEST_F(eval_pawns, SheltersNeverExceedFifteen) {
  // Every position two plies from a few busy ones, and some odd pawn sets.
  const char* fens[] = {
      start_fen,
      "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
      "4k3/pppppppp/8/8/8/8/8/4K3 w - - 0 1",
      "4k3/8/8/8/8/8/PPPPPPPP/4K3 w - - 0 1",
      "4k3/PPPPPPPP/pppppppp/8/8/PPPPPPPP/pppppppp/4K3 w - - 0 1",
  };
  for (const char* f : fens) {
    board b = position(f);
    MoveList l1, l2;
    generate_all(b, l1);
    for (int i = -1; i < l1.count; ++i) {
      undo u1;
      if (i >= 0 && !make(b, l1.moves[i], u1)) continue;
      const pawn_record r = pawn_record_of(b);
      for (int k = 0; k < 8; ++k) EXPECT_LE(r.shelter[k], 15) << f;
      generate_all(b, l2);
      for (int j = 0; j < l2.count; ++j) {
        undo u2;
        if (!make(b, l2.moves[j], u2)) continue;
        const pawn_record r2 = pawn_record_of(b);
        for (int k = 0; k < 8; ++k) EXPECT_LE(r2.shelter[k], 15) << f;
        unmake(b, u2);
      }
      if (i >= 0) unmake(b, u1);
    }
  }
}

TEST_F(eval_pawns, StoredScoreLeavesOutThePassedBonus) {
  // Eight White passers on the seventh rank: the record's score is the
  // structure alone (8 x 40 square value, seven duos of 10, and each pawn
  // backward on a file without Black pawns, -19: nothing behind them is in
  // the safe set, which holds only b7 to h7 themselves), and the passed
  // bonus (234 each against a bare king, 4075 - 0 of 4075) is added from the
  // passed set. An absurd enemy material makes that bonus huge; the call
  // returns it whole.
  pawn_record r{};
  const int s = compute_pawn_structure(0x000000000000FF00ull, 0, 0, 0, r);
  EXPECT_EQ(r.score, 8 * 40 + 7 * 10 - 8 * 19);
  EXPECT_EQ(r.white_passed, 0x000000000000FF00ull);
  EXPECT_EQ(s, r.score + 8 * 234);
  EXPECT_EQ(passed_pawn_bonus(r, 0, 0), 8 * 234);
  const int absurd = compute_pawn_structure(0x000000000000FF00ull, 0, 0, 1000000, r);
  EXPECT_LT(absurd, -32768);
  EXPECT_EQ(r.score, 8 * 40 + 7 * 10 - 8 * 19);
  EXPECT_EQ(absurd, r.score + passed_pawn_bonus(r, 0, 1000000));
  EXPECT_EQ(passed_pawn_bonus(r, 0, 1000000), 8 * ((4075 - 1000000) * 234 / 4075));
}

TEST_F(eval_pawns, CacheHitCopiesTheRecord) {
  board b = position("4k3/8/3p4/8/3P4/8/8/4K3 w - - 0 1");
  test::evaluator().clear_pawn_tables();
  const int first = test::pawn_term(b);
  const pawn_record& entry = test::evaluator().pawn_table(b.side)[b.pawn_key & PAWN_TABLE_MASK];
  EXPECT_EQ(entry.white_pawns, b.white[BB_PAWN]);
  EXPECT_EQ(entry.black_pawns, b.black[BB_PAWN]);
  EXPECT_EQ(entry.score, first);  // no passers
  const pawn_record* current = nullptr;
  EXPECT_EQ(test::pawn_term(b, &current), first);
  EXPECT_EQ(current, &entry);  // the record is read where it lies
  EXPECT_EQ(current->white_pawns, b.white[BB_PAWN]);
  EXPECT_EQ(current->white_outposts, 1ull << D5);
  // The other side to move has a table of its own.
  board other = b;
  other.side = BLACK, other.xside = WHITE;
  EXPECT_EQ(test::evaluator().pawn_table(BLACK)[b.pawn_key & PAWN_TABLE_MASK].white_pawns, 0u);
  EXPECT_EQ(test::pawn_term(other), first);
  EXPECT_EQ(test::evaluator().pawn_table(BLACK)[b.pawn_key & PAWN_TABLE_MASK].white_pawns, b.white[BB_PAWN]);
}

TEST_F(eval_pawns, RecordServesEveryMaterialWithTheSamePawns) {
  // A lone White pawn on d2 (the hand-worked case: -10 square, -8 isolated,
  // -4 half of it, +2 passed against a bare king). With a Black queen the
  // passed bonus becomes trunc(3100 / 4075 x 2) = 1, whichever of the two
  // positions filled the record first.
  board bare = position("4k3/8/8/8/8/8/3P4/4K3 w - - 0 1");
  board queen = position("3qk3/8/8/8/8/8/3P4/4K3 w - - 0 1");
  ASSERT_EQ(bare.pawn_key, queen.pawn_key);
  test::evaluator().clear_pawn_tables();
  EXPECT_EQ(test::pawn_term(bare), -20);
  EXPECT_EQ(test::pawn_term(queen), -21);
  test::evaluator().clear_pawn_tables();
  EXPECT_EQ(test::pawn_term(queen), -21);
  EXPECT_EQ(test::pawn_term(bare), -20);
}

TEST_F(eval_pawns, RecordOfOtherPawnsInTheSlotIsNotRead) {
  // A record planted in the slot of this pawn key, for other pawns, is
  // recomputed rather than read, even if it were to carry the same key.
  board b = position("4k3/8/8/8/8/8/3P4/4K3 w - - 0 1");
  test::evaluator().clear_pawn_tables();
  pawn_record& slot = test::evaluator().pawn_table(b.side)[b.pawn_key & PAWN_TABLE_MASK];
  compute_pawn_structure(0x0000000000FF0000ull, 0, 0, 0, slot);
  EXPECT_EQ(test::pawn_term(b), -20);
  EXPECT_EQ(slot.white_pawns, b.white[BB_PAWN]);
}

TEST_F(eval_pawns, NoPawnsGiveZeroAndTheEmptyRecord) {
  board with = position("4k3/8/8/p7/8/8/7P/4K3 w - - 0 1");
  const pawn_record* current;
  test::pawn_term(with, &current);
  ASSERT_NE(current->white_passed | current->black_passed, 0u);
  board none = position("4k3/8/8/8/8/8/8/3RK3 w - - 0 1");
  EXPECT_EQ(test::pawn_term(none, &current), 0);
  EXPECT_EQ(current->white_passed | current->black_passed, 0u);
  EXPECT_EQ(current->white_outposts | current->black_outposts, 0u);
  EXPECT_EQ(current->open_files, 0xFF);
}

TEST_F(eval_pawns, PawnlessPositionsScoreTheSameWhateverCameBefore) {
  // Few pieces and no pawns (both sides at most a minor piece) go through
  // the pawn lookup; the result must not depend on the previous position.
  const char* before[] = {"4k3/8/8/3p4/8/8/3P4/4K3 w - - 0 1", start_fen,
                          "4k3/8/8/8/8/8/8/4K3 w - - 0 1"};
  for (const char* f : before) {
    board prev = position(f);
    test::full_eval(prev);
    board b = position("4kb2/8/8/8/8/8/8/4KN2 w - - 0 1");
    EXPECT_EQ(test::full_eval(b), 0) << f;
  }
}

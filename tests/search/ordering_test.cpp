#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "position/makemove.h"
#include "position/movegen.h"
#include "search/ordering.h"
#include "tests/search/search_fixture.h"
#include "tests/support/positions.h"

using namespace orvo;
using orvo::test::from_fen;
using orvo::test::sq;
using Picker = orvo::test::SearchTest;

namespace {

Move find(const board& b, const char* from, const char* to, int promo = -1) {
  return test::find_move(b, from, to, promo);
}

int capture_score_of(const board& b, Move m) {
  MoveList l;
  l.count = 1;
  l.moves[0] = m;
  score_captures(b, l);
  return l.scores[0];
}

std::vector<Move> all_picked(Ordering& o, board& b, Move hash_move, bool in_check) {
  MovePicker p;
  o.init_picker(b, p, hash_move, in_check, 3);
  std::vector<Move> out;
  while (Move m = o.next_move(b, p)) out.push_back(m);
  return out;
}

}  // namespace

TEST(See, PawnTakesUndefendedKnight) {
  board b = from_fen("4k3/8/8/3n4/4P3/8/8/4K3 w - - 0 1");
  EXPECT_EQ(see(b, sq("e4"), sq("d5")), 325);
}

TEST(See, QueenTakesPawnDefendedByPawn) {
  board b = from_fen("4k3/8/2p5/3p4/8/8/3Q4/4K3 w - - 0 1");
  EXPECT_EQ(see(b, sq("d2"), sq("d5")), -875);
}

TEST(See, XrayBehindTheFirstCapturer) {
  // Rook takes a pawn defended by a rook, with a second rook behind it.
  board b = from_fen("3rk3/8/8/3p4/8/8/3R4/3RK3 w - - 0 1");
  EXPECT_EQ(see(b, sq("d2"), sq("d5")), 100);
  b = from_fen("3rk3/8/8/3p4/8/8/3R4/4K3 w - - 0 1");
  EXPECT_EQ(see(b, sq("d2"), sq("d5")), -400);
}

TEST(CaptureScores, ByVictimAndAttacker) {
  board b = from_fen("4k3/8/8/3q4/4P3/8/8/4K3 w - - 0 1");
  EXPECT_EQ(capture_score_of(b, find(b, "e4", "d5")), 4029);  // PxQ
  b = from_fen("4k3/8/8/3p4/8/8/8/3QK3 w - - 0 1");
  EXPECT_EQ(capture_score_of(b, find(b, "d1", "d5")), 4001);  // QxP, undefended
  b = from_fen("4k3/8/2p5/3p4/8/8/8/3RK3 w - - 0 1");
  EXPECT_EQ(capture_score_of(b, find(b, "d1", "d5")), -28000);  // RxP defended by a pawn
}

TEST_F(Picker, LosingCaptureComesLast) {
  setup("4k3/8/2p5/3p4/8/8/4P3/3RK3 w - - 0 1");
  s->ordering.clear_killers();
  auto moves = all_picked(s->ordering, c->pos, 0, false);
  ASSERT_FALSE(moves.empty());
  EXPECT_EQ(moves.back(), find(c->pos, "d1", "d5"));
}

TEST_F(Picker, HashMoveEqualToAGoodCaptureComesOnce) {
  setup("4k3/8/8/3q4/4P3/8/8/4K3 w - - 0 1");
  s->ordering.clear_killers();
  const Move capture = find(c->pos, "e4", "d5");
  auto moves = all_picked(s->ordering, c->pos, capture, false);
  EXPECT_EQ(moves.front(), capture);
  EXPECT_EQ(std::count(moves.begin(), moves.end(), capture), 1);
}

TEST_F(Picker, QueenPromotionIsAGoodCapture) {
  setup("4k3/1P6/8/8/8/8/8/4K3 w - - 0 1");
  s->ordering.clear_killers();
  auto moves = all_picked(s->ordering, c->pos, 0, false);
  ASSERT_FALSE(moves.empty());
  EXPECT_EQ(moves.front(), find(c->pos, "b7", "b8", QUEEN));
}

TEST_F(Picker, InCheckEveryMoveLegalOrNotThenZero) {
  setup("4k3/8/8/8/8/8/3PP3/r3K3 w - - 0 1");
  s->ordering.clear_killers();
  MoveList all;
  generate_all(c->pos, all);
  MovePicker p;
  const bool single = s->ordering.init_picker(c->pos, p, 0, true, 2);
  std::vector<Move> moves;
  while (Move m = s->ordering.next_move(c->pos, p)) moves.push_back(m);
  EXPECT_EQ(int(moves.size()), all.count);
  EXPECT_EQ(s->ordering.next_move(c->pos, p), 0u);
  (void)single;
}

TEST_F(Picker, SingleReplyInCheck) {
  setup("4k3/8/8/8/8/8/r7/1r2K3 w - - 0 1");  // Kf1? no: only e1-f... check the count
  const int legal = test::count_legal(c->pos);
  MovePicker p;
  s->ordering.clear_killers();
  EXPECT_EQ(s->ordering.init_picker(c->pos, p, 0, true, 1), legal == 1);
}

TEST(PseudoLegal, Rules) {
  board b = from_fen("r3k2r/8/8/8/3p4/8/4P3/R3K2R w KQkq - 0 1");
  EXPECT_TRUE(is_pseudo_legal(b, encode_move(sq("e2"), sq("e4"), 0, 0, PAWN)));
  EXPECT_FALSE(is_pseudo_legal(b, encode_move(sq("e2"), sq("e4"), 0, 0, KNIGHT)));  // wrong piece
  EXPECT_TRUE(is_pseudo_legal(b, encode_move(sq("a1"), sq("a8"), ROOK, 0, ROOK)));
  EXPECT_FALSE(is_pseudo_legal(b, encode_move(sq("a1"), sq("a8"), QUEEN, 0, ROOK)));  // wrong victim
  EXPECT_TRUE(is_pseudo_legal(b, encode_move(sq("e1"), sq("g1"), 0, 0, KING)));
  EXPECT_FALSE(is_pseudo_legal(b, encode_move(sq("e1"), sq("e3"), 0, 0, KING)));
  EXPECT_FALSE(is_pseudo_legal(b, encode_move(sq("a1"), sq("b2"), 0, 0, ROOK)));  // not a rook line
  EXPECT_FALSE(is_pseudo_legal(b, 0));
  b = from_fen("4k3/8/8/8/3pP3/8/8/4K3 b - e3 0 1");
  EXPECT_TRUE(is_pseudo_legal(b, encode_move(sq("d4"), sq("e3"), PAWN, 0, PAWN)));
  b = from_fen("4k3/8/8/8/4n3/8/4P3/4K3 w - - 0 1");
  EXPECT_FALSE(is_pseudo_legal(b, encode_move(sq("e2"), sq("e4"), 0, 0, PAWN)));  // blocked
  b = from_fen("4k3/8/8/8/8/4n3/4P3/4K3 w - - 0 1");
  EXPECT_FALSE(is_pseudo_legal(b, encode_move(sq("e2"), sq("e4"), 0, 0, PAWN)));  // square between
}

// A pawn move word that another line of the search left as a killer must
// fit the pawn on the square now: forward for its side, one square (or two
// from its start), diagonally forward to capture. Black's d3-d2 from another
// line is no move for a White pawn on d3.
TEST(PseudoLegal, PawnsMoveOnlyForward) {
  board b = from_fen("4k3/8/8/2p5/8/3P4/8/4K3 w - - 0 1");
  EXPECT_TRUE(is_pseudo_legal(b, encode_move(sq("d3"), sq("d4"), 0, 0, PAWN)));
  EXPECT_FALSE(is_pseudo_legal(b, encode_move(sq("d3"), sq("d2"), 0, 0, PAWN)));  // backwards
  EXPECT_FALSE(is_pseudo_legal(b, encode_move(sq("d3"), sq("e3"), 0, 0, PAWN)));  // sideways
  EXPECT_FALSE(is_pseudo_legal(b, encode_move(sq("d3"), sq("d5"), 0, 0, PAWN)));  // two, not from d2
  EXPECT_FALSE(is_pseudo_legal(b, encode_move(sq("d3"), sq("d1"), 0, 0, PAWN)));  // two backwards
  b = from_fen("4k3/8/8/8/2p5/3P4/8/4K3 w - - 0 1");
  EXPECT_TRUE(is_pseudo_legal(b, encode_move(sq("d3"), sq("c4"), PAWN, 0, PAWN)));
  b = from_fen("4k3/8/8/8/8/3P4/2p5/4K3 w - - 0 1");
  EXPECT_FALSE(is_pseudo_legal(b, encode_move(sq("d3"), sq("c2"), PAWN, 0, PAWN)));  // captures back
  b = from_fen("4k3/8/8/8/8/3p4/8/4K3 b - - 0 1");
  EXPECT_TRUE(is_pseudo_legal(b, encode_move(sq("d3"), sq("d2"), 0, 0, PAWN)));
  EXPECT_FALSE(is_pseudo_legal(b, encode_move(sq("d3"), sq("d4"), 0, 0, PAWN)));
  b = from_fen("4k3/3p4/8/8/8/8/8/4K3 b - - 0 1");
  EXPECT_TRUE(is_pseudo_legal(b, encode_move(sq("d7"), sq("d5"), 0, 0, PAWN)));
  // A pawn on the edge does not capture across the board.
  b = from_fen("4k3/8/8/8/P6p/8/8/4K3 w - - 0 1");
  EXPECT_FALSE(is_pseudo_legal(b, encode_move(sq("a4"), sq("h4") - 8, 0, 0, PAWN)));
}

TEST(Ordering, SortIsStableAndDescending) {
  MoveList l;
  l.count = 5;
  const int scores[] = {3, 7, 3, 9, 7};
  for (int i = 0; i < 5; ++i) {
    l.moves[i] = Move(i + 1);
    l.scores[i] = scores[i];
  }
  sort_by_score(l);
  const Move expected[] = {4, 2, 5, 1, 3};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(l.moves[i], expected[i]);
  l.count = 3;
  l.moves[0] = 1, l.scores[0] = 1;
  l.moves[1] = 2, l.scores[1] = 5;
  l.moves[2] = 3, l.scores[2] = 5;
  select_best(l, 0);
  EXPECT_EQ(l.moves[0], 2u);  // the first of equal maxima
}

TEST(Ordering, EvasionScores) {
  board b = from_fen("4k3/8/8/8/8/8/3P4/r3K2n w - - 0 1");
  MoveList l;
  generate_all(b, l);
  const int legal = score_evasions(b, l);
  int counted = 0;
  for (int i = 0; i < l.count; ++i) {
    const Move m = l.moves[i];
    if (l.scores[i] == -50000) continue;
    ++counted;
    if (!move_is_quiet(m))
      EXPECT_EQ(l.scores[i], 50000);
    else if (move_piece(m) == PAWN)
      EXPECT_EQ(l.scores[i], 25000);
    else
      EXPECT_EQ(l.scores[i], 0);
  }
  EXPECT_EQ(counted, legal);
}

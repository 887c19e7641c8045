#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "position/fen.h"
#include "position/makemove.h"
#include "position/movegen.h"
#include "tests/support/positions.h"

using namespace orvo;
using orvo::test::from_fen;
using orvo::test::sq;

namespace {

Move mv(const char* from, const char* to, int piece, int cap = 0, int promo = 0) {
  return encode_move(sq(from), sq(to), cap, promo, piece);
}

std::vector<Move> moves_of(const MoveList& l, int begin = 0) {
  return std::vector<Move>(l.moves + begin, l.moves + l.count);
}

}  // namespace

TEST(Movegen, StartPositionOrder) {
  board b = from_fen(start_fen);
  MoveList l;
  EXPECT_EQ(generate_captures(b, l), 0);
  EXPECT_EQ(generate_quiets(b, l), 20);
  std::vector<Move> expected = {
      mv("b1", "a3", KNIGHT), mv("b1", "c3", KNIGHT), mv("g1", "f3", KNIGHT), mv("g1", "h3", KNIGHT)};
  for (const char* f : {"a", "b", "c", "d", "e", "f", "g", "h"})
    expected.push_back(mv((std::string(f) + "2").c_str(), (std::string(f) + "3").c_str(), PAWN));
  for (const char* f : {"a", "b", "c", "d", "e", "f", "g", "h"})
    expected.push_back(mv((std::string(f) + "2").c_str(), (std::string(f) + "4").c_str(), PAWN));
  EXPECT_EQ(moves_of(l), expected);
}

TEST(Movegen, BlackStartOrder) {
  board b = from_fen("rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3 0 1");
  MoveList l;
  generate_captures(b, l);
  EXPECT_EQ(l.count, 0);
  generate_quiets(b, l);
  ASSERT_EQ(l.count, 20);
  EXPECT_EQ(l.moves[0], mv("b8", "a6", KNIGHT));
  EXPECT_EQ(l.moves[4], mv("a7", "a6", PAWN));
  EXPECT_EQ(l.moves[19], mv("h7", "h5", PAWN));
}

TEST(Movegen, PromotionOrder) {
  board b = from_fen("3rk3/4P3/8/8/8/8/8/4K3 w - - 0 1");
  MoveList l;
  generate_captures(b, l);
  std::vector<Move> caps = {mv("e7", "e8", PAWN, 0, QUEEN), mv("e7", "d8", PAWN, ROOK, QUEEN),
                            mv("e7", "d8", PAWN, ROOK, ROOK), mv("e7", "d8", PAWN, ROOK, BISHOP),
                            mv("e7", "d8", PAWN, ROOK, KNIGHT)};
  // e8 is occupied by the Black king here, so set up without it.
  b = from_fen("3r4/4P3/8/8/8/8/8/k3K3 w - - 0 1");
  generate_captures(b, l);
  EXPECT_EQ(moves_of(l), caps);
  int n = l.count;
  generate_quiets(b, l);
  // The king moves come before the pawn pushes; find the three under-promotions.
  std::vector<Move> pushes;
  for (int i = n; i < l.count; ++i)
    if (move_piece(l.moves[i]) == PAWN) pushes.push_back(l.moves[i]);
  EXPECT_EQ(pushes, (std::vector<Move>{mv("e7", "e8", PAWN, 0, ROOK), mv("e7", "e8", PAWN, 0, BISHOP),
                                       mv("e7", "e8", PAWN, 0, KNIGHT)}));
}

TEST(Movegen, CastlingIsGeneratedWithoutTheRight) {
  board b = from_fen("4k3/8/8/8/8/8/8/4K2R w - - 0 1");
  MoveList l;
  generate_all(b, l);
  Move castle = mv("e1", "g1", KING);
  EXPECT_NE(std::find(l.moves, l.moves + l.count, castle), l.moves + l.count);
  undo u;
  board before = b;
  EXPECT_FALSE(make(b, castle, u));
  EXPECT_TRUE(b == before);
}

TEST(Movegen, CastlingComesFirstKingSideThenQueenSide) {
  board b = from_fen("r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1");
  MoveList l;
  const int n = generate_captures(b, l);  // a1xa8 and h1xh8
  EXPECT_EQ(n, 2);
  generate_quiets(b, l);
  ASSERT_GE(l.count, n + 2);
  EXPECT_EQ(l.moves[n], mv("e1", "g1", KING));
  EXPECT_EQ(l.moves[n + 1], mv("e1", "c1", KING));
}

TEST(Movegen, NeverCapturesTheKing) {
  board b = from_fen("4k3/4Q3/8/8/8/8/8/4K3 w - - 0 1");
  MoveList l;
  generate_all(b, l);
  for (int i = 0; i < l.count; ++i) EXPECT_NE(move_captured(l.moves[i]), KING);
}

TEST(Movegen, CaptureOrderByPieceKindThenDirection) {
  board b = from_fen("4k3/8/8/2p1p3/3P4/5N2/8/4K3 w - - 0 1");
  MoveList l;
  generate_captures(b, l);
  EXPECT_EQ(moves_of(l), (std::vector<Move>{mv("f3", "e5", KNIGHT, PAWN), mv("d4", "c5", PAWN, PAWN),
                                           mv("d4", "e5", PAWN, PAWN)}));
}

TEST(Movegen, EnPassantBeforeOrdinaryPawnCaptures) {
  board b = from_fen("4k3/8/8/2pPp3/8/8/8/4K3 w - c6 0 1");
  MoveList l;
  generate_captures(b, l);
  ASSERT_EQ(l.count, 1);
  EXPECT_EQ(l.moves[0], mv("d5", "c6", PAWN, PAWN));
  // Two capturers: the one capturing towards the a-file comes first.
  b = from_fen("4k3/8/8/1PpP4/8/8/8/4K3 w - c6 0 1");
  generate_captures(b, l);
  EXPECT_EQ(moves_of(l), (std::vector<Move>{mv("d5", "c6", PAWN, PAWN), mv("b5", "c6", PAWN, PAWN)}));
}

TEST(Movegen, PawnAttackIsDiagonalOnly) {
  board b = from_fen("4k3/8/8/8/4p3/8/8/4K3 w - - 0 1");
  EXPECT_FALSE(is_attacked(b, sq("e3"), BLACK));  // ahead of the pawn
  EXPECT_TRUE(is_attacked(b, sq("d3"), BLACK));
  EXPECT_TRUE(is_attacked(b, sq("f3"), BLACK));
  EXPECT_FALSE(is_attacked(b, sq("d3"), 2));  // no such colour
}

TEST(Movegen, AttackTestBySliders) {
  board b = from_fen("4k3/8/8/8/8/2b5/8/R3K3 w - - 0 1");
  EXPECT_TRUE(is_attacked(b, sq("e1"), BLACK));
  EXPECT_TRUE(is_attacked(b, sq("a8"), WHITE));
  EXPECT_TRUE(is_attacked(b, sq("d1"), WHITE));
  EXPECT_FALSE(is_attacked(b, sq("b2"), WHITE));
  EXPECT_TRUE(is_attacked(b, sq("a1"), BLACK));  // the bishop on c3 x-rays nothing: b2 is empty
}

TEST(Movegen, AttackersList) {
  board b = from_fen("4k3/8/8/8/8/5N2/8/1N2K3 w - - 0 1");
  int found[ATTACKERS_MAX];
  int n = list_attackers(b, KNIGHT, WHITE, sq("d2"), found);
  ASSERT_EQ(n, 2);
  EXPECT_EQ(found[0], sq("f3"));
  EXPECT_EQ(found[1], sq("b1"));
  EXPECT_EQ(list_attackers(b, PAWN, WHITE, sq("d2"), found), 0);
  EXPECT_EQ(list_attackers(b, 7, WHITE, sq("d2"), found), 0);
  EXPECT_EQ(list_attackers(b, KING, WHITE, sq("d2"), found), 1);
}

// A board set up from text can hold more pieces than a game ever has; these
// 29 queens have 260 moves. The list holds 256: the rest are left out, and
// nothing is written past the list (the fuzzer found the overrun).
TEST(Movegen, MoreMovesThanTheListHoldsAreLeftOut) {
  board b = from_fen("Q1QQQQQQ/Q6Q/3Q4/1Q4Q1/Q5Q1/Q5Q1/Q2QQ3/QQQ2QQQ w - - 0 1");
  MoveList l;
  l.count = -1;
  std::fill(std::begin(l.scores), std::end(l.scores), 12345);
  EXPECT_EQ(generate_captures(b, l), 0);
  EXPECT_EQ(generate_quiets(b, l), MAX_MOVES);
  EXPECT_EQ(l.count, MAX_MOVES);
  // The scores beside the moves are untouched.
  EXPECT_TRUE(std::all_of(std::begin(l.scores), std::end(l.scores), [](i32 s) { return s == 12345; }));
  std::vector<Move> moves = moves_of(l);
  std::sort(moves.begin(), moves.end());
  EXPECT_EQ(std::adjacent_find(moves.begin(), moves.end()), moves.end());
  for (Move m : moves) {
    EXPECT_EQ(move_piece(m), QUEEN);
    EXPECT_TRUE(is_generated(b, m));
  }
  // With captures as well the list is still full and no longer.
  board c = from_fen("Q1QQQQQQ/Q6Q/3Q4/1Q4Q1/Q5Q1/Q5Q1/Q2QQ3/QQQnnQQQ w - - 0 1");
  EXPECT_EQ(generate_all(c, l), MAX_MOVES);
  EXPECT_EQ(move_captured(l.moves[0]), KNIGHT);
}

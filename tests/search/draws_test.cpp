#include <gtest/gtest.h>

#include <string>

#include "position/makemove.h"
#include "position/movegen.h"
#include "io/movetext.h"
#include "search/draws.h"
#include "tests/search/search_fixture.h"

using namespace orvo;
using Draws = orvo::test::SearchTest;

namespace {

void play(Game& game, const char* text) {
  MoveList l;
  generate_all(game.pos, l);
  for (int i = 0; i < l.count; ++i) {
    char buf[8];
    move_to_text(l.moves[i], buf);
    if (std::string(buf) == text && game.play(l.moves[i])) return;
  }
  FAIL() << "cannot play " << text;
}

}  // namespace

TEST_F(Draws, SecondOccurrenceInSearchThirdForTheGame) {
  setup(start_fen);
  for (const char* m : {"g1f3", "g8f6", "f3g1", "f6g8"}) play(*c, m);
  EXPECT_EQ(repetition_count(c->pos), 1);
  EXPECT_EQ(game_end(c->pos), GameEnd::none);
  for (const char* m : {"g1f3", "g8f6", "f3g1", "f6g8"}) play(*c, m);
  EXPECT_EQ(repetition_count(c->pos), 2);
  EXPECT_EQ(game_end(c->pos), GameEnd::repetition);
}

TEST_F(Draws, RepetitionsAcrossAPawnMoveAreNotFound) {
  setup(start_fen);
  for (const char* m : {"g1f3", "g8f6", "f3g1", "f6g8", "e2e3", "e7e6"}) play(*c, m);
  for (const char* m : {"g1f3", "g8f6", "f3g1", "f6g8"}) play(*c, m);
  EXPECT_EQ(repetition_count(c->pos), 1);  // only the one after e7e6
}

TEST_F(Draws, InsufficientMaterial) {
  setup("4k3/8/8/8/8/8/8/4K3 w - - 0 1");  // bare kings
  EXPECT_EQ(game_end(c->pos), GameEnd::insufficient_material);
  setup("4k3/8/8/8/8/8/8/2B1K3 b - - 0 1");  // KB v K
  EXPECT_EQ(game_end(c->pos), GameEnd::insufficient_material);
  setup("4kb2/8/8/8/8/8/8/2B1K3 w - - 0 1");  // KB v KB, bishops on dark squares (c1, f8)
  EXPECT_EQ(game_end(c->pos), GameEnd::insufficient_material);
  setup("4k3/8/8/8/8/8/8/2B1KN2 w - - 0 1");  // KBN v K: 6 points, not two knights
  EXPECT_EQ(game_end(c->pos), GameEnd::none);
}

// The rule's other drawn cases are not claimed: tournament managers would
// forfeit the claim (cutechess-cli counts a knight as mating material,
// xboard plays king and bishop against king and knight on).
TEST_F(Draws, MaterialDrawsFrontEndsRejectAreNotClaimed) {
  for (const char* fen : {
           "4k3/8/8/8/8/8/8/2B1K1n1 w - - 0 1",  // KB v KN
           "4k3/8/8/8/8/8/8/1N2KN2 w - - 0 1",   // KNN v K
           "1n2k3/8/8/8/8/8/8/4K3 b - - 0 1",    // KN v K
           "4k3/8/8/8/8/8/8/1n2KN2 w - - 0 1",   // KN v KN
           "2b1k3/8/8/8/8/8/8/2B1K3 w - - 0 1",   // KB v KB, bishops on squares of both colours (c8, c1)
       }) {
    setup(fen);
    EXPECT_EQ(game_end(c->pos), GameEnd::none) << fen;
  }
}

TEST_F(Draws, StalemateMateAndFifty) {
  setup("7k/5Q2/6K1/8/8/8/8/8 b - - 0 1");
  EXPECT_EQ(game_end(c->pos), GameEnd::stalemate);
  setup("7k/6Q1/6K1/8/8/8/8/8 b - - 0 1");
  EXPECT_EQ(game_end(c->pos), GameEnd::black_mated);
  setup("8/8/8/8/8/6k1/6q1/6K1 w - - 0 1");
  EXPECT_EQ(game_end(c->pos), GameEnd::white_mated);
  // Stalemate with the counter at 100: the fifty-move rule comes first.
  setup("7k/5Q2/6K1/8/8/8/8/8 b - - 0 1");
  c->pos.fifty = 100;
  EXPECT_EQ(game_end(c->pos), GameEnd::fifty_moves);
}

TEST_F(Draws, NoLegalMove) {
  setup("7k/5Q2/6K1/8/8/8/8/8 b - - 0 1");
  EXPECT_TRUE(has_no_legal_move(c->pos));
  setup(start_fen);
  const board before = c->pos;
  EXPECT_FALSE(has_no_legal_move(c->pos));
  EXPECT_TRUE(c->pos == before);
}

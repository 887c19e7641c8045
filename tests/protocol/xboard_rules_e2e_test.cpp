// What a command does when it arrives while Orvo thinks, analyses or
// ponders on the xboard side, checked through the real binary.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "tests/protocol/xboard_fixture.h"
#include "tests/support/process.h"

using namespace orvo::test::xboard;

namespace {

constexpr const char* AFTER_E4_D5 = "rnbqkbnr/ppp1pppp/8/3p4/4P3/8/PPPP1PPP/RNBQKBNR w KQkq - 0 2";
constexpr const char* AFTER_E4 = "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq - 0 1";

bool any_move(const std::vector<std::string>& lines) {
  for (const auto& l : lines)
    if (starts_with(l, "move ")) return true;
  return false;
}

// Thinking lines among the lines.
int thinking_lines(const std::vector<std::string>& lines) {
  int n = 0;
  for (const auto& l : lines) n += is_thinking_line(l);
  return n;
}

}  // namespace

// A move that arrives while the engine thinks on its own move is played
// without an answer: the search of the engine's move runs in force mode.
TEST_F(XboardGame, UsermoveWhileThinkingIsPlayedWithoutASearch) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send("new");
  s.send("usermove e2e4");
  ASSERT_FALSE(s.wait_for("   3 ", 20).empty());
  const size_t from = s.lines().size();
  s.send("usermove d7d5");
  s.send("?");  // nothing is being searched any more: ignored
  usleep(1500000);
  expect_alive(s, 1);
  EXPECT_FALSE(any_move(since(s, from)));
  EXPECT_EQ(fen(s), AFTER_E4_D5);
  // Still in force mode: a further move is not answered either, until "go".
  s.send("usermove g1f3");
  expect_alive(s, 2);
  EXPECT_FALSE(any_move(since(s, from)));
  s.send("sd 2");
  s.send("go");
  EXPECT_FALSE(next_move(s, 20).empty());
}

// The game is over once "result" arrives: the search of the engine's move
// ends, and no move follows.
TEST_F(XboardGame, ResultWhileThinkingEndsTheSearchWithoutAMove) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send("new");
  s.send("st 1");
  s.send("usermove e2e4");
  s.send("result 0-1 {x}");
  usleep(2500000);
  expect_alive(s);
  EXPECT_FALSE(any_move(s.lines()));
  EXPECT_EQ(fen(s), AFTER_E4);
}

// "exit" sets the stop flag and leaves force mode: outside analysis that
// ends the engine's own search, whose best move is played at once.
TEST_F(XboardGame, ExitWhileThinkingPlaysTheBestMoveSoFar) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send("new");
  s.send("st 60");
  s.send("usermove e2e4");
  ASSERT_FALSE(s.wait_for("   4 ", 20).empty());
  const double sent = s.elapsed();
  s.send("exit");
  EXPECT_EQ(s.wait_for("Analyze stopped", 5), "Analyze stopped");
  const std::string m = next_move(s, 5);
  EXPECT_FALSE(m.empty());
  EXPECT_LT(s.elapsed() - sent, 3.0);
  Referee referee(dir_);
  ASSERT_TRUE(referee.play("e2e4"));
  EXPECT_TRUE(referee.play(m)) << m;
}

// "?" asks for the move only while the engine thinks on its own move; in
// analysis mode it changes nothing and the analysis goes on.
TEST_F(XboardGame, MoveNowIsIgnoredInAnalysis) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send("new");
  s.send("post");
  s.send("analyze");
  ASSERT_FALSE(s.wait_for("   3 ", 20).empty());
  s.send("?");
  s.wait_for("\x01", 0.3);  // what the analysis printed before the "?"
  const size_t from = s.lines().size();
  s.wait_for("\x01", 3.0);  // reads what arrives meanwhile
  EXPECT_GT(thinking_lines(since(s, from)), 0) << "the analysis stopped";
  EXPECT_FALSE(any_move(s.lines()));
  s.send("exit");
  EXPECT_EQ(s.wait_for("Analyze stopped", 5), "Analyze stopped");
  // Idle: "?" is ignored too.
  s.send("?");
  expect_alive(s);
  EXPECT_FALSE(any_move(s.lines()));
}

// While pondering only "usermove", "time", "result", "quit" and the
// commands that change the game count; "test", "perft" and "?" are words the
// ponder reader ignores, and the ponder phase goes on.
TEST_F(XboardPonder, TestPerftAndMoveNowAreIgnoredWhilePondering) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  Referee referee(dir_);
  const std::string reply = reach_pondering(s, referee);
  ASSERT_FALSE(reply.empty());
  const size_t from = s.lines().size();
  s.send("perft 2");
  s.send("test 1");
  s.send("?");
  s.wait_for("\x01", 0.3);  // what the ponder search printed before them
  const size_t later = s.lines().size();
  s.wait_for("\x01", 2.5);  // reads what arrives meanwhile
  EXPECT_GT(thinking_lines(since(s, later)), 0) << "the ponder search stopped";
  for (const auto& l : since(s, from)) {
    EXPECT_FALSE(starts_with(l, "perft(")) << l;
    EXPECT_EQ(l.find("suite1.epd"), std::string::npos) << l;
    EXPECT_FALSE(starts_with(l, "move ")) << l;
  }
  // Still pondering on the same reply: a hit is answered with a move.
  ASSERT_TRUE(referee.play(reply));
  s.send("time 5600");
  s.send("otim 5500");
  s.send("usermove " + reply);
  const std::string m = next_move(s, 15);
  ASSERT_FALSE(m.empty());
  EXPECT_TRUE(referee.play(m)) << m;
  s.send("easy");
  expect_alive(s, 5);
  EXPECT_EQ(fen(s), referee.fen());
}

// The clock that comes with a ponder hit sets the limits of the search that
// goes on. Here the old limits (a clock of 60 s) were used up while the
// engine pondered; the hit brings 300 s, so the engine thinks on instead
// of moving at once.
TEST_F(XboardPonder, ClockSentWithAPonderHitSetsTheLimits) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  Referee referee(dir_);
  const std::string reply = reach_pondering(s, referee);
  ASSERT_FALSE(reply.empty());
  usleep(2500000);  // beyond the 1.4 s target of the old clock
  ASSERT_TRUE(referee.play(reply));
  s.send("time 30000");
  s.send("otim 30000");
  const double sent = s.elapsed();
  s.send("usermove " + reply);
  const std::string m = next_move(s, 30);
  ASSERT_FALSE(m.empty());
  const double took = s.elapsed() - sent;
  EXPECT_GT(took, 0.5) << "moved at once under the old limits";
  EXPECT_LT(took, 20.0);
  EXPECT_TRUE(referee.play(m)) << m;
  s.send("easy");
  expect_alive(s, 6);
  EXPECT_EQ(fen(s), referee.fen());
}

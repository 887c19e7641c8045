// UCI transcripts against the real orvo binary: handshake, readiness,
// searches ended by their limits or by commands, and bad input.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/process.h"

using orvo::test::Session;

namespace {

constexpr const char* FOOLS_MATE = "rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq - 1 3";
constexpr const char* STALEMATE = "7k/5Q2/6K1/8/8/8/8/8 b - - 0 1";

bool starts_with(const std::string& s, const std::string& prefix) {
  return s.compare(0, prefix.size(), prefix) == 0;
}

// Each test runs orvo in an empty temporary directory: no settings file,
// so no book and no bitbases.
class UciE2E : public ::testing::Test {
 protected:
  void SetUp() override {
    char templ[] = "/tmp/orvo_uci_e2e_XXXXXX";
    ASSERT_NE(mkdtemp(templ), nullptr);
    dir_ = templ;
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }

  // The handshake. Only "uciok" and "unknown command" begin with a "u", so
  // a binary that does not speak UCI fails here at once.
  void handshake(Session& s) {
    s.send("uci");
    ASSERT_EQ(s.wait_for("u", 10), "uciok");
  }
  // Handshake and the engine set-up, ready for commands.
  void start(Session& s) {
    ASSERT_NO_FATAL_FAILURE(handshake(s));
    s.send("isready");
    ASSERT_EQ(s.wait_for("readyok", 10), "readyok");
  }
  // Still alive and answering.
  void expect_alive(Session& s) {
    s.send("isready");
    EXPECT_EQ(s.wait_for("readyok", 5), "readyok");
  }
  // The lines that arrived from index `from` on.
  static std::vector<std::string> since(const Session& s, size_t from) {
    const auto& all = s.lines();
    return std::vector<std::string>(all.begin() + long(std::min(from, all.size())), all.end());
  }

  std::string dir_;
};

}  // namespace

TEST_F(UciE2E, HandshakeLinesAreExact) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(handshake(s));
  const std::vector<std::string> expected = {
      "id name Orvo v2.14a_x64",
      "id author Erwan Tollis Quenby",
      "option name Hash type spin default 32 min 1 max 128",
      "option name Ponder type check default false",
      "option name OwnBook type check default true",
      "option name BookFile type string default Orvo.bin",
      // The additions, after the original four.
      "option name Threads type spin default 1 min 1 max 256",
      "option name MultiPV type spin default 1 min 1 max 256",
      "option name Move Overhead type spin default 1000 min 0 max 5000",
      "uciok",
  };
  const auto& lines = s.lines();
  ASSERT_GE(lines.size(), expected.size());
  EXPECT_EQ(std::vector<std::string>(lines.end() - long(expected.size()), lines.end()), expected);
  EXPECT_TRUE(starts_with(lines[0], "Orvo 2.14a_x64"));
  s.send("quit");
  EXPECT_EQ(s.wait_exit(5), 0);
}

TEST_F(UciE2E, IsReadyAnswersReadyOk) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  expect_alive(s);
  s.send("quit");
  EXPECT_EQ(s.wait_exit(5), 0);
}

TEST_F(UciE2E, IsReadyWhileSearchingIsAnsweredAtOnce) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send("go infinite");
  usleep(300000);
  const double sent = s.elapsed();
  s.send("isready");
  EXPECT_EQ(s.wait_for("readyok", 1.0), "readyok");
  EXPECT_LT(s.elapsed() - sent, 1.0);
  s.send("stop");
  EXPECT_TRUE(starts_with(s.wait_for("bestmove", 2.0), "bestmove "));
}

TEST_F(UciE2E, GoInfiniteSendsNothingUntilStop) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send("go infinite");
  EXPECT_EQ(s.wait_for("bestmove", 1.0), "");
  const double sent = s.elapsed();
  s.send("stop");
  const std::string best = s.wait_for("bestmove", 2.0);
  EXPECT_TRUE(starts_with(best, "bestmove "));
  EXPECT_NE(best, "bestmove a8a8");
  EXPECT_LT(s.elapsed() - sent, 1.0);
  // The "info time" summary comes just before the move.
  const auto& lines = s.lines();
  for (size_t i = 1; i < lines.size(); ++i) {
    if (starts_with(lines[i], "bestmove")) {
      EXPECT_TRUE(starts_with(lines[i - 1], "info time "));
    }
  }
}

TEST_F(UciE2E, GoInfiniteThatEndsByItselfStillWaitsForStop) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send(std::string("position fen ") + FOOLS_MATE);
  s.send("go infinite");  // no legal move: the search is over at once
  EXPECT_EQ(s.wait_for("bestmove", 1.0), "");
  s.send("stop");
  EXPECT_EQ(s.wait_for("bestmove", 2.0), "bestmove a8a8");
}

TEST_F(UciE2E, GoPonderThenPonderHit) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send("position startpos moves e2e4");
  s.send("go ponder wtime 3000 btime 3000");
  EXPECT_EQ(s.wait_for("bestmove", 0.8), "");
  const double sent = s.elapsed();
  s.send("ponderhit");
  const std::string best = s.wait_for("bestmove", 3.0);
  ASSERT_TRUE(starts_with(best, "bestmove "));
  EXPECT_LT(s.elapsed() - sent, 2.0);
  // Black's move: from rank 7 or 8.
  EXPECT_TRUE(best[10] == '7' || best[10] == '8') << best;
  expect_alive(s);
}

TEST_F(UciE2E, GoMovetimeEndsWithinASecond) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  const double sent = s.elapsed();
  s.send("go movetime 500");
  const std::string best = s.wait_for("bestmove", 3.0);
  const double took = s.elapsed() - sent;
  EXPECT_TRUE(starts_with(best, "bestmove "));
  EXPECT_LT(took, 1.0);
  EXPECT_GT(took, 0.25);  // the time was used, not ignored
}

TEST_F(UciE2E, QuitDuringASearchEndsAtOnce) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send("go infinite");
  usleep(300000);
  const double sent = s.elapsed();
  s.send("quit");
  EXPECT_EQ(s.wait_exit(2.0), 0);
  EXPECT_LT(s.elapsed() - sent, 1.0);
  for (const std::string& line : s.lines()) EXPECT_FALSE(starts_with(line, "bestmove")) << line;
}

TEST_F(UciE2E, InputClosedDuringASearchEndsTheProcess) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send("go infinite");
  usleep(200000);
  s.close_input();
  EXPECT_EQ(s.wait_exit(3.0), 0);
}

TEST_F(UciE2E, GoDepth3StopsAfterDepth3) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  const size_t from = s.lines().size();
  s.send("go depth 3");
  ASSERT_TRUE(starts_with(s.wait_for("bestmove", 10), "bestmove "));
  std::string last_depth;
  for (const std::string& line : since(s, from)) {
    if (starts_with(line, "info depth ")) last_depth = line;
    EXPECT_FALSE(starts_with(line, "info depth 4")) << line;
  }
  EXPECT_TRUE(starts_with(last_depth, "info depth 3 ")) << last_depth;
}

TEST_F(UciE2E, MatedOrStalematedRootGivesA8A8) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send(std::string("position fen ") + FOOLS_MATE);
  s.send("go depth 3");
  EXPECT_EQ(s.wait_for("bestmove", 5), "bestmove a8a8");
  s.send(std::string("position fen ") + STALEMATE);
  s.send("go movetime 200");
  EXPECT_EQ(s.wait_for("bestmove", 5), "bestmove a8a8");
  s.send(std::string("position fen ") + STALEMATE);
  s.send("go wtime 1000 btime 1000");
  EXPECT_EQ(s.wait_for("bestmove", 5), "bestmove a8a8");
}

TEST_F(UciE2E, PositionWithMovesIsPlayed) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send("position startpos moves e2e4 e7e5 g1f3");
  s.send("go depth 2");
  const std::string best = s.wait_for("bestmove", 10);
  ASSERT_TRUE(starts_with(best, "bestmove "));
  EXPECT_TRUE(best[10] == '7' || best[10] == '8') << best;  // Black to move
}

TEST_F(UciE2E, BadPositionsDoNotCrash) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  for (const char* line :
       {"position fen", "position fen ", "position fen garbage", "position fen rnbqkbnr/pppp",
        "position fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR", "position fen 8/8/8/8 w",
        "position fen 9/9/9/9/9/9/9/9 w KQkq z9 -5 x", "position fen moves e2e4",
        "position fen //////// b", "position fen kkkkkkkk/KKKKKKKK/8/8/8/8/8/8 w - - 0 1"}) {
    s.send(line);
    expect_alive(s);
    s.send("go depth 2");
    EXPECT_TRUE(starts_with(s.wait_for("bestmove", 10), "bestmove ")) << line;
  }
  s.send("position startpos moves e2e5 zzzz e7e5");
  s.send("go depth 2");
  const std::string best = s.wait_for("bestmove", 10);
  ASSERT_TRUE(starts_with(best, "bestmove ")) << best;
  EXPECT_TRUE(best[10] == '1' || best[10] == '2') << best;  // still White to move
  s.send("quit");
  EXPECT_EQ(s.wait_exit(5), 0);
}

TEST_F(UciE2E, GoWithMissingOrHugeValues) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  for (const char* line :
       {"go depth 2 movestogo", "go wtime btime", "go movetime 99999999999999999 depth 2",
        "go wtime 99999999999 btime 99999999999 depth 2", "go mate 999999999999 movetime 300",
        "go depth 999999999 movetime 300", "go winc 99999999999 wtime 1000 btime 1000",
        "go movestogo 99999999999 wtime 1000 btime 1000", "go wtime -5 btime -5 depth 1",
        "go nodes searchmoves depth 2", "go depth -3 movetime 200", "go mate 0 movetime 200",
        // A clock below zero is an empty clock: a move at once, not a search without end.
        "go wtime -50 btime -50", "go movetime -1", "go wtime -2147483648 btime 0 winc -9 binc -9"}) {
    s.send(line);
    EXPECT_TRUE(starts_with(s.wait_for("bestmove", 10), "bestmove ")) << line;
  }
  // Without a value the word sets nothing: no limit at all, until "stop".
  for (const char* line : {"go depth", "go movetime", "go wtime", "go mate"}) {
    s.send(line);
    EXPECT_EQ(s.wait_for("bestmove", 0.3), "") << line;
    s.send("stop");
    EXPECT_TRUE(starts_with(s.wait_for("bestmove", 5), "bestmove ")) << line;
  }
  expect_alive(s);
}

TEST_F(UciE2E, SetOptionWithoutValueIsIgnored) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(handshake(s));
  for (const char* line : {"setoption name Hash", "setoption name", "setoption value",
                           "setoption name Hash value", "setoption", "setoption value 3 name Hash",
                           "setoption name Nothing value 5", "setoption name Hash value 1"})
    s.send(line);
  expect_alive(s);
  s.send("go depth 1");
  EXPECT_TRUE(starts_with(s.wait_for("bestmove", 10), "bestmove "));
}

TEST_F(UciE2E, VeryLongLinesAreHarmless) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send(std::string(70000, 'x'));
  expect_alive(s);
  std::string moves = "position startpos moves";
  while (moves.size() < 70000) moves += " g1f3 g8f6 f3g1 f6g8";
  s.send(moves);
  expect_alive(s);
  s.send("setoption name BookFile value " + std::string(70000, 'b'));
  expect_alive(s);
  s.send("go depth 1" + std::string(70000, ' '));
  EXPECT_TRUE(starts_with(s.wait_for("bestmove", 10), "bestmove "));
  s.send("position fen " + std::string(70000, 'p'));
  expect_alive(s);
  s.send("quit");
  EXPECT_EQ(s.wait_exit(5), 0);
}

// Lines of any length: past 65,535 characters a line arrives in pieces, each
// obeyed (or ignored) as a line of its own.
TEST_F(UciE2E, LinesOfAnyLength) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send(std::string(8 << 20, 'x'));
  expect_alive(s);
  s.send("go depth 1" + std::string(1 << 20, ' '));
  EXPECT_TRUE(starts_with(s.wait_for("bestmove", 20), "bestmove "));
  expect_alive(s);
  s.send("quit");
  EXPECT_EQ(s.wait_exit(5), 0);
}

// "position startpos moves" with 10,000 moves: every one is played (the game
// history is a ring), and the engine then moves for the side to move.
TEST_F(UciE2E, PositionWithTenThousandMoves) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  std::string moves;
  for (int i = 0; i < 2500; ++i) moves += " g1f3 g8f6 f3g1 f6g8";
  s.send("position startpos moves" + moves);
  s.send("go depth 2");
  std::string best = s.wait_for("bestmove", 20);
  ASSERT_TRUE(starts_with(best, "bestmove ")) << best;
  EXPECT_TRUE(best[10] == '1' || best[10] == '2') << best;  // White to move
  s.send("position startpos moves" + moves + " e2e4");
  s.send("go depth 2");
  best = s.wait_for("bestmove", 20);
  ASSERT_TRUE(starts_with(best, "bestmove ")) << best;
  EXPECT_TRUE(best[10] == '7' || best[10] == '8') << best;  // Black to move after the 10,001st
  expect_alive(s);
}

// A set-up board with more moves than a move list holds: a search on the
// moves that fit, and a move.
TEST_F(UciE2E, PositionWithMoreMovesThanTheListHolds) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send("position fen Q1QQQQQQ/Q6Q/3Q4/1Q4Q1/Q5Q1/Q5Q1/Q2QQ3/QQQnnQQQ w - - 0 1");
  s.send("go depth 3");
  EXPECT_TRUE(starts_with(s.wait_for("bestmove", 30), "bestmove "));
  s.send("position fen Q1QQQQQQ/Q6Q/3Q4/1Q4Q1/Q5Q1/Q5Q1/Q2QQ3/QQQnnQQQ w - - 0 1 moves a8b8 d1c3");
  s.send("go wtime 1000 btime 1000");
  EXPECT_TRUE(starts_with(s.wait_for("bestmove", 30), "bestmove "));
  expect_alive(s);
}

TEST_F(UciE2E, UnknownCommandsGetNoReply) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  const size_t from = s.lines().size();
  for (const char* line : {"uci", "debug on", "register later", "hello", "", "Stop", "stop"})
    s.send(line);
  expect_alive(s);
  const auto after = since(s, from);
  ASSERT_EQ(after.size(), 1u);
  EXPECT_EQ(after[0], "readyok");
}

TEST_F(UciE2E, EndOfInputEndsTheProcess) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.close_input();
  EXPECT_EQ(s.wait_exit(3.0), 0);
}

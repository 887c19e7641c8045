// Threads, MultiPV and Move Overhead through the real binary: the handshake,
// bad values, searches with several threads ended by every command and by
// the end of input, and the threads made once and kept.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "tests/support/positions.h"
#include "tests/support/process.h"

using orvo::test::Session;

namespace {

bool starts_with(const std::string& s, const std::string& prefix) { return s.compare(0, prefix.size(), prefix) == 0; }

constexpr const char* KIWIPETE = "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1";

class Threads : public ::testing::Test {
 protected:
  void SetUp() override {
    char templ[] = "/tmp/orvo_threads_XXXXXX";
    ASSERT_NE(mkdtemp(templ), nullptr);
    dir_ = templ;
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }
  // The handshake, the set-up and a search with one thread; base_ is then
  // the process's threads (a sanitizer may have some of its own). Then the
  // thread count for the searches to come.
  void start(Session& s, int threads) {
    s.send("uci");
    s.send("isready");
    ASSERT_EQ(s.wait_for("readyok", 10), "readyok");
    s.send("go depth 2");
    ASSERT_FALSE(s.wait_for("bestmove", 10).empty());
    base_ = s.threads();
    s.send("setoption name Threads value " + std::to_string(threads));
  }
  // The process's threads when the search uses n: n - 1 helpers. (A
  // thread sanitizer starts a thread of its own with the first helper.)
  long with(int n) const { return base_ + n - 1; }
  void expect_threads(const Session& s, int n, int round = 0) {
    const long t = s.threads();
    if (orvo::test::sanitized())
      EXPECT_TRUE(t == with(n) || t == with(n) + 1) << t << " threads for " << n << " (" << round << ")";
    else
      EXPECT_EQ(t, with(n)) << n << " (" << round << ")";
  }
  long base_ = 1;
  // Lines since index from.
  static std::vector<std::string> since(const Session& s, size_t from) {
    return std::vector<std::string>(s.lines().begin() + long(from), s.lines().end());
  }
  std::string dir_;
};

}  // namespace

TEST_F(Threads, GoInfiniteThenStopWithFourThreadsAnswersWithin100Ms) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s, 4));
  s.send(std::string("position fen ") + KIWIPETE);
  s.send("go infinite");
  ASSERT_FALSE(s.wait_for("info depth 6 ", 30).empty());
  expect_threads(s, 4);
  const double sent = s.elapsed();
  s.send("stop");
  const std::string best = s.wait_for("bestmove", 5);
  EXPECT_TRUE(starts_with(best, "bestmove ")) << best;
  // A tenth of a second; the sanitizers slow every thread down.
  EXPECT_LT(s.elapsed() - sent, orvo::test::sanitized() ? 1.0 : 0.1);
  s.send("quit");
  EXPECT_EQ(s.wait_exit(5), 0);
}

TEST_F(Threads, PonderHitAndPonderMissWithTwoThreads) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s, 2));
  // A hit: the search goes on under the clock and answers by itself.
  s.send("position startpos moves e2e4 e7e5");
  s.send("go ponder wtime 3000 btime 3000");
  ASSERT_FALSE(s.wait_for("info depth 4 ", 20).empty());
  s.send("ponderhit");
  std::string best = s.wait_for("bestmove", 10);
  EXPECT_TRUE(starts_with(best, "bestmove ")) << best;
  // A miss: "stop", the move nobody wants, then the real position.
  s.send("position startpos moves e2e4 e7e5 g1f3");
  s.send("go ponder wtime 3000 btime 3000");
  ASSERT_FALSE(s.wait_for("info depth 4 ", 20).empty());
  s.send("stop");
  EXPECT_TRUE(starts_with(s.wait_for("bestmove", 5), "bestmove "));
  s.send("position startpos moves e2e4 e7e5 g1f3 b8c6 f1b5");
  s.send("go wtime 2000 btime 2000");
  best = s.wait_for("bestmove", 10);
  EXPECT_TRUE(starts_with(best, "bestmove ")) << best;
  s.send("isready");
  EXPECT_EQ(s.wait_for("readyok", 5), "readyok");
  expect_threads(s, 2);
}

TEST_F(Threads, QuitAndTheEndOfInputDuringAFourThreadSearch) {
  for (const bool quit : {true, false}) {
    Session s(dir_);
    ASSERT_NO_FATAL_FAILURE(start(s, 4));
    s.send(std::string("position fen ") + KIWIPETE);
    const size_t from = s.lines().size();
    s.send("go infinite");
    ASSERT_FALSE(s.wait_for("info depth 5 ", 30).empty());
    const double sent = s.elapsed();
    if (quit)
      s.send("quit");
    else
      s.close_input();
    EXPECT_EQ(s.wait_exit(5), 0) << quit;
    EXPECT_LT(s.elapsed() - sent, 1.0) << quit;
    for (const auto& l : since(s, from)) EXPECT_FALSE(starts_with(l, "bestmove")) << l;
  }
}

TEST_F(Threads, MadeOnceKeptAndChangedAtTheNextSearch) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s, 3));  // none made until a search needs them
  for (int i = 0; i < 5; ++i) {
    s.send("go depth 5");
    ASSERT_TRUE(starts_with(s.wait_for("bestmove", 20), "bestmove "));
    expect_threads(s, 3, i);
  }
  s.send("setoption name Threads value 2");
  s.send("isready");
  s.wait_for("readyok", 5);
  expect_threads(s, 3);  // until the next search
  s.send("go depth 5");
  ASSERT_TRUE(starts_with(s.wait_for("bestmove", 20), "bestmove "));
  expect_threads(s, 2);
  s.send("setoption name Threads value 1");
  s.send("go depth 5");
  ASSERT_TRUE(starts_with(s.wait_for("bestmove", 20), "bestmove "));
  expect_threads(s, 1);
}

TEST_F(Threads, BadValuesAreHeldOrIgnoredWithoutACrash) {
  Session s(dir_);
  s.send("uci");
  for (const char* option : {"Threads", "MultiPV", "Move Overhead"})
    for (const char* value : {"-1", "-99999999999", "0", "99999999999999999", "x", "", "3.5", "1e9"})
      s.send(std::string("setoption name ") + option + " value " + value);
  s.send("isready");
  ASSERT_EQ(s.wait_for("readyok", 10), "readyok");
  // Threads 3 ("3.5" read as 3), MultiPV 1e9 read as 1: one line.
  s.send("go depth 4");
  const size_t from = s.lines().size();
  ASSERT_TRUE(starts_with(s.wait_for("bestmove", 30), "bestmove "));
  for (const auto& l : since(s, from)) EXPECT_EQ(l.find("multipv"), std::string::npos) << l;
  s.send("quit");
  EXPECT_EQ(s.wait_exit(5), 0);
}

TEST_F(Threads, MultiPvThreeLinesInOrder) {
  Session s(dir_);
  s.send("uci");
  s.send("setoption name MultiPV value 3");
  s.send("position startpos moves d2d4");
  s.send("go depth 6");
  ASSERT_TRUE(starts_with(s.wait_for("bestmove", 30), "bestmove "));
  const std::regex pv("info depth 6 seldepth [0-9]+ multipv ([1-3]) score cp (-?[0-9]+) .* pv (\\S+).*");
  std::vector<std::string> firsts;
  for (const auto& l : s.lines()) {
    std::smatch m;
    if (std::regex_match(l, m, pv)) {
      EXPECT_EQ(std::stoi(m[1]), int(firsts.size()) + 1) << l;
      firsts.push_back(m[3]);
    }
  }
  ASSERT_EQ(firsts.size(), 3u);
  EXPECT_NE(firsts[0], firsts[1]);
  EXPECT_NE(firsts[1], firsts[2]);
  EXPECT_EQ(s.lines().back().substr(9, firsts[0].size()), firsts[0]);
}

// The xboard side takes its thread count from the settings file, whose
// keys are nine characters long; the feature line stays as it is.
TEST_F(Threads, XboardThreadsFromTheSettingsFile) {
  std::ofstream(dir_ + "/Orvo214.ini") << "n_threads=2\noverheads=30\n";
  Session s(dir_);
  s.send("xboard");
  s.send("protover 2");
  const std::string feature = s.wait_for("feature ", 10);
  base_ = s.threads();
  EXPECT_NE(feature.find("done=1"), std::string::npos);
  EXPECT_EQ(feature.find("option="), std::string::npos);
  s.send("new");
  s.send("sd 5");
  s.send("usermove e2e4");
  ASSERT_TRUE(starts_with(s.wait_for("move ", 20), "move "));
  // One helper beside the engine's own thread (and whatever a sanitizer
  // adds, which the UCI tests measure).
  expect_threads(s, 2);
  s.send("quit");
  EXPECT_EQ(s.wait_exit(5), 0);
}

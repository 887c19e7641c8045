// A front end that crashes or is killed closes Orvo's standard input. Every
// kind of search then ends, and Orvo exits with status 0 within a second:
// it never goes on burning a core for nobody.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "tests/protocol/xboard_fixture.h"
#include "tests/support/process.h"

using namespace orvo::test::xboard;

namespace {

// How long Orvo may take to notice the end of its input and exit.
constexpr double EXIT_WITHIN_S = 1.0;

class EndOfInput : public XboardGame {
 protected:
  // Closes the input and checks that Orvo exits soon with status 0.
  void expect_prompt_exit(Session& s, const char* what) {
    const double closed = s.elapsed();
    s.close_input();
    EXPECT_EQ(s.wait_exit(EXIT_WITHIN_S + 4), 0) << what;
    EXPECT_LT(s.elapsed() - closed, EXIT_WITHIN_S) << what;
  }
  void uci_start(Session& s) {
    s.send("uci");
    s.send("isready");
    ASSERT_EQ(s.wait_for("readyok", 10), "readyok");
  }
};

class EndOfInputPondering : public XboardPonder {};

}  // namespace

// The case a black-box fuzzer found: the engine's own move, no limit at all.
TEST_F(EndOfInput, XboardOwnMoveWithoutLimits) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send("new");
  s.send("usermove e2e4");
  ASSERT_FALSE(s.wait_for("   4 ", 20).empty());
  expect_prompt_exit(s, "own move, no limits");
  // The loop met the end of input: no move for nobody, and the usual words.
  for (const auto& l : s.lines()) EXPECT_FALSE(starts_with(l, "move ")) << l;
  EXPECT_EQ(s.lines().back(), "Orvo is leaving main_loop.");
}

TEST_F(EndOfInput, XboardOwnMoveWithLimits) {
  for (const char* limit : {"st 60", "sd 40", "level 40 5 0\ntime 30000"}) {
    Session s(dir_);
    ASSERT_NO_FATAL_FAILURE(start(s));
    s.send("new");
    s.send(limit);
    s.send("usermove e2e4");
    ASSERT_FALSE(s.wait_for("   4 ", 20).empty()) << limit;
    expect_prompt_exit(s, limit);
  }
}

TEST_F(EndOfInput, XboardGoAndAnalysis) {
  for (const char* start_search : {"go", "analyze"}) {
    Session s(dir_);
    ASSERT_NO_FATAL_FAILURE(start(s));
    s.send("new");
    s.send("force");
    s.send(start_search);
    ASSERT_FALSE(s.wait_for("   4 ", 20).empty()) << start_search;
    expect_prompt_exit(s, start_search);
  }
}

// The piped form the fault was reported in: the input ends while the
// search of the answer to e2e4 has just begun.
TEST_F(EndOfInput, XboardPipedSession) {
  const auto r = orvo::test::run_orvo("xboard\nnew\nusermove e2e4\n", 10, dir_);
  EXPECT_FALSE(r.timed_out);
  EXPECT_EQ(r.status, 0);
}

TEST_F(EndOfInputPondering, XboardPondering) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  Referee referee(dir_);
  ASSERT_FALSE(reach_pondering(s, referee).empty());
  const double closed = s.elapsed();
  s.close_input();
  EXPECT_EQ(s.wait_exit(EXIT_WITHIN_S + 4), 0);
  EXPECT_LT(s.elapsed() - closed, EXIT_WITHIN_S);
}

TEST_F(EndOfInput, UciGoInfiniteGoPonderAndClock) {
  for (const char* go : {"go infinite", "go ponder wtime 60000 btime 60000", "go wtime 600000 btime 600000",
                         "go depth 60", "go"}) {
    Session s(dir_);
    ASSERT_NO_FATAL_FAILURE(uci_start(s));
    s.send("position startpos moves e2e4");
    s.send(go);
    ASSERT_FALSE(s.wait_for("info depth 4 ", 20).empty()) << go;
    expect_prompt_exit(s, go);
  }
}

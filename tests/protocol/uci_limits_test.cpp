// The limits that "go" computes, with the real search's time allocation.
#include <gtest/gtest.h>

#include <cmath>

#include "tests/protocol/uci_fixture.h"

using namespace orvo;

namespace {

class UciLimits : public orvo::test::UciFixture {
 protected:
  void go(const std::string& line) { uci->set_limits(line.c_str()); }
  void position(const std::string& line) { run(line); }
};

constexpr double EPS = 1e-9;

}  // namespace

TEST_F(UciLimits, SixtySecondsEachWithoutPonder) {
  go("go wtime 60000 btime 60000");
  EXPECT_TRUE(limits().timed);
  EXPECT_NEAR(limits().target_time, 56.0 / 30.0, EPS);  // about 1.87 s
  EXPECT_NEAR(limits().hard_limit, 14.0, EPS);
  EXPECT_FALSE(limits().infinite);
  EXPECT_FALSE(limits().fixed_depth);
}

TEST_F(UciLimits, SixtySecondsForBlack) {
  position("position startpos moves e2e4");
  go("go wtime 1000 btime 60000");
  EXPECT_NEAR(limits().target_time, 56.0 / 30.0, EPS);
  EXPECT_NEAR(limits().hard_limit, 14.0, EPS);
}

TEST_F(UciLimits, PonderOptionStretchesTheShare) {
  uci->option_set("Ponder", "true");
  go("go wtime 60000 btime 60000");
  EXPECT_NEAR(limits().target_time, 56.0 / 30.0 * 1.25, EPS);
  EXPECT_NEAR(limits().hard_limit, 14.0, EPS);
}

TEST_F(UciLimits, IncrementAndMovesToGo) {
  // left 56, total 9 x 2 + 56 = 74, per move 7.4, hard max(7.4, 18.5).
  go("go wtime 60000 winc 2000 movestogo 10");
  EXPECT_NEAR(limits().target_time, 7.4, EPS);
  EXPECT_NEAR(limits().hard_limit, 18.5, EPS);
}

TEST_F(UciLimits, AlmostNoTimeLeft) {
  go("go wtime 500 btime 500");
  EXPECT_TRUE(limits().timed);
  EXPECT_NEAR(limits().target_time, 0.0, EPS);
  EXPECT_NEAR(limits().hard_limit, 0.0, EPS);
}

TEST_F(UciLimits, Movetime) {
  go("go movetime 5000");
  EXPECT_TRUE(limits().timed);
  EXPECT_NEAR(limits().hard_limit, 5.0, EPS);
  EXPECT_NEAR(limits().target_time, 25.0, EPS);
  go("go movetime 1000");
  EXPECT_NEAR(limits().hard_limit, 1.0, EPS);
  EXPECT_NEAR(limits().target_time, 5.0, EPS);
}

TEST_F(UciLimits, DepthMateAndInfinite) {
  go("go mate 3");
  EXPECT_TRUE(limits().fixed_depth);
  EXPECT_EQ(limits().depth_limit, 5);
  go("go depth 1");
  EXPECT_TRUE(limits().fixed_depth);
  EXPECT_EQ(limits().depth_limit, 1);
  EXPECT_FALSE(limits().timed);
  go("go infinite");
  EXPECT_TRUE(limits().infinite);
  EXPECT_FALSE(limits().fixed_depth);
  EXPECT_FALSE(limits().timed);
  go("go ponder wtime 60000 btime 60000");
  EXPECT_TRUE(limits().infinite);
  EXPECT_TRUE(limits().timed);
}

TEST_F(UciLimits, EachGoStartsFromNothing) {
  go("go wtime 60000 btime 60000 depth 4 infinite");
  go("go");
  EXPECT_FALSE(limits().timed);
  EXPECT_FALSE(limits().fixed_depth);
  EXPECT_FALSE(limits().infinite);
}

// A clock below zero (a manager's time margin lets an engine overstep) is an
// empty clock: the engine moves after its first iteration rather than
// searching without any limit.
TEST_F(UciLimits, NegativeClockIsAnEmptyClock) {
  go("go wtime -250 btime 60000");
  EXPECT_TRUE(limits().timed);
  EXPECT_NEAR(limits().target_time, 0.0, EPS);
  EXPECT_NEAR(limits().hard_limit, 0.0, EPS);
  go("go wtime -2147483648 btime -2147483648 winc -5 binc -5");
  EXPECT_TRUE(limits().timed);
  EXPECT_NEAR(limits().hard_limit, 0.0, EPS);
  go("go movetime -1");
  EXPECT_TRUE(limits().timed);
  EXPECT_NEAR(limits().hard_limit, 0.0, EPS);
  EXPECT_NEAR(limits().target_time, 0.0, EPS);
}

// Every field absurd or without its value: the limits stay finite numbers.
TEST_F(UciLimits, AbsurdFields) {
  go("go wtime 99999999999999 btime 99999999999999 winc 99999999999 binc 99999999999 movestogo 99999999999");
  EXPECT_TRUE(limits().timed);
  EXPECT_TRUE(std::isfinite(limits().target_time) && limits().target_time >= 0);
  EXPECT_TRUE(std::isfinite(limits().hard_limit) && limits().hard_limit >= limits().target_time);
  go("go movestogo -7 wtime 60000");
  EXPECT_NEAR(limits().target_time, 56.0 / 30.0, EPS);  // below 1: 30 moves
  go("go mate 2147483647");
  EXPECT_TRUE(limits().fixed_depth);
  EXPECT_GT(limits().depth_limit, 0);
  go("go depth -5 mate -5");
  EXPECT_FALSE(limits().fixed_depth);
  for (const char* line : {"go wtime", "go depth", "go movetime", "go movestogo", "go binc", "go nodes",
                           "go searchmoves", "go ponder", "gowtime 5", "go wtime x btime y"}) {
    go(line);
    EXPECT_FALSE(limits().fixed_depth) << line;
    EXPECT_TRUE(std::isfinite(limits().target_time) && std::isfinite(limits().hard_limit)) << line;
  }
}

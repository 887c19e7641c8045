// The limits that "go" computes, with the real search's time allocation.
#include <gtest/gtest.h>

#include <memory>

#include "engine/chess.h"
#include "protocol/uci.h"
#include "search/search.h"

using namespace orvo;

namespace {

class UciLimits : public ::testing::Test {
 protected:
  void SetUp() override {
    c = std::make_unique<chess>();
    testing::internal::CaptureStdout();
    uci_handshake(*c);  // UCI mode, start position, option defaults
    testing::internal::GetCapturedStdout();
  }
  void go(const std::string& line) { uci_set_limits(*c, line.c_str()); }
  void position(const std::string& line) {
    std::string copy = line;
    testing::internal::CaptureStdout();
    uci_position(*c, copy.data());
    testing::internal::GetCapturedStdout();
  }
  std::unique_ptr<chess> c;
};

constexpr double EPS = 1e-9;

}  // namespace

TEST_F(UciLimits, SixtySecondsEachWithoutPonder) {
  go("go wtime 60000 btime 60000");
  EXPECT_TRUE(limits.timed);
  EXPECT_NEAR(limits.targetTime, 56.0 / 30.0, EPS);  // about 1.87 s
  EXPECT_NEAR(limits.hardLimit, 14.0, EPS);
  EXPECT_FALSE(limits.infinite);
  EXPECT_FALSE(limits.fixedDepth);
}

TEST_F(UciLimits, SixtySecondsForBlack) {
  position("position startpos moves e2e4");
  go("go wtime 1000 btime 60000");
  EXPECT_NEAR(limits.targetTime, 56.0 / 30.0, EPS);
  EXPECT_NEAR(limits.hardLimit, 14.0, EPS);
}

TEST_F(UciLimits, PonderOptionStretchesTheShare) {
  option_set("Ponder", "true");
  go("go wtime 60000 btime 60000");
  EXPECT_NEAR(limits.targetTime, 56.0 / 30.0 * 1.25, EPS);
  EXPECT_NEAR(limits.hardLimit, 14.0, EPS);
}

TEST_F(UciLimits, IncrementAndMovesToGo) {
  // left 56, total 9 x 2 + 56 = 74, per move 7.4, hard max(7.4, 18.5).
  go("go wtime 60000 winc 2000 movestogo 10");
  EXPECT_NEAR(limits.targetTime, 7.4, EPS);
  EXPECT_NEAR(limits.hardLimit, 18.5, EPS);
}

TEST_F(UciLimits, AlmostNoTimeLeft) {
  go("go wtime 500 btime 500");
  EXPECT_TRUE(limits.timed);
  EXPECT_NEAR(limits.targetTime, 0.0, EPS);
  EXPECT_NEAR(limits.hardLimit, 0.0, EPS);
}

TEST_F(UciLimits, Movetime) {
  go("go movetime 5000");
  EXPECT_TRUE(limits.timed);
  EXPECT_NEAR(limits.hardLimit, 5.0, EPS);
  EXPECT_NEAR(limits.targetTime, 25.0, EPS);
  go("go movetime 1000");
  EXPECT_NEAR(limits.hardLimit, 1.0, EPS);
  EXPECT_NEAR(limits.targetTime, 5.0, EPS);
}

TEST_F(UciLimits, DepthMateAndInfinite) {
  go("go mate 3");
  EXPECT_TRUE(limits.fixedDepth);
  EXPECT_EQ(limits.depthLimit, 5);
  go("go depth 1");
  EXPECT_TRUE(limits.fixedDepth);
  EXPECT_EQ(limits.depthLimit, 1);
  EXPECT_FALSE(limits.timed);
  go("go infinite");
  EXPECT_TRUE(limits.infinite);
  EXPECT_FALSE(limits.fixedDepth);
  EXPECT_FALSE(limits.timed);
  go("go ponder wtime 60000 btime 60000");
  EXPECT_TRUE(limits.infinite);
  EXPECT_TRUE(limits.timed);
}

TEST_F(UciLimits, EachGoStartsFromNothing) {
  go("go wtime 60000 btime 60000 depth 4 infinite");
  go("go");
  EXPECT_FALSE(limits.timed);
  EXPECT_FALSE(limits.fixedDepth);
  EXPECT_FALSE(limits.infinite);
}

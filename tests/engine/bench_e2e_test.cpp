// "orvo bench [DEPTH]": the benchmark engine-testing frameworks run, its
// last line "N nodes M nps", and its node total, the signature of the search.
#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "tests/support/process.h"

using orvo::test::run_orvo_args;
using orvo::test::split_lines;

namespace {

// The node total of the benchmark positions searched to depth 6.
constexpr const char* DEPTH_6_SIGNATURE = "2726322";

}  // namespace

TEST(Bench, LastLineIsNodesAndNodesPerSecond) {
  const auto r = run_orvo_args({"bench", "6"}, "", 300);
  ASSERT_FALSE(r.timed_out);
  EXPECT_EQ(r.status, 0);
  const auto lines = split_lines(r.out);
  ASSERT_FALSE(lines.empty());
  std::smatch m;
  ASSERT_TRUE(std::regex_match(lines.back(), m, std::regex("([0-9]+) nodes ([0-9]+) nps"))) << r.out;
  EXPECT_EQ(m[1].str(), DEPTH_6_SIGNATURE);
  EXPECT_GT(std::stoll(m[2].str()), 0);
  // Nothing but the benchmark: no banner, no protocol.
  EXPECT_EQ(r.out.find("Orvo "), std::string::npos);
  EXPECT_EQ(r.err, "");
}

TEST(Bench, ABadDepthIsRefused) {
  for (const char* depth : {"0", "-3", "x", "65", "", "6x"}) {
    const auto r = run_orvo_args({"bench", depth}, "", 30);
    EXPECT_EQ(r.status, 2) << depth;
    EXPECT_EQ(r.out, "") << depth;
    EXPECT_EQ(r.err, "orvo bench: the depth must be a number from 1 to 64\n") << depth;
  }
}

TEST(Bench, OtherArgumentsAreNotRead) {
  const auto r = run_orvo_args({"--help", "bench"}, "quit\n", 30);
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out.rfind("Orvo 2.14a_x64\n", 0), 0u);
}

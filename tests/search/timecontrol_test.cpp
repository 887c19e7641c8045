#include <gtest/gtest.h>

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "io/input.h"

#include "search/internal.h"
#include "tests/search/search_fixture.h"

using namespace orvo;
using TimeControl = orvo::test::SearchTest;

TEST(TimeAllocation, SixtySecondsNoIncrement) {
  TimeAllocation t = allocate_time(60, 0, 30, 1.0);
  EXPECT_NEAR(t.target, 56.0 / 30, 1e-9);  // 1.8667 s
  EXPECT_NEAR(t.hard, 14.0, 1e-9);
  t = allocate_time(60, 0, -1, 1.0);  // no moves-to-go: 30
  EXPECT_NEAR(t.target, 56.0 / 30, 1e-9);
}

TEST(TimeAllocation, PonderFactorAndLimits) {
  TimeAllocation t = allocate_time(60, 0, 30, 1.25);
  EXPECT_NEAR(t.target, 56.0 / 30 * 1.25, 1e-9);
  t = allocate_time(0.5, 0, 30, 1.0);  // 0.475 - 1 < 0: no time at all
  EXPECT_EQ(t.target, 0);
  EXPECT_EQ(t.hard, 0);
  t = allocate_time(10, 2, 1, 1.0);  // last move before the control: all of it
  EXPECT_NEAR(t.target, 8.5, 1e-9);
  EXPECT_NEAR(t.hard, 8.5, 1e-9);
  t = allocate_time(100, -5, 30, 1.0);  // a negative increment counts as 0
  EXPECT_NEAR(t.target, 94.0 / 30, 1e-9);
}

TEST_F(TimeControl, ResetClearsLimitsOnlyInUciMode) {
  limits.fixedDepth = true;
  limits.depthLimit = 5;
  limits.timed = true;
  limits.infinite = true;
  limits.analysis = true;
  c->uci_mode = 0;
  resetSearch(*c);
  EXPECT_TRUE(limits.fixedDepth);
  EXPECT_EQ(limits.depthLimit, 5);
  EXPECT_TRUE(limits.timed);
  EXPECT_TRUE(limits.infinite);
  EXPECT_FALSE(limits.analysis);  // always cleared
  c->uci_mode = 1;
  resetSearch(*c);
  EXPECT_FALSE(limits.fixedDepth);
  EXPECT_EQ(limits.depthLimit, 0);
  EXPECT_FALSE(limits.timed);
  EXPECT_FALSE(limits.infinite);
  EXPECT_EQ(nodes, 0);
  EXPECT_EQ(state.best_move, 0u);
  EXPECT_EQ(c->pv[0], 0u);
}

TEST_F(TimeControl, ClockRunsOnlyWhileRunning) {
  search_clock = SearchClock{};
  updateClock();
  EXPECT_EQ(search_clock.elapsed, 0);
  search_clock.running = true;
  search_clock.start = now_seconds() - 2.0;
  nodes = 1000;
  updateClock();
  EXPECT_NEAR(search_clock.elapsed, 2.0, 0.5);
  EXPECT_NEAR(search_clock.nps, 500, 150);
  EXPECT_EQ(search_clock.cpu_load, 0);
  search_clock.start = now_seconds() + 100;  // never below zero
  updateClock();
  EXPECT_EQ(search_clock.elapsed, 0);
  search_clock.running = false;
}

TEST_F(TimeControl, PollSetsTheStopFlagFromTheLimits) {
  setup("4k3/8/8/8/8/8/8/4K2R w - - 0 1");
  limits.fixedDepth = true;
  limits.depthLimit = 3;
  c->root_depth = 3;
  poll(*c);
  EXPECT_FALSE(state.stop);
  c->root_depth = 4;
  poll(*c);
  EXPECT_TRUE(state.stop);
  // Without a completed iteration the poll returns instead of jumping.
  EXPECT_FALSE(state.have_move);

  resetSearch(*c);
  limits.timed = true;
  limits.hardLimit = 1.0;
  limits.targetTime = 5.0;
  search_clock.running = true;
  search_clock.start = now_seconds() - 1.5;  // past the hard limit
  poll(*c);
  EXPECT_TRUE(state.stop);

  resetSearch(*c);
  limits.timed = true;
  limits.hardLimit = 10.0;
  limits.targetTime = 1.0;
  search_clock.running = true;
  search_clock.start = now_seconds() - 1.5;  // past the target, first root move
  state.current_move_index = 1;
  poll(*c);
  EXPECT_FALSE(state.stop);  // only while the first root move is searched
  state.current_move_index = 0;
  state.score_dropped = true;
  poll(*c);
  EXPECT_FALSE(state.stop);  // nor after a score drop
  state.score_dropped = false;
  poll(*c);
  EXPECT_TRUE(state.stop);
  search_clock.running = false;
}

TEST_F(TimeControl, MovetimeStopsAtTheHardLimitNotTheTarget) {
  // A fixed move time of 0.3 s sets a target five times as long; the
  // search ends at the first poll after the hard limit.
  setup("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1");
  limits.timed = true;
  limits.hardLimit = 0.3;
  limits.targetTime = 1.5;
  const double start = now_seconds();
  think(*c);
  const double took = now_seconds() - start;
  EXPECT_NE(state.best_move, 0u);
  EXPECT_GE(search_clock.elapsed, 0.3);
  EXPECT_LT(took, 1.5);
}

namespace {

// Stands in for a protocol: lines trickle in through a pipe on descriptor 0
// and this handler reads one per call; once the search has reached its
// fifth iteration it asks it to stop, as "stop" would.
bool stop_after_depth_five(chess& c) {
  char line[16];
  read_line(line, sizeof line);
  if (c.root_depth >= 5) state.stop_command = true;
  return false;
}

}  // namespace

TEST_F(TimeControl, InfiniteIgnoresDepthAndTimeUntilACommandStopsIt) {
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  const int saved_stdin = dup(0);
  dup2(fds[0], 0);
  close(fds[0]);
  std::atomic<bool> done{false};
  std::thread writer([&] {
    while (!done) {
      if (write(fds[1], "x\n", 2) != 2) break;
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  });

  setup("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1");
  limits.infinite = true;
  limits.fixedDepth = true;
  limits.depthLimit = 2;
  limits.timed = true;
  limits.hardLimit = 0.0;
  limits.targetTime = 0.0;
  c->poll_input = stop_after_depth_five;
  think(*c);
  c->poll_input = nullptr;
  EXPECT_GE(c->root_depth, 5);  // neither the depth nor the time limit ended it
  EXPECT_TRUE(state.stop_command);
  EXPECT_NE(state.best_move, 0u);

  done = true;
  writer.join();
  close(fds[1]);
  dup2(saved_stdin, 0);
  close(saved_stdin);
}

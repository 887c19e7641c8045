#include <gtest/gtest.h>

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "io/input.h"

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

TEST_F(TimeControl, ResetClearsTheLimitsOnlyWhenAsked) {
  s->limits.fixed_depth = true;
  s->limits.depth_limit = 5;
  s->limits.timed = true;
  s->limits.infinite = true;
  s->limits.analysis = true;
  s->reset(false);  // the xboard side keeps its limits from move to move
  EXPECT_TRUE(s->limits.fixed_depth);
  EXPECT_EQ(s->limits.depth_limit, 5);
  EXPECT_TRUE(s->limits.timed);
  EXPECT_TRUE(s->limits.infinite);
  EXPECT_FALSE(s->limits.analysis);  // always cleared
  s->reset(true);
  EXPECT_FALSE(s->limits.fixed_depth);
  EXPECT_EQ(s->limits.depth_limit, 0);
  EXPECT_FALSE(s->limits.timed);
  EXPECT_FALSE(s->limits.infinite);
  EXPECT_EQ(s->nodes, 0);
  EXPECT_EQ(s->state.best_move, 0u);
  EXPECT_EQ(s->pv[0], 0u);
}

TEST_F(TimeControl, ClockRunsOnlyWhileRunning) {
  s->clock = SearchClock{};
  s->update_clock();
  EXPECT_EQ(s->clock.elapsed, 0);
  s->clock.running = true;
  s->clock.start = now_seconds() - 2.0;
  s->nodes = 1000;
  s->update_clock();
  EXPECT_NEAR(s->clock.elapsed, 2.0, 0.5);
  EXPECT_NEAR(s->clock.nps, 500, 150);
  EXPECT_EQ(s->clock.cpu_load, 0);
  s->clock.start = now_seconds() + 100;  // never below zero
  s->update_clock();
  EXPECT_EQ(s->clock.elapsed, 0);
  s->clock.running = false;
}

TEST_F(TimeControl, PollSetsTheStopFlagFromTheLimits) {
  setup("4k3/8/8/8/8/8/8/4K2R w - - 0 1");
  s->limits.fixed_depth = true;
  s->limits.depth_limit = 3;
  s->root_depth = 3;
  s->poll();
  EXPECT_FALSE(s->state.stop);
  s->root_depth = 4;
  s->poll();
  EXPECT_TRUE(s->state.stop);
  // Without a completed iteration the poll returns instead of jumping.
  EXPECT_FALSE(s->state.have_move);

  s->reset(true);
  s->limits.timed = true;
  s->limits.hard_limit = 1.0;
  s->limits.target_time = 5.0;
  s->clock.running = true;
  s->clock.start = now_seconds() - 1.5;  // past the hard limit
  s->poll();
  EXPECT_TRUE(s->state.stop);

  s->reset(true);
  s->limits.timed = true;
  s->limits.hard_limit = 10.0;
  s->limits.target_time = 1.0;
  s->clock.running = true;
  s->clock.start = now_seconds() - 1.5;  // past the target, first root move
  s->state.current_move_index = 1;
  s->poll();
  EXPECT_FALSE(s->state.stop);  // only while the first root move is searched
  s->state.current_move_index = 0;
  s->state.score_dropped = true;
  s->poll();
  EXPECT_FALSE(s->state.stop);  // nor after a score drop
  s->state.score_dropped = false;
  s->poll();
  EXPECT_TRUE(s->state.stop);
  s->clock.running = false;
}

TEST_F(TimeControl, MovetimeStopsAtTheHardLimitNotTheTarget) {
  // A fixed move time of 0.3 s sets a target five times as long; the
  // search ends at the first poll after the hard limit.
  setup("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1");
  s->limits.timed = true;
  s->limits.hard_limit = 0.3;
  s->limits.target_time = 1.5;
  const double start = now_seconds();
  s->think(c->pos);
  const double took = now_seconds() - start;
  EXPECT_NE(s->state.best_move, 0u);
  EXPECT_GE(s->clock.elapsed, 0.3);
  EXPECT_LT(took, 1.5);
}

namespace {

// Stands in for a protocol: once the search has reached its fifth
// iteration it asks it to stop, as "stop" would.
class StopAfterDepthFive : public SearchListener {
 public:
  bool keep_searching(Search& s) override {
    if (s.root_depth >= 5) s.state.stop_command = true;
    return true;
  }
};

}  // namespace

TEST_F(TimeControl, InfiniteIgnoresDepthAndTimeUntilACommandStopsIt) {
  setup("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1");
  s->limits.infinite = true;
  s->limits.fixed_depth = true;
  s->limits.depth_limit = 2;
  s->limits.timed = true;
  s->limits.hard_limit = 0.0;
  s->limits.target_time = 0.0;
  StopAfterDepthFive listener;
  s->set_listener(&listener);
  s->think(c->pos);
  s->set_listener(nullptr);
  EXPECT_GE(s->root_depth, 5);  // neither the depth nor the time limit ended it
  EXPECT_TRUE(s->state.stop_command);
  EXPECT_NE(s->state.best_move, 0u);
}

// A listener that gives the search up ends it at once, before its first
// iteration is complete, without a move to play.
TEST_F(TimeControl, ListenerGivesTheSearchUp) {
  class GiveUp : public SearchListener {
   public:
    bool keep_searching(Search&) override { return false; }
  } listener;
  setup("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1");
  s->set_poll_interval(1);
  s->reset(true);
  s->set_listener(&listener);
  s->think(c->pos);
  s->set_listener(nullptr);
  EXPECT_TRUE(s->state.abandoned);
  EXPECT_FALSE(s->state.have_move);
  EXPECT_LT(s->nodes, 10);
}

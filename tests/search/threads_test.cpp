// Helper searches in process: several threads on one table give a legal
// move, stop with the main search whatever ends it, are made once and kept,
// and change count only between searches.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <thread>

#include "position/fen.h"
#include "position/movegen.h"
#include "search/helpers.h"
#include "tests/search/search_fixture.h"

using namespace orvo;

namespace {

class Threads : public orvo::test::SearchTest {
 protected:
  bool legal(Move m) {
    board b = c->pos;
    if (!is_generated(b, m)) return false;
    undo u;
    return make(b, m, u);
  }
};

constexpr const char* POSITIONS[] = {
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
    "6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - 0 1",
};

// Stops the search once it has run this many of its own nodes.
class StopAfter : public SearchListener {
 public:
  explicit StopAfter(i64 n) : n_(n) {}
  bool keep_searching(Search& s) override {
    if (s.nodes >= n_) s.state.stop_command = true;
    return true;
  }

 private:
  i64 n_;
};

}  // namespace

TEST_F(Threads, SeveralThreadsGiveALegalMoveAtEveryDepth) {
  s->set_threads(4);
  for (const char* fen : POSITIONS) {
    for (int depth : {1, 3, 6}) {
      const Move m = think_depth(fen, depth);
      EXPECT_TRUE(legal(m)) << fen << " depth " << depth;
      EXPECT_EQ(s->state.best_depth, depth) << fen;
      EXPECT_GE(s->total_nodes(), s->nodes);
    }
  }
}

TEST_F(Threads, HelpersStopWithAStopCommandAndWithAnAnalysis) {
  s->set_threads(3);
  StopAfter listener(200000);
  s->set_listener(&listener);
  setup(POSITIONS[0]);
  s->limits.infinite = true;
  const Move m = s->think(c->pos);
  EXPECT_TRUE(legal(m));
  EXPECT_TRUE(s->state.stop_command);
  // The helpers searched too, and stopped: the next search starts at once.
  EXPECT_GT(s->total_nodes(), s->nodes);
  s->set_listener(nullptr);
  EXPECT_TRUE(legal(think_depth(POSITIONS[1], 4)));
}

TEST_F(Threads, GivingUpStopsTheHelpersToo) {
  class GiveUpLater : public SearchListener {
   public:
    bool keep_searching(Search& s) override { return s.nodes < 50000; }
  } listener;
  s->set_threads(4);
  s->set_listener(&listener);
  setup(POSITIONS[0]);
  s->limits.infinite = true;
  s->think(c->pos);
  EXPECT_TRUE(s->state.abandoned);
  s->set_listener(nullptr);
  EXPECT_TRUE(legal(think_depth(POSITIONS[2], 3)));
}

TEST_F(Threads, CountChangesBetweenSearchesAndManySearchesRunClean) {
  for (int round = 0; round < 3; ++round) {
    for (int threads : {1, 2, 4, 3, 1}) {
      s->set_threads(threads);
      EXPECT_EQ(s->threads(), threads);
      EXPECT_TRUE(legal(think_depth(POSITIONS[round], 4)));
    }
  }
  s->set_threads(0);
  EXPECT_EQ(s->threads(), 1);
  s->set_threads(100000);
  EXPECT_EQ(s->threads(), MAX_THREADS);
}

TEST_F(Threads, OneThreadIsTheSearchOfOneThread) {
  // The signature of a single-threaded search does not see the helpers'
  // code at all: the same nodes with and without a pool used before.
  const Move alone = think_depth(POSITIONS[0], 6);
  const i64 nodes_alone = s->nodes;
  s->set_threads(3);
  think_depth(POSITIONS[0], 6);
  s->set_threads(1);
  tt->clear();
  const auto fresh = std::make_unique<Search>(*tt);
  board b;
  set_position(b, POSITIONS[0]);
  fresh->reset(true);
  fresh->ordering.clear_killers();
  fresh->limits.fixed_depth = true;
  fresh->limits.depth_limit = 6;
  EXPECT_EQ(fresh->think(b), alone);
  EXPECT_EQ(fresh->nodes, nodes_alone);
  EXPECT_EQ(fresh->total_nodes(), fresh->nodes);
}

namespace {

// Black has neither rook nor queen, so that a child of the root (Black to
// move) never takes the null move's cut-off, which stores nothing.
constexpr const char* NO_NULL_MOVE_FOR_BLACK = "4k3/pppppppp/8/8/8/8/PPPPPPPP/R3K2R w KQ - 0 1";

// The table's entry for the key, from either table; depth -1 if none.
int stored_depth(const hash& tt, u64 key) {
  const TTSlot p = tt.primary[key & tt.primary_mask].read();
  if (p.key == key) return p.depth;
  const TTSlot s = tt.secondary[key & tt.secondary_mask].read();
  return s.key == key ? s.depth : -1;
}

}  // namespace

TEST_F(Threads, AHelperSearchesASplitPointsMovesAndLeavesTheMainSearchsMoveAlone) {
  setup(NO_NULL_MOVE_FOR_BLACK);
  MoveList list;
  generate_all(c->pos, list);
  u64 child[MAX_MOVES];
  for (int i = 0; i < list.count; ++i) {
    board b = c->pos;
    undo u;
    ASSERT_TRUE(make(b, list.moves[i], u));
    child[i] = b.key;
  }
  HelperPool pool(*tt, nullptr);
  pool.resize(1);
  pool.start(c->pos);
  // A window no move reaches: every child fails high at once and stores a
  // lower bound with the split's depth less a ply (no move here extends).
  constexpr int DEPTH = 6 * PLY, CHILD_DEPTH = DEPTH - PLY, ALPHA = MATE - 1000;
  SplitPoint& sp = pool.split_point(0);
  pool.open_split(sp, c->pos, DEPTH, 0, false, false, ALPHA, list.moves, list.count);
  // The main search stays on move 0; wait (at most ten seconds) until the
  // helper has been through the others.
  int done = 0;
  for (int wait = 0; wait < 1000 && done < list.count - 1; ++wait) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    done = 0;
    for (int i = 1; i < list.count; ++i) done += stored_depth(*tt, child[i]) >= CHILD_DEPTH;
  }
  EXPECT_EQ(done, list.count - 1);
  EXPECT_FALSE(sp.has_work());
  // Every move the helper could take is taken: the next one would be the
  // main search's own (move 0), which it leaves alone.
  EXPECT_LE(sp.tail.load() - 1, sp.main_index.load());
  HelperPool::close_split(sp);
  pool.stop();
  // Move 0's child is not looked at here: between the splits a helper runs
  // its own iterations from the root, and a fast build reaches that depth
  // there within milliseconds. That a helper never takes a move at or below
  // the main search's is AHelperTakesNoMoveTheMainSearchHasReached.
  EXPECT_GT(pool.nodes(), 0);
}

TEST_F(Threads, AHelperTakesNoMoveTheMainSearchHasReached) {
  setup(POSITIONS[2]);
  MoveList list;
  generate_all(c->pos, list);
  HelperPool pool(*tt, nullptr);
  pool.resize(1);
  pool.start(c->pos);
  SplitPoint& sp = pool.split_point(0);
  pool.open_split(sp, c->pos, 5 * PLY, 0, false, false, MATE - 1000, list.moves, list.count);
  HelperPool::main_at(sp, list.count - 1);
  EXPECT_FALSE(sp.has_work());
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  // Nothing was taken: the next move a helper would take is still the last.
  EXPECT_EQ(sp.tail.load(), list.count);
  HelperPool::close_split(sp);
  pool.stop();
}

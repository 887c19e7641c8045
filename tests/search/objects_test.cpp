// The search as an object: two of them in one process know nothing of each
// other, and any listener can hear a search, not only the protocols.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "eval/eval.h"
#include "position/fen.h"
#include "position/tables.h"
#include "search/bench.h"
#include "search/hash.h"
#include "search/search.h"

using namespace orvo;

namespace {

struct Outcome {
  Move move = 0;
  int score = 0;
  i64 nodes = 0;
  std::vector<Move> pv;
  bool operator==(const Outcome&) const = default;
};

// One search object with its own table.
struct Searcher {
  Searcher() {
    tt.resize(8);
    search = std::make_unique<Search>(tt);
  }
  Outcome run(const char* fen, int depth) {
    board b;
    set_position(b, fen);
    search->reset(true);
    search->limits.fixed_depth = true;
    search->limits.depth_limit = depth;
    Outcome o;
    o.move = search->think(b);
    o.score = search->state.best_score;
    o.nodes = search->nodes;
    for (int i = 0; search->pv[i]; ++i) o.pv.push_back(search->pv[i]);
    return o;
  }
  hash tt;
  std::unique_ptr<Search> search;
};

constexpr const char* KIWIPETE = "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1";
constexpr const char* ENDGAME = "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1";

Outcome alone(const char* fen, int depth) {
  auto s = std::make_unique<Searcher>();
  return s->run(fen, depth);
}

}  // namespace

TEST(SearchObjects, TwoInOneProcessGiveWhatEachGivesAlone) {
  init_tables();
  build_eval_tables();
  const Outcome a = alone(KIWIPETE, 6);
  const Outcome b = alone(ENDGAME, 8);
  auto first = std::make_unique<Searcher>();
  auto second = std::make_unique<Searcher>();
  EXPECT_EQ(first->run(KIWIPETE, 6), a);
  EXPECT_EQ(second->run(ENDGAME, 8), b);
  // In the other order too, and each object still gives what it gave.
  auto third = std::make_unique<Searcher>();
  auto fourth = std::make_unique<Searcher>();
  EXPECT_EQ(third->run(ENDGAME, 8), b);
  EXPECT_EQ(fourth->run(KIWIPETE, 6), a);
  EXPECT_GT(a.nodes, 1000);
  EXPECT_NE(a.nodes, b.nodes);
}

namespace {

// Neither protocol: it counts what it hears.
class Counting : public SearchListener {
 public:
  void search_started(const Search&) override { ++started; }
  void root_move(const Search&) override { ++root_moves; }
  void new_best(const Search& s) override {
    ++bests;
    EXPECT_NE(s.pv[0], 0u);
  }
  void iteration_done(const Search&, int depth) override {
    ++iterations;
    deepest = depth > deepest ? depth : deepest;
  }
  void progress(const Search&) override { ++polls; }
  bool keep_searching(Search&) override { return true; }
  void search_done(const Search&) override { ++done; }
  int started = 0, root_moves = 0, bests = 0, iterations = 0, deepest = 0, polls = 0, done = 0;
};

}  // namespace

TEST(SearchObjects, TheBenchmarkRunsWithAListenerOfItsOwn) {
  Counting heard;
  const BenchResult with = run_bench(4, &heard);
  const BenchResult without = run_bench(4);
  EXPECT_EQ(with.positions, bench_position_count);
  EXPECT_EQ(with.nodes, without.nodes);  // listening changes nothing
  EXPECT_EQ(heard.started, bench_position_count);
  EXPECT_EQ(heard.done, bench_position_count);
  EXPECT_EQ(heard.iterations, 4 * bench_position_count);
  EXPECT_EQ(heard.deepest, 4);
  EXPECT_GE(heard.bests, heard.iterations);
  EXPECT_GT(heard.root_moves, heard.iterations);
  EXPECT_GT(heard.polls, 0);
}

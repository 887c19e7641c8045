#include "search/bench.h"

#include <memory>

#include "position/fen.h"
#include "search/hash.h"
#include "search/search.h"

namespace orvo {

const char* const bench_positions[] = {
    // openings
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
    "rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq e6 0 2",
    "r1bqkbnr/pppp1ppp/2n5/1B2p3/4P3/5N2/PPPP1PPP/RNBQK2R b KQkq - 3 3",
    "rnbqkb1r/pp2pppp/3p1n2/8/3NP3/8/PPP2PPP/RNBQKB1R w KQkq - 1 5",
    "rnbqkb1r/ppp1pp1p/5np1/3p4/2PP4/2N5/PP2PPPP/R1BQKBNR w KQkq d6 0 4",
    "r1bqk2r/pppp1ppp/2n2n2/2b1p3/2B1P3/3P1N2/PPP2PPP/RNBQK2R w KQkq - 4 5",
    "rnbqk2r/ppp1bppp/4pn2/3p4/2PP4/5NP1/PP2PPBP/RNBQK2R b KQkq - 2 5",
    "r1bqkb1r/1ppp1ppp/p1n2n2/4p3/B3P3/5N2/PPPP1PPP/RNBQK2R w KQkq - 2 5",
    "rnbqkbnr/pp1ppppp/8/2p5/4P3/5N2/PPPP1PPP/RNBQKB1R b KQkq - 1 2",
    "rnbq1rk1/ppp1ppbp/3p1np1/8/2PPP3/2N2N2/PP3PPP/R1BQKB1R w KQ - 2 6",
    // middlegames
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
    "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10",
    "r1bq1rk1/pp2bppp/2n1pn2/3p4/2PP4/2N1PN2/PP1B1PPP/R2QKB1R w KQ - 3 8",
    "2rq1rk1/pp1bppbp/3p1np1/8/3NP3/1BN1BP2/PPPQ2PP/2KR3R b - - 6 12",
    "r2q1rk1/1b2bppp/p2ppn2/1p6/3NP3/1BN1B3/PPP2PPP/R2Q1RK1 w - - 0 12",
    "r1b2rk1/2q1bppp/p2ppn2/1p6/3NPP2/2N1B3/PPP1B1PP/R2Q1R1K w - - 0 12",
    "2kr3r/pp1q1ppp/2nbpn2/3p4/3P4/2PB1N2/PP1N1PPP/R2Q1RK1 w - - 4 12",
    "r2qr1k1/pb1nbppp/1p2pn2/2pp4/3P4/1P1BPN2/PBPN1PPP/R2Q1RK1 w - - 2 11",
    "r1bqr1k1/pp1n1pbp/2pp1np1/4p3/2PPP3/2N1BP2/PP1QN1PP/R3KB1R w KQ - 2 9",
    "3r1rk1/p1q2ppp/1pn1pn2/2b5/2P5/P1N1PN2/1PQ1BPPP/R4RK1 w - - 2 14",
    // endgames
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
    "8/8/4k3/3p4/3P4/4K3/8/8 w - - 0 1",
    "8/5pk1/6p1/7p/7P/6P1/5PK1/8 w - - 0 1",
    "4k3/8/8/8/8/8/4P3/4K3 w - - 0 1",
    "8/8/8/4k3/8/8/3K4/4R3 w - - 0 1",
    "6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - 0 1",
    "8/3k4/8/2pP4/2P5/3K4/8/8 w - - 0 1",
    "1r4k1/5ppp/8/8/8/8/5PPP/2R3K1 w - - 0 1",
    "8/6k1/8/4B3/8/3N4/8/K7 w - - 0 1",
    "2k5/8/1K6/8/8/8/6Q1/8 w - - 0 1",
    "8/p7/1p6/8/8/1P6/P5k1/5K2 w - - 0 1",
    "5rk1/5ppp/8/8/8/8/5PPP/R5K1 b - - 0 1",
};
const int bench_position_count = int(sizeof bench_positions / sizeof bench_positions[0]);

BenchResult run_bench(int depth, SearchListener* listener) {
  // Large objects: on the heap, not on the caller's stack.
  auto tt = std::make_unique<hash>();
  tt->resize(BENCH_HASH_MB);
  auto search = std::make_unique<Search>(*tt);
  search->set_listener(listener);
  auto position = std::make_unique<board>();
  BenchResult result;
  const double start = now_seconds();
  for (int i = 0; i < bench_position_count; ++i) {
    set_position(*position, bench_positions[i]);
    tt->clear();
    search->reset(true);
    search->limits.fixed_depth = true;
    search->limits.depth_limit = depth;
    search->think(*position);
    result.nodes += search->nodes;
    ++result.positions;
  }
  result.seconds = now_seconds() - start;
  return result;
}

}  // namespace orvo

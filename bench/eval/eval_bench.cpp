// Evaluation throughput: full evaluations per second (the window is open,
// so the lazy exit never cuts one short) over a fixed set of openings,
// middlegames and endgames, with warm caches. Release build only.
#include <chrono>
#include <memory>
#include <cstdio>
#include <vector>

#include "eval/eval.h"
#include "position/fen.h"
#include "position/tables.h"

namespace {

const char* const positions[] = {
    // Openings
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
    "rnbqkbnr/pppp1ppp/8/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R b KQkq - 1 2",
    "r1bqkbnr/pppp1ppp/2n5/1B2p3/4P3/5N2/PPPP1PPP/RNBQK2R b KQkq - 3 3",
    "rnbqkb1r/pp2pppp/3p1n2/8/3NP3/8/PPP2PPP/RNBQKB1R w KQkq - 1 5",
    "rnbqk2r/ppp1ppbp/3p1np1/8/2PPP3/2N5/PP3PPP/R1BQKBNR w KQkq - 0 5",
    "r1bqkb1r/pppp1ppp/2n2n2/4p3/2B1P3/5N2/PPPP1PPP/RNBQK2R w KQkq - 4 4",
    "rnbqkb1r/p1pp1ppp/1p2pn2/8/2PP4/5N2/PP2PPPP/RNBQKB1R w KQkq - 0 4",
    // Middlegames
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
    "r1bq1rk1/pp2bppp/2n1pn2/3p4/2PP4/2N1PN2/PP3PPP/R1BQKB1R w KQ - 0 8",
    "r4rk1/1b3ppp/pq2p3/1pn5/4P3/P1N1BP2/1PQ3PP/2RR2K1 w - - 0 20",
    "2kr3r/ppp2ppp/2n5/3q4/3P4/2P2N2/P4PPP/R2QR1K1 b - - 0 15",
    "r2q1rk1/1p1nbppp/p2pbn2/4p3/4P3/1NN1BP2/PPPQ2PP/2KR1B1R w - - 2 10",
    "r1b2rk1/2q1bppp/p2p1n2/np2p3/3PP3/5N1P/PPBN1PP1/R1BQR1K1 w - - 0 13",
    "2r2rk1/pp1bqpp1/2nppn1p/8/3NP3/1BN1BP2/PPPQ2PP/2KR3R w - - 0 14",
    "r4rk1/pp3ppp/2n1b3/q1pp4/3P4/P1P1PN2/2Q2PPP/R3KB1R w KQ - 0 13",
    // Endgames
    "2r3k1/5ppp/p3p3/1p1nP3/3P4/P2B1N2/1P3PPP/2R3K1 b - - 0 25",
    "8/5pk1/6p1/3P4/8/6P1/5PK1/8 w - - 0 40",
    "8/8/4k3/8/2PK4/8/8/8 b - - 0 60",
    "6k1/6pp/8/8/8/8/r5PP/3R2K1 w - - 0 30",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
    "8/8/8/3k4/8/8/1Q6/4K3 w - - 0 1",
    "8/8/3k4/8/8/2K2N2/8/5B2 w - - 0 1",
    "4k3/8/8/8/8/8/4P3/4K3 w - - 0 1",
    "8/pp3pk1/2p3p1/3p4/3P4/2P3P1/PP3PK1/8 b - - 0 35",
    "5rk1/5ppp/8/8/8/8/5PPP/3R2K1 w - - 0 30",
};

}  // namespace

int main() {
  orvo::init_tables();
  orvo::build_eval_tables();
  auto evaluator = std::make_unique<orvo::Evaluator>();
  evaluator->set_root_castle(15);

  std::vector<orvo::board> boards;
  for (const char* f : positions) {
    orvo::board b;
    orvo::set_position(b, f);
    boards.push_back(b);
  }
  const int n = int(boards.size());

  // Warm the caches, and print each position's score once.
  long long checksum = 0;
  for (int i = 0; i < n; ++i) {
    const int s = evaluator->evaluate(boards[i], -30000, 30000);
    std::printf("%6d  %s\n", s, positions[i]);
  }

  const int rounds = 200000;
  auto start = std::chrono::steady_clock::now();
  for (int r = 0; r < rounds; ++r)
    for (int i = 0; i < n; ++i) checksum += evaluator->evaluate(boards[i], -30000, 30000);
  const double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const double evals = double(rounds) * n;
  std::printf("%d positions, %.0f full evaluations in %.3f s = %.2f M evaluations/s (checksum %lld)\n",
              n, evals, s, evals / s / 1e6, checksum);
  return 0;
}

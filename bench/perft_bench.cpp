// Perft throughput: moves made per second (every move is made, counted and
// taken back; no bulk counting, no hashing). Release build only.
#include <chrono>
#include <cstdio>

#include "position/fen.h"
#include "position/perft.h"
#include "position/tables.h"

namespace {

struct Case {
  const char* name;
  const char* fen;
  int depth;
  long long expected;  // leaf count at the last level
};

const Case cases[] = {
    {"start position", "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1", 6, 119060324},
    {"Kiwipete", "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1", 5,
     193690690},
};

}  // namespace

int main() {
  orvo::init_tables();
  int failures = 0;
  for (const Case& c : cases) {
    orvo::board b;
    orvo::set_position(b, c.fen);
    auto start = std::chrono::steady_clock::now();
    const orvo::PerftCounts counts = orvo::perft_run(b, c.depth);
    double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    long long made = 0;
    for (int l = 0; l < c.depth; ++l) made += counts.moves[l];
    long long leaves = counts.moves[c.depth - 1];
    if (leaves != c.expected) ++failures;
    std::printf("%-15s perft %d: %lld leaves (%s), %lld moves made in %.3f s = %.1f M moves/s\n",
                c.name, c.depth, leaves, leaves == c.expected ? "correct" : "WRONG", made, s,
                made / s / 1e6);
  }
  return failures ? 1 : 0;
}

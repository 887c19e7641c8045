#include "engine/bench_command.h"

#include <cstdlib>

#include "io/output.h"
#include "search/bench.h"
#include "search/search.h"

namespace orvo {

namespace {

// The deepest benchmark search: the iterations go no further.
constexpr int BENCH_MAX_DEPTH = MAX_PLY + 1;

}  // namespace

int bench_command(int argc, char** argv) {
  int depth = BENCH_DEPTH;
  if (argc >= 1) {
    char* end = nullptr;
    const long d = std::strtol(argv[0], &end, 10);
    if (!*argv[0] || *end || d < 1 || d > BENCH_MAX_DEPTH) {
      err("orvo bench: the depth must be a number from 1 to %d\n", BENCH_MAX_DEPTH);
      return 2;
    }
    depth = int(d);
  }
  const BenchResult r = run_bench(depth);
  out("positions %d depth %d time %.3f s\n", r.positions, depth, r.seconds);
  out("%lld nodes %.0f nps\n", static_cast<long long>(r.nodes), r.nps());
  return 0;
}

}  // namespace orvo

// The benchmark: a fixed set of positions, each searched to a fixed depth
// from a cleared table by one search object, without output. The node
// total is a signature of the search: it changes only when a change is
// meant to change the search.
#pragma once
#include "position/types.h"

namespace orvo {

class SearchListener;

// The depth whose node total is the search's signature.
constexpr int BENCH_DEPTH = 8;
// The table the benchmark searches with, in megabytes.
constexpr int BENCH_HASH_MB = 32;

struct BenchResult {
  int positions = 0;
  i64 nodes = 0;
  double seconds = 0;
  double nps() const { return seconds > 0 ? double(nodes) / seconds : 0; }
};

// The benchmark positions, as FEN, and their number.
extern const char* const bench_positions[];
extern const int bench_position_count;

// Searches every position to depth plies with a fresh search object and
// table. The listener hears the searches (null: nobody does).
BenchResult run_bench(int depth, SearchListener* listener = nullptr);

}  // namespace orvo

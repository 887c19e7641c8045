// Bitbase speed: probes per second of the bitbase library on Debian's
// Gaviota tables, cold (each position's first probe after a fresh load,
// which reads and unpacks table blocks) and cached (the same positions
// again), and the nodes per second of searches of king and rook against
// king to a fixed depth with and without bitbases.
// Usage: egbb_bench [depth]   (default 16; release build)
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <vector>

#include "position/fen.h"
#include "search/hash.h"
#include "search/search.h"
#include "tools/egbb.h"
#include "eval/eval.h"
#include "search/hash.h"
#include "search/search.h"
#include "tools/egbb.h"
#include "tools/ini.h"

namespace {

using LoadFunction = int (*)(char*, int, int);
using ProbeFunction = int (*)(int, int, int, int, int, int, int, int, int);

struct Probe {
  int side, white_king, black_king, piece, square;
};

// Random placements of a queen, rook or pawn (either colour) with the two
// kings; illegal ones are answered quickly and left out of the figures.
std::vector<Probe> random_probes(int count, unsigned seed) {
  std::mt19937 rng(seed);
  const int codes[] = {2, 3, 6, 8, 9, 12};
  std::vector<Probe> out;
  while (int(out.size()) < count) {
    Probe p{int(rng() % 2), int(rng() % 64), int(rng() % 64), codes[rng() % 6], 0};
    const bool pawn = p.piece == 6 || p.piece == 12;
    p.square = pawn ? 8 + int(rng() % 48) : int(rng() % 64);
    if (p.white_king == p.black_king || p.square == p.white_king || p.square == p.black_king)
      continue;
    out.push_back(p);
  }
  return out;
}

double probe_all(ProbeFunction probe, const std::vector<Probe>& probes, long& known) {
  const double start = orvo::now_seconds();
  for (const Probe& p : probes)
    if (probe(p.side, p.white_king, p.black_king, p.piece, p.square, 0, 0, 0, 0) != 99999)
      ++known;
  return orvo::now_seconds() - start;
}

void library_figures() {
  void* h = dlopen(ORVO_EGBB_DIR "/egbbdll.dll", RTLD_NOW | RTLD_LOCAL);
  if (!h) {
    std::printf("library: %s\n", dlerror());
    return;
  }
  auto load = reinterpret_cast<LoadFunction>(dlsym(h, "load_egbb_5men"));
  auto probe = reinterpret_cast<ProbeFunction>(dlsym(h, "probe_egbb_5men"));
  char path[] = ORVO_EGBB_DIR "/";
  constexpr int ROUNDS = 20, PER_ROUND = 20000;
  double cold = 0, cached = 0;
  long cold_known = 0, cached_known = 0;
  for (int r = 0; r < ROUNDS; ++r) {
    // A fresh load empties the cache.
    if (load(path, orvo::EGBB_CACHE_SIZE, orvo::EGBB_LOAD_OPTIONS) != 1) {
      std::printf("library: no tables\n");
      return;
    }
    const auto probes = random_probes(PER_ROUND, unsigned(r + 1));
    cold += probe_all(probe, probes, cold_known);
    cached += probe_all(probe, probes, cached_known);
  }
  const double n = double(ROUNDS) * PER_ROUND;
  std::printf("library probes (%d rounds of %d positions, %ld answered per pass)\n", ROUNDS,
              PER_ROUND, cold_known / ROUNDS);
  std::printf("  cold   %10.0f probes/s\n", n / cold);
  std::printf("  cached %10.0f probes/s\n", n / cached);
  dlclose(h);
}

const char* const krk[] = {
    "8/8/8/4k3/8/8/8/KR6 w - - 0 1",       "8/8/8/3k4/8/8/2K5/7R w - - 0 1",
    "7k/8/8/8/3K4/8/8/R7 w - - 0 1",       "8/8/3k4/8/8/5R2/8/6K1 b - - 0 1",
    "8/2k5/8/8/8/8/6R1/7K w - - 0 1",      "8/8/8/8/4k3/8/1R6/K7 b - - 0 1",
};

// Each position searched to a fixed depth from a cleared table, without
// output.
void search_figures(orvo::Search& s, int depth, const char* label) {
  long long total = 0;
  const double start = orvo::now_seconds();
  orvo::board b;
  for (const char* fen : krk) {
    orvo::set_position(b, fen);
    s.table().clear();
    s.reset(true);
    s.limits.fixed_depth = true;
    s.limits.depth_limit = depth;
    s.think(b);
    total += s.nodes;
  }
  const double seconds = orvo::now_seconds() - start;
  std::printf("KRK search, %s: %d positions depth %d: nodes %lld time %.3f s nps %.0f\n", label,
              int(sizeof krk / sizeof *krk), depth, total, seconds, total / seconds);
}

}  // namespace

int main(int argc, char** argv) {
  const int depth = argc > 1 ? std::atoi(argv[1]) : 16;
  library_figures();
  auto tt = std::make_unique<orvo::hash>();
  tt->resize(32);
  auto bitbases = std::make_unique<orvo::Bitbases>();
  auto search = std::make_unique<orvo::Search>(*tt, bitbases.get());
  search_figures(*search, depth, "without bitbases");
  if (!bitbases->load(ORVO_EGBB_DIR "/")) return 1;
  search_figures(*search, depth, "with bitbases   ");
  return 0;
}

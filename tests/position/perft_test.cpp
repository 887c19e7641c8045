#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "position/fen.h"
#include "position/perft.h"
#include "tests/support/data.h"
#include "tests/support/positions.h"

using namespace orvo;
using orvo::test::from_fen;

namespace {

struct Row {
  long long moves, captures, ep, promotions, castles;
};

void expect_rows(const char* fen, const std::vector<Row>& rows) {
  board b = from_fen(fen);
  const PerftCounts perft_counts = perft_run(b, int(rows.size()));
  for (size_t l = 0; l < rows.size(); ++l) {
    EXPECT_EQ(perft_counts.moves[l], rows[l].moves) << fen << " level " << l + 1;
    EXPECT_EQ(perft_counts.captures[l], rows[l].captures) << fen << " level " << l + 1;
    EXPECT_EQ(perft_counts.ep[l], rows[l].ep) << fen << " level " << l + 1;
    EXPECT_EQ(perft_counts.promotions[l], rows[l].promotions) << fen << " level " << l + 1;
    EXPECT_EQ(perft_counts.castles[l], rows[l].castles) << fen << " level " << l + 1;
  }
}

void expect_moves(const char* fen, const std::vector<long long>& counts) {
  board b = from_fen(fen);
  const PerftCounts perft_counts = perft_run(b, int(counts.size()));
  for (size_t l = 0; l < counts.size(); ++l)
    EXPECT_EQ(perft_counts.moves[l], counts[l]) << fen << " depth " << l + 1;
}

// Deep levels only in full (non-sanitizer) builds.
size_t depth_for(size_t full, size_t reduced) { return test::sanitized() ? reduced : full; }

std::vector<Row> take(std::vector<Row> rows, size_t n) { return {rows.begin(), rows.begin() + n}; }
std::vector<long long> take(std::vector<long long> v, size_t n) { return {v.begin(), v.begin() + n}; }

}  // namespace

TEST(Perft, StartPosition) {
  std::vector<Row> rows = {{20, 0, 0, 0, 0},       {400, 0, 0, 0, 0},
                           {8902, 34, 0, 0, 0},    {197281, 1576, 0, 0, 0},
                           {4865609, 82719, 258, 0, 0}};
  expect_rows(start_fen, take(rows, depth_for(5, 4)));
}

TEST(Perft, Kiwipete) {
  std::vector<Row> rows = {{48, 8, 0, 0, 2},
                           {2039, 351, 1, 0, 91},
                           {97862, 17102, 45, 0, 3162},
                           {4085603, 757163, 1929, 15172, 128013}};
  expect_rows("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
              take(rows, depth_for(4, 3)));
}

TEST(Perft, Position3) {
  std::vector<Row> rows = {{14, 1, 0, 0, 0},           {191, 14, 0, 0, 0},
                           {2812, 209, 2, 0, 0},       {43238, 3348, 123, 0, 0},
                           {674624, 52051, 1165, 0, 0}, {11030083, 940350, 33325, 7552, 0}};
  expect_rows("8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1", take(rows, depth_for(6, 4)));
}

TEST(Perft, Position4AndItsMirror) {
  std::vector<long long> counts = {6, 264, 9467, 422333, 15833292};
  expect_moves("r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1",
               take(counts, depth_for(5, 3)));
  expect_moves("r2q1rk1/pP1p2pp/Q4n2/bbp1p3/Np6/1B3NBn/pPPP1PPP/R3K2R b KQ - 0 1",
               take(counts, depth_for(4, 3)));
}

TEST(Perft, Position5) {
  std::vector<long long> counts = {44, 1486, 62379, 2103487};
  expect_moves("rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ - 1 8",
               take(counts, depth_for(4, 3)));
}

TEST(Perft, Position6) {
  std::vector<long long> counts = {46, 2079, 89890, 3894594};
  expect_moves("r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10",
               take(counts, depth_for(4, 3)));
}

// Deep counts behind the "long" label: ctest -L long.
TEST(PerftLong, DeepKnownCounts) {
  if (!std::getenv("ORVO_LONG_TESTS")) GTEST_SKIP() << "set ORVO_LONG_TESTS=1 (ctest -L long) for deep perft";
  expect_moves(start_fen, {20, 400, 8902, 197281, 4865609, 119060324});
  expect_moves("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
               {48, 2039, 97862, 4085603, 193690690});
  expect_moves("8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
               {14, 191, 2812, 43238, 674624, 11030083, 178633661});
  expect_moves("r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1",
               {6, 264, 9467, 422333, 15833292, 706045033});
  expect_moves("rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ - 1 8",
               {44, 1486, 62379, 2103487, 89941194});
  expect_moves("r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10",
               {46, 2079, 89890, 3894594, 164075551});
}

// Every suite position to the deepest level whose count stays within a
// node budget; the whole suite at every depth with ORVO_LONG_TESTS.
TEST(Perft, Suite) {
  ORVO_REQUIRE_DATA(path, "perft/perftsuite.epd");
  const bool full = std::getenv("ORVO_LONG_TESTS") != nullptr;
  const long long budget = full ? (1ll << 62) : test::sanitized() ? 30000 : 1500000;
  auto suite = test::read_perft_suite(path);
  ASSERT_EQ(suite.size(), 126u);
  long long total = 0;
  for (const auto& line : suite) {
    size_t depth = 1;
    while (depth + 1 < line.counts.size() && line.counts[depth + 1] <= budget) ++depth;
    board b = from_fen(line.fen);
    const PerftCounts perft_counts = perft_run(b, int(depth));
    for (size_t d = 1; d <= depth; ++d)
      EXPECT_EQ(perft_counts.moves[d - 1], line.counts[d]) << line.fen << " depth " << d;
    total += line.counts[depth];
  }
  RecordProperty("leaves", std::to_string(total));
}

TEST(Perft, CastlesCountOnlyAcceptedCastlings) {
  // Rights present but f1 attacked: the generated e1-g1 is refused.
  board b = from_fen("4kr2/8/8/8/8/8/8/R3K2R w KQ - 0 1");
  EXPECT_EQ(perft_run(b, 1).castles[0], 1);  // only e1-c1
  b = from_fen("4k3/8/8/8/8/8/8/R3K2R w - - 0 1");
  EXPECT_EQ(perft_run(b, 1).castles[0], 0);
}

TEST(Perft, DepthsOutsideTheTablesCountNothing) {
  board b = from_fen(start_fen);
  for (int depth : {0, -3, PERFT_MAX_DEPTH + 1}) {
    const PerftCounts counts = perft_run(b, depth);
    for (int l = 0; l < PERFT_MAX_DEPTH; ++l) EXPECT_EQ(counts.moves[l], 0) << depth;
  }
}

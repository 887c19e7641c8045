#include <gtest/gtest.h>

#include <string>

#include "search/internal.h"
#include "tests/search/search_fixture.h"

using namespace orvo;
using Output = orvo::test::SearchTest;

namespace {

std::string pv_line(chess& c, int score, int bound) {
  state.best_score = score;
  state.best_bound = bound;
  state.best_depth = 7;
  std::fflush(stdout);
  testing::internal::CaptureStdout();
  printPV(c);
  std::fflush(stdout);
  return testing::internal::GetCapturedStdout();
}

}  // namespace

TEST_F(Output, MateScoresInMoves) {
  setup(start_fen);
  c->pv[0] = encode_move(52, 36, 0, 0, PAWN);  // e2e4
  c->pv[1] = 0;
  seldepth = 9;
  nodes = 1234;
  std::string line = pv_line(*c, 29991, 3);
  EXPECT_EQ(line.find("info depth 7 seldepth 9 score mate 5 time "), 0u) << line;
  EXPECT_NE(line.find(" nodes 1234 pv e2e4\n"), std::string::npos) << line;
  line = pv_line(*c, -29990, 3);
  EXPECT_EQ(line.find("info depth 7 seldepth 9 score mate -5 time "), 0u) << line;
  line = pv_line(*c, 35, 2);
  EXPECT_EQ(line.find("info depth 7 seldepth 9 score cp 35 lowerbound time "), 0u) << line;
  line = pv_line(*c, -35, 1);
  EXPECT_EQ(line.find("info depth 7 seldepth 9 score cp -35 upperbound time "), 0u) << line;
  line = pv_line(*c, 29745, 2);
  EXPECT_EQ(line.find("info depth 7 seldepth 9 score mate 128 lowerbound time "), 0u) << line;
  line = pv_line(*c, 29744, 3);
  EXPECT_EQ(line.find("info depth 7 seldepth 9 score cp 29744 time "), 0u) << line;
}

TEST_F(Output, XboardThinkingLine) {
  setup(start_fen);
  c->uci_mode = 0;
  c->post_on = 1;
  c->pv[0] = encode_move(52, 36, 0, 0, PAWN);
  c->pv[1] = encode_move(12, 28, 0, 0, PAWN);  // e7e5
  c->pv[2] = 0;
  nodes = 777;
  std::string line = pv_line(*c, 12, 3);
  EXPECT_EQ(line, "   7     12        0          777 e2e4 e7e5\n");
  c->post_on = 0;
  EXPECT_EQ(pv_line(*c, 12, 3), "");
}

TEST_F(Output, ScoreDropBookkeeping) {
  setup(start_fen);
  c->pv[0] = 0;
  state.previous_score = 100;
  state.easy_move = true;
  pv_line(*c, 50, 3);
  EXPECT_TRUE(state.score_dropped);
  EXPECT_FALSE(state.easy_move);
  pv_line(*c, 51, 3);
  EXPECT_FALSE(state.score_dropped);
}

TEST_F(Output, FirstIterationGivesEveryRootMoveAnExactScore) {
  setup("4k3/8/8/8/8/8/3PP3/4K3 w - - 0 1");
  limits.fixedDepth = true;
  limits.depthLimit = 1;
  think(*c);
  // Every root move was searched with the full window, none cut to alpha.
  int distinct_from_alpha = 0;
  for (int i = 0; i < state.root_count; ++i)
    if (state.root_scores[i] != -MATE) ++distinct_from_alpha;
  EXPECT_EQ(distinct_from_alpha, state.root_count);
}

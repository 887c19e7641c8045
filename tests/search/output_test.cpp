// What the search does around its reports: the score-drop bookkeeping that
// follows a new best move, and exact root scores in the first iteration.
#include <gtest/gtest.h>

#include "tests/search/search_fixture.h"

using namespace orvo;
using Output = orvo::test::SearchTest;

TEST_F(Output, ScoreDropBookkeeping) {
  setup(start_fen);
  s->state.previous_score = 100;
  s->state.best_depth = 7;
  s->state.easy_move = true;
  s->state.best_score = 50;
  s->report_new_best();
  EXPECT_TRUE(s->state.score_dropped);
  EXPECT_FALSE(s->state.easy_move);
  s->state.best_score = 51;
  s->report_new_best();
  EXPECT_FALSE(s->state.score_dropped);
  // Not at depth 1, nor in an analysis.
  s->state.best_depth = 1;
  s->state.best_score = 0;
  s->report_new_best();
  EXPECT_FALSE(s->state.score_dropped);
  s->state.best_depth = 7;
  s->limits.analysis = true;
  s->report_new_best();
  EXPECT_FALSE(s->state.score_dropped);
}

TEST_F(Output, FirstIterationGivesEveryRootMoveAnExactScore) {
  setup("4k3/8/8/8/8/8/3PP3/4K3 w - - 0 1");
  s->limits.fixed_depth = true;
  s->limits.depth_limit = 1;
  s->think(c->pos);
  // Every root move was searched with the full window, none cut to alpha.
  int distinct_from_alpha = 0;
  for (int i = 0; i < s->state.root_count; ++i)
    if (s->state.root_scores[i] != -MATE) ++distinct_from_alpha;
  EXPECT_EQ(distinct_from_alpha, s->state.root_count);
}

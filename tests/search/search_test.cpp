#include <gtest/gtest.h>

#include "position/makemove.h"
#include "position/movegen.h"
#include "io/movetext.h"
#include "search/draws.h"
#include "tests/search/search_fixture.h"
#include "tests/support/positions.h"

using namespace orvo;
using orvo::test::sq;
using SearchT = orvo::test::SearchTest;

namespace {

std::string text(Move m) {
  char buf[8];
  move_to_text(m, buf);
  return buf;
}

}  // namespace

TEST_F(SearchT, MateInOneAtDepthOne) {
  Move m = think_depth("6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - 0 1", 1);
  EXPECT_EQ(text(m), "d1d8");
  EXPECT_EQ(s->state.best_score, MATE - 1);
}

TEST_F(SearchT, MateInTwoAtDepthThree) {
  // 1. Nf6+ gxf6 2. Bxf7#.
  Move m = think_depth("r2qkb1r/pp2nppp/3p4/2pNN1B1/2BnP3/3P4/PPP2PPP/R2bK2R w KQkq - 1 1", 3);
  EXPECT_EQ(text(m), "d5f6");
  EXPECT_EQ(s->state.best_score, MATE - 3);
}

TEST_F(SearchT, GoDepthStopsAtExactlyThatDepth) {
  think_depth(start_fen, 4);
  EXPECT_EQ(s->root_depth, 4);
  EXPECT_EQ(s->state.best_depth, 4);
  EXPECT_NE(s->state.best_move, 0u);
}

TEST_F(SearchT, MatedOrStalematedRootGivesNoMove) {
  EXPECT_EQ(think_depth("7k/5Q2/6K1/8/8/8/8/8 b - - 0 1", 3), 0u);    // stalemate
  EXPECT_EQ(think_depth("7k/6Q1/6K1/8/8/8/8/8 b - - 0 1", 3), 0u);     // mate
  char buf[8];
  move_to_text(0, buf);
  EXPECT_STREQ(buf, "a8a8");
}

TEST_F(SearchT, SingleLegalMoveStopsAfterFourPlies) {
  // Black's king on h8 has only Kg8... (White Qf6 covers g7 and h7? no:)
  setup("7k/8/5K2/8/8/8/8/6R1 b - - 0 1");
  ASSERT_EQ(test::count_legal(c->pos), 1);
  s->think(c->pos);
  EXPECT_TRUE(s->limits.fixed_depth);
  EXPECT_EQ(s->limits.depth_limit, 4);
  EXPECT_EQ(s->root_depth, 4);
}

TEST_F(SearchT, RepetitionIsADrawInsideTheSearch) {
  setup(start_fen);
  undo u[4];
  const char* moves[] = {"g1f3", "g8f6", "f3g1", "f6g8"};
  for (int i = 0; i < 4; ++i) {
    MoveList l;
    generate_all(c->pos, l);
    for (int j = 0; j < l.count; ++j) {
      char buf[8];
      move_to_text(l.moves[j], buf);
      if (std::string(buf) == moves[i]) {
        ASSERT_TRUE(make(c->pos, l.moves[j], u[i]));
      }
    }
  }
  EXPECT_EQ(c->pos.hist_ply, 4);
  EXPECT_EQ(repetition_count(c->pos), 1);
  Move pv[MAX_PLY + 2];
  EXPECT_EQ(s->search(c->pos, 4 * PLY, 1, -MATE, MATE, 0, pv), 0);
}

TEST_F(SearchT, FiftyMoveCounterAtHundredScoresZeroEvenWhenMated) {
  setup("7k/6Q1/6K1/8/8/8/8/8 b - - 0 1");
  c->pos.fifty = 100;
  c->pos.in_check = 1;
  Move pv[MAX_PLY + 2];
  EXPECT_EQ(s->search(c->pos, 2 * PLY, 1, -MATE, MATE, 0, pv), 0);
  c->pos.fifty = 0;
  EXPECT_EQ(s->search(c->pos, 2 * PLY, 1, -MATE, MATE, 0, pv), 1 - MATE);
}

TEST_F(SearchT, QuiescenceMateScoreCarriesTheWinningSign) {
  setup("7k/6Q1/6K1/8/8/8/8/8 b - - 0 1");
  c->pos.in_check = 1;
  EXPECT_EQ(s->quiesce(c->pos, -MATE, MATE, 1, 3), MATE - 3);
}

TEST_F(SearchT, QuiescenceWithoutCapturesStandsPat) {
  setup("4k3/8/8/8/8/8/8/4K2R w - - 0 1");
  const int e = s->eval.evaluate(c->pos, -MATE, MATE);
  EXPECT_EQ(s->quiesce(c->pos, -MATE, MATE, 1, 1), e);
  EXPECT_EQ(s->quiesce(c->pos, e + 10, e + 20, 1, 1), e + 10);  // max(eval, alpha)
  EXPECT_EQ(s->quiesce(c->pos, e - 20, e - 10, 1, 1), e);        // reaches beta: eval itself
}

TEST_F(SearchT, QuiescenceAtPly63ReturnsTheEvaluation) {
  setup("4k3/8/8/8/8/8/8/4K2R w - - 0 1");
  c->pos.fifty = 100;  // neither the counter nor repetitions are looked at
  EXPECT_EQ(s->quiesce(c->pos, -MATE, MATE, 1, 63), s->eval.evaluate(c->pos, -MATE, MATE));
}

TEST_F(SearchT, QuiescenceNeverTouchesTheTable) {
  setup("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1");
  tt->clear();
  s->quiesce(c->pos, -MATE, MATE, 1, 1);
  for (u32 i = 0; i < tt->primary_count; ++i) ASSERT_EQ(tt->primary[i].read().key, 0u);
  for (u32 i = 0; i < tt->secondary_count; ++i) ASSERT_EQ(tt->secondary[i].read().key, 0u);
}

TEST_F(SearchT, MateDistancePruning) {
  setup(start_fen);
  Move pv[MAX_PLY + 2];
  // A window already beyond the best possible mate at this ply returns at once.
  const long before = s->nodes;
  EXPECT_EQ(s->search(c->pos, 3 * PLY, 10, MATE - 5, MATE - 4, 1, pv), MATE - 5);
  EXPECT_EQ(s->nodes, before + 1);
  s->limits.infinite = true;  // never prunes then
  const int score = s->search(c->pos, 1 * PLY, 10, MATE - 5, MATE - 4, 1, pv);
  EXPECT_LT(score, MATE - 5);
  s->limits.infinite = false;
}

namespace {

int search_at(test::SearchTest& t, Search& s, board& pos, int depth, int node_type, int alpha, int beta) {
  (void)t;
  Move pv[MAX_PLY + 2];
  return s.search(pos, depth, 1, alpha, beta, node_type, pv);
}

}  // namespace

TEST_F(SearchT, NoNullMoveWithOnlyPawnsOrMinorPieces) {
  setup("4k3/pppp4/8/8/8/8/PPPP4/4K3 w - - 0 1");
  search_at(*this, *s, c->pos, 5 * PLY, 1, -50, 50);
  EXPECT_EQ(s->stats.null_tries, 0);
  setup("2n1kb2/pppp4/8/8/8/8/PPPP4/1N2KB2 w - - 0 1");
  search_at(*this, *s, c->pos, 5 * PLY, 1, -50, 50);
  EXPECT_EQ(s->stats.null_tries, 0);
  setup("4k2r/pppp4/8/8/8/8/PPPP4/4K2R w - - 0 1");
  search_at(*this, *s, c->pos, 5 * PLY, 1, -50, 50);
  EXPECT_GT(s->stats.null_tries, 0);
}

TEST_F(SearchT, NullMoveEvaluatesOnlyAboveFourPlies) {
  // A quiet position where White is far ahead: the null move is tried at
  // the node itself; its children are too shallow for one.
  const char* fen = "4k3/pppp4/8/8/8/8/PPPP4/Q3K2R w - - 0 1";
  setup(fen);
  search_at(*this, *s, c->pos, 3 * PLY, 1, -50, 50);
  EXPECT_EQ(s->stats.null_tries, 1);
  EXPECT_EQ(s->stats.null_evals, 0);
  setup(fen);
  search_at(*this, *s, c->pos, 4 * PLY + 1, 1, -50, 50);
  EXPECT_EQ(s->stats.null_evals, 1);
  EXPECT_GE(s->stats.null_tries, 1);
  // In a PV node, or in check, none.
  setup(fen);
  search_at(*this, *s, c->pos, 3 * PLY, 0, -50, 50);
  EXPECT_EQ(s->stats.null_tries, 0);
}

TEST_F(SearchT, LateQuietMovesAreReducedOnlyInNonPvNodesFromFivePlies) {
  setup("r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 2 3");
  search_at(*this, *s, c->pos, 5 * PLY, 1, -30, -29);
  EXPECT_GT(s->stats.late_reductions, 0);
  setup("r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 2 3");
  search_at(*this, *s, c->pos, 4 * PLY, 1, -30, -29);
  EXPECT_EQ(s->stats.late_reductions, 0);  // nothing at four plies or less
}

TEST_F(SearchT, RecaptureExtensionInPvNodesOnly) {
  // Black has just taken on d5 (last move e6xd5); White recaptures with the
  // knight, and no other White piece attacks d5: the exchange value read on
  // the board after the move is positive.
  const char* fen = "4k3/8/8/3p4/8/2N5/8/4K3 w - - 0 1";
  setup(fen);
  c->pos.last_move = encode_move(20, 27, PAWN, 0, PAWN);  // e6xd5
  search_at(*this, *s, c->pos, 2 * PLY, 0, -MATE, MATE);
  EXPECT_GT(s->stats.recapture_extensions, 0);
  setup(fen);
  c->pos.last_move = encode_move(20, 27, PAWN, 0, PAWN);
  search_at(*this, *s, c->pos, 2 * PLY, 1, -MATE, MATE);
  EXPECT_EQ(s->stats.recapture_extensions, 0);
}

TEST_F(SearchT, QuiescenceSkipsCapturesBelowTheDeltaThreshold) {
  // A knight taking an undefended pawn (exchange value +100) is searched.
  setup("4k3/8/8/3p4/8/2N5/8/4K3 w - - 0 1");
  s->quiesce(c->pos, -MATE, MATE, 1, 1);
  EXPECT_EQ(s->stats.quiesce_skipped, 0);
  // A queen down, the knight taking a pawn defended by a pawn (exchange
  // value -225) has no room under the threshold and is skipped.
  setup("4k2q/8/2p5/3p4/8/2N5/8/4K3 w - - 0 1");
  s->quiesce(c->pos, 0, 50, 1, 1);
  EXPECT_EQ(s->stats.quiesce_skipped, 1);
}

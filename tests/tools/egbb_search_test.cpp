// When the searches ask the bitbases, and what they do with the answer,
// with the real library on Debian's Gaviota tables (and a counting stand-in
// where the tables could not tell a probe from none).
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "position/makemove.h"
#include "position/movegen.h"
#include "tests/search/search_fixture.h"
#include "tests/support/positions.h"
#include "tests/tools/gaviota_support.h"
#include "tools/egbb.h"
#include "tools/ini.h"

using namespace orvo;
using orvo::test::find_move;
using orvo::test::WIN_SCORE;

namespace {

class BitbaseSearch : public orvo::test::SearchTest {
 protected:
  void SetUp() override {
    SearchTest::SetUp();
    s->set_bitbases(&bitbases);
    load_from(orvo::test::gaviota_egbb_dir());
    ASSERT_TRUE(bitbases.loaded());
  }
  void TearDown() override {
    unload();
    SearchTest::TearDown();
  }
  void load_from(const std::string& folder) {
    testing::internal::CaptureStdout();
    bitbases.load(folder.c_str());
    testing::internal::GetCapturedStdout();
  }
  // A failed load leaves the engine with no library.
  void unload() { load_from(std::string(38, ' ')); }
  // Sets up the position, then plays the move from-to, so that it is the
  // move that led to the node.
  board& after(const char* fen, const char* from, const char* to) {
    setup(fen);
    const Move m = find_move(c->pos, from, to);
    EXPECT_NE(m, 0u) << from << to;
    undo u;
    EXPECT_TRUE(make(c->pos, m, u));
    // As the searches do after make, which leaves the check flag alone.
    c->pos.in_check = is_attacked(c->pos, c->pos.king_sq[c->pos.side], c->pos.xside);
    return c->pos;
  }
  bool allowed(const board& b, int root_depth, int ply) {
    s->root_depth = root_depth;
    return s->bitbase_probe_allowed(b, ply);
  }
  int probe(const board& b) {
    int score = 0;
    EXPECT_TRUE(bitbases.probe(b, score));
    return score;
  }
  Bitbases bitbases;
};

// Kg1 Qd1 against Ke8 after Black's quiet king move Kd8-e8.
constexpr const char* KQK_QUIET = "3k4/8/8/8/8/8/8/3Q2K1 b - - 0 1";

}  // namespace

TEST_F(BitbaseSearch, EdgeCasePositionIsPassedAsTheLibraryCountsIt) {
  board& b = after(KQK_QUIET, "d8", "e8");
  // Side 0, kings 6 and 60, piece 2 on square 3: the library's answer for
  // exactly those arguments.
  EXPECT_EQ(probe(b), orvo::test::gaviota_reference({{'K', 6}, {'k', 60}, {'Q', 3}}, 0));
  EXPECT_GT(probe(b), WIN_SCORE - 30);
}

TEST_F(BitbaseSearch, MaterialCountAtMostThree) {
  // One man besides the kings: probed at any ply from half the depth on.
  EXPECT_TRUE(allowed(after(KQK_QUIET, "d8", "e8"), 8, 4));
  // Three: still probed (here the tables hold no answer, which is fine).
  EXPECT_TRUE(allowed(after("3k4/8/8/8/8/8/1r6/Q4RK1 b - - 0 1", "d8", "e8"), 8, 4));
  // Four: never, however deep.
  const board& four = after("3k4/8/8/8/8/8/1rb5/Q4RK1 b - - 0 1", "d8", "e8");
  for (int ply = 0; ply < MAX_PLY; ++ply) EXPECT_FALSE(allowed(four, 8, ply)) << ply;
  // Pawns count too: queen and three pawns is four.
  EXPECT_FALSE(allowed(after("3k4/8/8/8/8/8/PPP5/3Q2K1 b - - 0 1", "d8", "e8"), 8, 6));
}

TEST_F(BitbaseSearch, ThreeMenNeedAThirdOfTheDepthLeft) {
  const board& three = after("3k4/8/8/8/8/8/1r6/Q4RK1 b - - 0 1", "d8", "e8");
  // Root depth 9: probed while 9 - ply >= 3, that is up to ply 6.
  EXPECT_TRUE(allowed(three, 9, 5));
  EXPECT_TRUE(allowed(three, 9, 6));
  EXPECT_FALSE(allowed(three, 9, 7));
  EXPECT_FALSE(allowed(three, 9, 8));
  // With fewer men the remaining depth does not matter.
  const board& one = after(KQK_QUIET, "d8", "e8");
  EXPECT_TRUE(allowed(one, 9, 8));
  EXPECT_TRUE(allowed(one, 9, 20));
}

TEST_F(BitbaseSearch, BeforeHalfTheDepthOnlyAfterACaptureOrPawnMove) {
  // Root depth 10: below ply 5 the move that led here decides.
  const board& quiet = after(KQK_QUIET, "d8", "e8");
  EXPECT_FALSE(allowed(quiet, 10, 1));
  EXPECT_FALSE(allowed(quiet, 10, 4));
  EXPECT_TRUE(allowed(quiet, 10, 5));
  // Black takes the rook: a capture.
  const board& capture = after("8/8/8/8/8/8/2k5/3R2KQ b - - 0 1", "c2", "d1");
  EXPECT_TRUE(allowed(capture, 10, 1));
  // A pawn move.
  const board& pawn = after("4k3/8/8/8/8/8/4P3/6K1 w - - 0 1", "e2", "e4");
  EXPECT_TRUE(allowed(pawn, 10, 1));
  EXPECT_EQ(probe(pawn), orvo::test::gaviota_reference({{'K', 6}, {'k', 60}, {'P', 28}}, 1));
  // A king move by the pawn's side is quiet.
  const board& king = after("4k3/8/8/8/8/8/4P3/6K1 w - - 0 1", "g1", "f1");
  EXPECT_FALSE(allowed(king, 10, 1));
}

TEST_F(BitbaseSearch, NothingLoadedNothingAsked) {
  unload();
  EXPECT_FALSE(allowed(after(KQK_QUIET, "d8", "e8"), 8, 6));
}

TEST_F(BitbaseSearch, TheNodeReturnsTheAnswerUnchanged) {
  board& b = after(KQK_QUIET, "d8", "e8");
  const int table = probe(b);
  ASSERT_GT(table, WIN_SCORE - 30);  // White to move wins
  Move pv[MAX_PLY + 2];
  s->root_depth = 6;
  // At half the depth: the table's score, even far outside the window.
  EXPECT_EQ(s->search(b, 4 * PLY, 3, -10, 10, 1, pv), table);
  EXPECT_EQ(s->search(b, 4 * PLY, 3, -10, 10, 0, pv), table);
  EXPECT_EQ(s->quiesce(b, -10, 10, 1, 3), table);
  // Far from half the depth, after quiet moves only, nothing is asked:
  // the search sees an evaluation, no table score.
  s->root_depth = 20;
  const int searched = s->search(b, 2 * PLY, 1, -WIN_SCORE, WIN_SCORE, 1, pv);
  EXPECT_GT(searched, 0);
  EXPECT_LT(searched, 2000);
}

TEST_F(BitbaseSearch, QuiescenceDoesNotProbeInCheck) {
  // Rd1-e1+ against Ke8: Black in check, lost.
  board& b = after("4k3/8/8/8/8/8/8/3R2K1 w - - 0 1", "d1", "e1");
  ASSERT_TRUE(b.in_check);
  const int table = probe(b);
  ASSERT_LT(table, 0);
  s->root_depth = 2;
  // The checked node searches its evasions, whose positions the tables
  // answer: the longest defence, one ply further from mate than the table
  // says for the checked position itself.
  EXPECT_EQ(s->quiesce(b, -WIN_SCORE, WIN_SCORE, 1, 5), table - 1);
  // Out of check, at the same ply, the answer is the table's.
  board& quiet = after("4k3/8/8/8/8/8/8/3R2K1 w - - 0 1", "d1", "d2");
  EXPECT_EQ(s->quiesce(quiet, -WIN_SCORE, WIN_SCORE, 1, 5), probe(quiet));
}

// The search finds the tables' scores in the endings that matter.
TEST_F(BitbaseSearch, SearchesTakeTheTableScores) {
  struct Case {
    const char* fen;
    int sign;  // of the table's answer for the side to move
  } cases[] = {
      {"8/8/8/4k3/8/8/8/KR6 w - - 0 1", 1},    // KRK, White mates in 29 plies
      {"8/8/8/4k3/8/8/2Q5/K7 b - - 0 1", -1},  // KQK, Black to move loses
      {"3k4/8/3K4/4P3/8/8/8/8 w - - 0 1", 1},  // KPK won in 19 plies
      {"8/8/4k3/8/4K3/4P3/8/8 b - - 0 1", -1}, // KPK: Black to move loses
      {"8/8/8/4k3/8/4P3/4K3/8 w - - 0 1", 0},  // KPK drawn: the defender holds
  };
  for (const Case& k : cases) {
    think_depth(k.fen, 8);
    const int score = s->state.best_score;
    if (k.sign > 0) {
      EXPECT_GT(score, WIN_SCORE - 60) << k.fen;
      EXPECT_LT(score, WIN_SCORE) << k.fen;
    } else if (k.sign < 0) {
      EXPECT_LT(score, -(WIN_SCORE - 60)) << k.fen;
      EXPECT_GT(score, -WIN_SCORE) << k.fen;
    } else {
      EXPECT_EQ(score, 0) << k.fen;
    }
  }
}

// Counted with the stand-in library, which answers every probe: a search
// of four men that cannot be captured never asks, one of a single man
// does.
TEST_F(BitbaseSearch, FourMenAreNeverProbedDuringASearch) {
  char templ[] = "/tmp/orvo_egbb_count_XXXXXX";
  ASSERT_NE(mkdtemp(templ), nullptr);
  const std::string dir = templ;
  std::filesystem::copy_file(FAKE_EGBB_LIBRARY, dir + "/egbbdll.dll");
  load_from(dir + "/");
  ASSERT_TRUE(bitbases.loaded());
  void* h = dlopen((dir + "/egbbdll.dll").c_str(), RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(h, nullptr);
  auto calls = reinterpret_cast<int (*)()>(dlsym(h, "fake_probe_calls"));
  auto answer = reinterpret_cast<void (*)(int)>(dlsym(h, "fake_set_probe_result"));
  answer(99999);
  // Locked pawns, kings far away: four men for the whole search.
  think_depth("7k/8/1p6/pP6/P7/8/8/7K w - - 0 1", 6);
  EXPECT_EQ(calls(), 0);
  think_depth("7k/8/8/8/8/8/8/Q6K w - - 0 1", 6);
  EXPECT_GT(calls(), 0);
  dlclose(h);
  unload();
  std::filesystem::remove_all(dir);
}

// The caches never change an evaluation: every position of the perft suite
// and every position two plies from them evaluates the same with emptied
// caches, with warm caches, and after other positions have overwritten the
// entries it used.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "position/tables.h"
#include "tests/eval/eval_test_util.h"
#include "tests/support/data.h"

using namespace orvo;
using namespace orvo::eval;
using orvo::test::cold_eval;

namespace {

// A window that the cheap part of most scores lies far outside, from the
// side to move's view: the lazy exit is taken for them.
constexpr int LAZY_ALPHA = -2000, LAZY_BETA = -1999;

struct Sample {
  int full;  // open window
  int lazy;  // narrow window
};

// Whether the cache entries this position would read now hold data computed
// for another position with the same key. Such an entry is a true hit but
// may differ from what the position itself would compute: the pawn record
// holds passed-pawn bonuses scaled by the material (not part of the pawn
// key).
bool reads_foreign_entry(const board& b) {
  if (b.white[BB_PAWN] | b.black[BB_PAWN]) {
    const pawn_record& e = pawn_table(b.side)[b.pawn_key & PAWN_TABLE_MASK];
    if (e.key == b.pawn_key) {
      pawn_record fresh = test::pawn_record_of(b);
      if (std::memcmp(&fresh, &e, sizeof fresh) != 0) return true;
    }
  }
  return false;
}

// Evaluates n positions with random pawn structures (both kings on their
// home squares, pawns on ranks 2 to 7), both sides to move.
void pollute_pawn_tables(int n) {
  u64 state = 0x2545F4914F6CDD1Dull;
  for (int i = 0; i < n; ++i) {
    char cells[64];
    for (int sq = 0; sq < 64; ++sq) {
      state ^= state << 13, state ^= state >> 7, state ^= state << 17;
      const int r = sq >> 3;
      cells[sq] = (r >= 1 && r <= 6 && (state & 7) == 0) ? ((state >> 3) & 1 ? 'P' : 'p') : '1';
    }
    cells[4] = 'k';
    cells[60] = 'K';
    std::string text;  // run-length coded, as FEN wants it
    for (int r = 0; r < 8; ++r) {
      int run = 0;
      for (int f = 0; f < 8; ++f) {
        const char c = cells[8 * r + f];
        if (c == '1') {
          ++run;
          continue;
        }
        if (run) text += char('0' + run);
        run = 0;
        text += c;
      }
      if (run) text += char('0' + run);
      text += r < 7 ? '/' : ' ';
    }
    text += (i & 1) ? "w - - 0 1" : "b - - 0 1";
    board b;
    set_position(b, text.c_str());
    Evaluate(b, test::OPEN_ALPHA, test::OPEN_BETA);
  }
}

}  // namespace

class eval_cache : public ::testing::Test {
 protected:
  void SetUp() override {
    test::fresh_eval();
    root_castle = WHITE_SHORT | WHITE_LONG | BLACK_SHORT | BLACK_LONG;
  }
  void TearDown() override { root_castle = 0; }
};

TEST_F(eval_cache, PerftSuiteTwoPliesDeep) {
  ORVO_REQUIRE_DATA(path, "perft/perftsuite.epd");
  std::vector<board> positions = test::suite_positions(path, 2);
  ASSERT_GT(positions.size(), 10000u);
  // Random games from the suite's positions bring many more pawn
  // structures, so that entries get overwritten.
  const std::vector<board> roots = test::suite_positions(path, 0);
  const std::vector<board> games = test::random_walks(roots, 6, 60);
  positions.insert(positions.end(), games.begin(), games.end());

  // Cold: with the entries it reads emptied; then warm at once.
  std::vector<Sample> cold(positions.size());
  for (size_t i = 0; i < positions.size(); ++i) {
    board& b = positions[i];
    cold[i].full = cold_eval(b);
    cold[i].lazy = cold_eval(b, LAZY_ALPHA, LAZY_BETA);
    ASSERT_EQ(Evaluate(b, test::OPEN_ALPHA, test::OPEN_BETA), cold[i].full) << i;
    ASSERT_EQ(Evaluate(b, LAZY_ALPHA, LAZY_BETA), cold[i].lazy) << i;
  }

  // Then fill both pawn tables with other pawn structures: random pawns
  // around two kings, far more structures than the tables have slots.
  pollute_pawn_tables(100000);

  // Warm, in reverse order: most pawn entries now hold other structures, so
  // lookups miss and recompute; the rest hit entries written long ago.
  size_t checked = 0, pawn_misses = 0, pawn_hits = 0, foreign = 0;
  for (size_t k = positions.size(); k-- > 0;) {
    board& b = positions[k];
    if (b.white[BB_PAWN] | b.black[BB_PAWN]) {
      const pawn_record& e = pawn_table(b.side)[b.pawn_key & PAWN_TABLE_MASK];
      (e.key == b.pawn_key ? pawn_hits : pawn_misses)++;
    }
    const bool shared = reads_foreign_entry(b);
    const int full = Evaluate(b, test::OPEN_ALPHA, test::OPEN_BETA);
    const int lazy = Evaluate(b, LAZY_ALPHA, LAZY_BETA);
    if (shared) {
      ++foreign;
      continue;
    }
    ++checked;
    ASSERT_EQ(full, cold[k].full) << "position " << k;
    ASSERT_EQ(lazy, cold[k].lazy) << "position " << k;
  }
  EXPECT_GT(pawn_misses, 1000u);
  EXPECT_GT(pawn_hits, 100u);
  EXPECT_GT(checked, positions.size() * 3 / 4);
  std::printf("[ cache    ] %zu positions, %zu checked, %zu read entries written for another "
              "position with the same key, %zu pawn misses, %zu pawn hits\n",
              positions.size(), checked, foreign, pawn_misses, pawn_hits);

  // Fully emptied caches give the same as the per-entry emptying above.
  for (size_t k = 0; k < positions.size() && k < 2000; k += 97) {
    clear_pawn_tables();
    clear_material_cache();
    EXPECT_EQ(Evaluate(positions[k], test::OPEN_ALPHA, test::OPEN_BETA), cold[k].full) << k;
  }
}

TEST_F(eval_cache, CollidingEntriesAreRecomputed) {
  ORVO_REQUIRE_DATA(path, "perft/perftsuite.epd");
  std::vector<board> positions = test::suite_positions(path, 1);
  const std::vector<board> games = test::random_walks(test::suite_positions(path, 0), 4, 60);
  positions.insert(positions.end(), games.begin(), games.end());
  // Find pairs that share a pawn-table slot (same side to move, same index)
  // with different keys, and pairs that share a material-cache slot.
  std::map<std::pair<u64, int>, size_t> pawn_slot;
  std::map<u64, size_t> material_slot;
  int pawn_pairs = 0, material_pairs = 0;
  for (size_t i = 0; i < positions.size(); ++i) {
    board& b = positions[i];
    if (!(b.white[BB_PAWN] | b.black[BB_PAWN])) continue;
    const auto slot = std::make_pair(b.pawn_key & PAWN_TABLE_MASK, b.side);
    auto it = pawn_slot.find(slot);
    if (it != pawn_slot.end() && positions[it->second].pawn_key != b.pawn_key) {
      board& a = positions[it->second];
      const int a_cold = cold_eval(a), b_cold = cold_eval(b);
      EXPECT_EQ(Evaluate(a, test::OPEN_ALPHA, test::OPEN_BETA), a_cold);
      EXPECT_EQ(Evaluate(b, test::OPEN_ALPHA, test::OPEN_BETA), b_cold);
      EXPECT_EQ(Evaluate(a, test::OPEN_ALPHA, test::OPEN_BETA), a_cold);
      ++pawn_pairs;
    } else {
      pawn_slot[slot] = i;
    }
    const u64 mslot = b.mat_key & (MATERIAL_CACHE_SIZE - 1);
    auto mt = material_slot.find(mslot);
    if (mt != material_slot.end() && positions[mt->second].mat_key != b.mat_key) {
      board& a = positions[mt->second];
      const int a_cold = cold_eval(a), b_cold = cold_eval(b);
      EXPECT_EQ(Evaluate(b, test::OPEN_ALPHA, test::OPEN_BETA), b_cold);
      EXPECT_EQ(Evaluate(a, test::OPEN_ALPHA, test::OPEN_BETA), a_cold);
      ++material_pairs;
    } else {
      material_slot[mslot] = i;
    }
  }
  EXPECT_GT(pawn_pairs, 0);
  EXPECT_GT(material_pairs, 0);
}

TEST(eval_cache_lifecycle, EvaluateWorksBeforeAnyAllocation) {
  // The driver builds its tables and caches itself when nobody did (run
  // alone, as ctest does, this test is the first to evaluate). Position
  // setup needs the position tables first.
  init_tables();
  board b;
  set_position(b, start_fen);
  const int s = Evaluate(b, test::OPEN_ALPHA, test::OPEN_BETA);
  EXPECT_EQ(s, Evaluate(b, test::OPEN_ALPHA, test::OPEN_BETA));
  eval_allocate_caches();
  eval_allocate_caches();  // once only; a second call keeps the tables
  EXPECT_EQ(Evaluate(b, test::OPEN_ALPHA, test::OPEN_BETA), s);
}

TEST(eval_cache_lifecycle, ExternalPawnTablesCanBeAttached) {
  test::fresh_eval();
  std::vector<pawn_record> black(PAWN_TABLE_SIZE), white(PAWN_TABLE_SIZE);
  attach_pawn_tables(black.data(), white.data());
  board b;
  set_position(b, start_fen);
  const int s = Evaluate(b, test::OPEN_ALPHA, test::OPEN_BETA);
  EXPECT_EQ(white[b.pawn_key & PAWN_TABLE_MASK].key, b.pawn_key);
  attach_pawn_tables(nullptr, nullptr);  // back to the evaluation's own
  EXPECT_EQ(Evaluate(b, test::OPEN_ALPHA, test::OPEN_BETA), s);
  EXPECT_NE(pawn_table(WHITE), white.data());
}

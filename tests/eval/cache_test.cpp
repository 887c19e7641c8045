// The caches never change an evaluation: every position of the perft suite
// and every position two plies from them evaluates the same with emptied
// caches, with warm caches filled by other positions (many of which share
// its pawns or its material with other kings, side to move or material),
// and after other positions have overwritten the entries it used. No
// position is set aside.
#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "position/fen.h"
#include "position/makemove.h"
#include "position/movegen.h"
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
  bool operator==(const Sample&) const = default;
};

Sample warm(board& b) {
  return {orvo::test::evaluator().evaluate(b, test::OPEN_ALPHA, test::OPEN_BETA), orvo::test::evaluator().evaluate(b, LAZY_ALPHA, LAZY_BETA)};
}
Sample cold(board& b) { return {cold_eval(b), cold_eval(b, LAZY_ALPHA, LAZY_BETA)}; }

bool uses_material_cache(const board& b) {
  return b.phase_units[WHITE] < 13 && b.phase_units[BLACK] < 13 && (b.mat_key >> 32) != 0;
}

// Which position last wrote each cache entry, to count how often a warm
// evaluation reads an entry that was written for another position: one
// with the same pawns but other material, or with the same material key but
// other kings, pawns, side to move or material (a key left from before a
// promotion included).
class Writers {
 public:
  explicit Writers(const std::vector<board>& positions) : positions_(positions) { forget(); }
  void forget() {
    pawn_[0].assign(PAWN_TABLE_SIZE, -1);
    pawn_[1].assign(PAWN_TABLE_SIZE, -1);
    material_.assign(MATERIAL_CACHE_SIZE, -1);
  }

  // Evaluates position i warm, keeping the counts up to date.
  Sample evaluate(size_t i) {
    board& b = const_cast<board&>(positions_[i]);
    const bool has_pawns = (b.white[BB_PAWN] | b.black[BB_PAWN]) != 0;
    const size_t pslot = b.pawn_key & PAWN_TABLE_MASK;
    const pawn_record& pe = orvo::test::evaluator().pawn_table(b.side)[pslot];
    const bool pawn_hit =
        has_pawns && pe.white_pawns == b.white[BB_PAWN] && pe.black_pawns == b.black[BB_PAWN];
    int& pawn_writer = pawn_[b.side & 1][pslot];
    if (pawn_hit && pawn_writer >= 0 && !same_material(positions_[pawn_writer], b))
      ++pawns_for_other_material;
    const size_t mslot = b.mat_key & (MATERIAL_CACHE_SIZE - 1);
    const material_entry before = orvo::test::evaluator().material_cache()[mslot];

    const Sample s = warm(b);

    if (has_pawns && !pawn_hit) pawn_writer = int(i);
    if (uses_material_cache(b)) {
      // An entry that stays as it was has been read; a changed one written.
      const material_entry after = orvo::test::evaluator().material_cache()[mslot];
      const int w = material_[mslot];
      if (after.check == before.check && after.flags == before.flags) {
        if (w >= 0 && !same_position_for_flags(positions_[w], b)) ++material_for_other_position;
        if (w >= 0 && compute_mat_key(positions_[w]) != compute_mat_key(b)) ++material_with_stale_key;
      } else {
        material_[mslot] = int(i);
      }
    }
    return s;
  }

  size_t pawns_for_other_material = 0;
  size_t material_for_other_position = 0;
  // Of those, entries whose key stood for another material than the board
  // held: a key left from before a promotion without a capture.
  size_t material_with_stale_key = 0;

 private:
  static bool same_material(const board& a, const board& b) {
    return a.material[WHITE] == b.material[WHITE] && a.material[BLACK] == b.material[BLACK];
  }
  static bool same_position_for_flags(const board& a, const board& b) {
    for (int i = 0; i < 5; ++i)
      if (a.white[i] != b.white[i] || a.black[i] != b.black[i]) return false;
    return a.king_sq[WHITE] == b.king_sq[WHITE] && a.king_sq[BLACK] == b.king_sq[BLACK] &&
           a.side == b.side;
  }

  const std::vector<board>& positions_;
  std::vector<int> pawn_[2];
  std::vector<int> material_;
};

// Evaluates n random positions: both kings on their home squares, pawns on
// ranks 2 to 7 and now and then a few pieces, both sides to move. They
// overwrite most slots of both pawn tables and of the material cache.
void pollute_caches(int n) {
  u64 state = 0x2545F4914F6CDD1Dull;
  auto next = [&state] {
    state ^= state << 13, state ^= state >> 7, state ^= state << 17;
    return state;
  };
  static const char pieces[] = "NBRQnbrq";
  for (int i = 0; i < n; ++i) {
    char cells[64];
    for (int sq = 0; sq < 64; ++sq) {
      const u64 r = next();
      const int row = sq >> 3;
      cells[sq] = (row >= 1 && row <= 6 && (r & 7) == 0) ? ((r >> 3) & 1 ? 'P' : 'p') : '1';
    }
    cells[E8] = 'k';
    cells[E1] = 'K';
    for (int extra = int(next() % 4); extra > 0; --extra) {
      const int sq = int(next() % 64);
      if (cells[sq] == '1') cells[sq] = pieces[next() % 8];
    }
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
    orvo::test::evaluator().evaluate(b, test::OPEN_ALPHA, test::OPEN_BETA);
  }
}

// Compares one warm pass with the cold scores; returns the mismatches and
// reports the first few.
size_t compare(const char* pass, const std::vector<board>& positions,
               const std::vector<Sample>& expected, const std::vector<size_t>& order, Writers& w) {
  size_t mismatches = 0;
  for (size_t i : order) {
    const Sample s = w.evaluate(i);
    if (s == expected[i]) continue;
    if (++mismatches <= 5) {
      char text[128];
      write_fen(positions[i], text);
      ADD_FAILURE() << pass << ": position " << i << " (" << text << ") warm " << s.full << " / "
                    << s.lazy << ", cold " << expected[i].full << " / " << expected[i].lazy;
    }
  }
  return mismatches;
}

// Board with the move from-to (promoting to promo) made.
board after_move(board b, int from, int to, int promo = 0) {
  MoveList list;
  generate_all(b, list);
  for (int i = 0; i < list.count; ++i) {
    const Move m = list.moves[i];
    if (move_from(m) != from || move_to(m) != to || move_promotion(m) != promo) continue;
    undo u;
    if (make(b, m, u)) return b;
  }
  ADD_FAILURE() << "move not found";
  return b;
}

}  // namespace

class eval_cache : public ::testing::Test {
 protected:
  void SetUp() override {
    test::fresh_eval();
    orvo::test::set_root_castle(WHITE_SHORT | WHITE_LONG | BLACK_SHORT | BLACK_LONG);
  }
  void TearDown() override { orvo::test::set_root_castle(0); }
};

TEST_F(eval_cache, PerftSuiteTwoPliesDeep) {
  ORVO_REQUIRE_DATA(path, "perft/perftsuite.epd");
  std::vector<board> positions = test::suite_positions(path, 2);
  ASSERT_GT(positions.size(), 10000u);
  // Random games from the suite's positions bring many more pawn
  // structures and materials (promotions without a capture among them).
  const std::vector<board> roots = test::suite_positions(path, 0);
  const std::vector<board> games = test::random_walks(roots, 6, 60);
  positions.insert(positions.end(), games.begin(), games.end());
  const size_t n = positions.size();

  // Cold: each position with the entries it reads emptied.
  std::vector<Sample> expected(n);
  for (size_t i = 0; i < n; ++i) expected[i] = cold(positions[i]);

  std::vector<size_t> forward(n), backward(n), strided(n);
  for (size_t i = 0; i < n; ++i) {
    forward[i] = i;
    backward[i] = n - 1 - i;
    strided[i] = (i * 7919) % n;
  }
  ASSERT_NE(n % 7919, 0u);

  Writers writers(positions);
  size_t mismatches = 0;
  // Warm, from emptied caches: neighbours in the list share pawns (a piece
  // moved or captured) and materials (other kings, the other side to move).
  orvo::test::evaluator().clear_pawn_tables();
  orvo::test::evaluator().clear_material_cache();
  mismatches += compare("forward", positions, expected, forward, writers);
  mismatches += compare("backward", positions, expected, backward, writers);

  // Other pawn structures and materials overwrite most entries; then the
  // suite again, in an order that mixes far-apart positions.
  pollute_caches(100000);
  writers.forget();
  mismatches += compare("after overwriting", positions, expected, strided, writers);
  mismatches += compare("again", positions, expected, backward, writers);

  EXPECT_EQ(mismatches, 0u);
  // The passes did read entries written for other positions, of every kind
  // that a key does not tell apart.
  EXPECT_GT(writers.pawns_for_other_material, 1000u);
  EXPECT_GT(writers.material_for_other_position, 1000u);
  EXPECT_GT(writers.material_with_stale_key, 0u);
  std::printf("[ cache    ] %zu positions, 4 warm passes, %zu mismatches; entries read that "
              "another position wrote: %zu pawn records for other material, %zu material entries "
              "for other kings, pawns, side or material (%zu with a key left from before a "
              "promotion)\n",
              n, mismatches, writers.pawns_for_other_material, writers.material_for_other_position,
              writers.material_with_stale_key);

  // Fully emptied caches give the same as the per-entry emptying.
  for (size_t k = 0; k < n; k += n / 40 + 1) {
    orvo::test::evaluator().clear_pawn_tables();
    orvo::test::evaluator().clear_material_cache();
    EXPECT_EQ(warm(positions[k]), expected[k]) << k;
  }
}

TEST_F(eval_cache, CollidingEntriesAreRecomputed) {
  ORVO_REQUIRE_DATA(path, "perft/perftsuite.epd");
  std::vector<board> positions = test::suite_positions(path, 1);
  const std::vector<board> games = test::random_walks(test::suite_positions(path, 0), 4, 60);
  positions.insert(positions.end(), games.begin(), games.end());
  // Pairs that share a pawn-table slot (same side to move, same index) with
  // other pawns, and pairs that share a material-cache slot with another
  // key: each evaluates as when cold, in turn and again.
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
      const Sample a_cold = cold(a), b_cold = cold(b);
      EXPECT_EQ(warm(a), a_cold);
      EXPECT_EQ(warm(b), b_cold);
      EXPECT_EQ(warm(a), a_cold);
      EXPECT_EQ(warm(b), b_cold);
      ++pawn_pairs;
    } else {
      pawn_slot[slot] = i;
    }
    const u64 mslot = b.mat_key & (MATERIAL_CACHE_SIZE - 1);
    auto mt = material_slot.find(mslot);
    if (mt != material_slot.end() && positions[mt->second].mat_key != b.mat_key) {
      board& a = positions[mt->second];
      const Sample a_cold = cold(a), b_cold = cold(b);
      EXPECT_EQ(warm(b), b_cold);
      EXPECT_EQ(warm(a), a_cold);
      EXPECT_EQ(warm(b), b_cold);
      ++material_pairs;
    } else {
      material_slot[mslot] = i;
    }
  }
  EXPECT_GT(pawn_pairs, 0);
  EXPECT_GT(material_pairs, 0);
}

TEST_F(eval_cache, PromotionKeepsTheMaterialKeyButNotTheFlags) {
  // The material key follows captures only: after b7-b8 without a capture
  // it still names two White pawns. The entry the parent wrote must not be
  // read for the child.
  // Knight: White has no pawn and a minor piece only, Black a bare king:
  // neither side can win, 0.
  const board parent = test::position("8/1P6/8/8/8/6k1/8/4K3 w - - 0 1");
  const board knight = after_move(parent, B7, B8, KNIGHT);
  // Bishop: the h-pawn with a bishop, the Black king next to h8: the rook
  // pawn rule takes White's chances, and Black has none: 0.
  const board parent2 = test::position("8/1P4k1/8/8/7P/8/8/4K3 w - - 0 1");
  const board bishop = after_move(parent2, B7, B8, BISHOP);
  for (auto [p, c] : {std::pair{parent, knight}, std::pair{parent2, bishop}}) {
    ASSERT_EQ(c.mat_key, p.mat_key);
    EXPECT_EQ(win_chance(p), WHITE_CAN_WIN);
    EXPECT_EQ(win_chance(c), 0u);
    for (int order = 0; order < 2; ++order) {
      orvo::test::evaluator().clear_pawn_tables();
      orvo::test::evaluator().clear_material_cache();
      board first = order ? c : p, second = order ? p : c;
      const Sample first_cold = cold(first), second_cold = cold(second);
      EXPECT_EQ(warm(first), first_cold);
      EXPECT_EQ(warm(second), second_cold);
      EXPECT_EQ(warm(first), first_cold);
    }
    board child = c;
    EXPECT_EQ(warm(child), (Sample{0, 0}));
  }
}

TEST_F(eval_cache, KingsDecideTheRookPawnRuleWhateverTheCacheHolds) {
  // The same material (king, bishop and h-pawn against a king). With the
  // Black king on h8 White cannot win and the score is 0; with it on a8 it
  // is too far (7 steps to h8; the White king needs 7 and the pawn 5, one
  // less each for White's move) and White keeps the advantage. Either order
  // of evaluation gives both.
  board drawn = test::position("7k/8/8/8/8/8/7P/4KB2 w - - 0 1");
  board won = test::position("k7/8/8/8/8/8/7P/4KB2 w - - 0 1");
  ASSERT_EQ(drawn.mat_key, won.mat_key);
  const Sample drawn_cold = cold(drawn), won_cold = cold(won);
  EXPECT_EQ(drawn_cold, (Sample{0, 0}));
  EXPECT_GT(won_cold.full, 300);
  for (int order = 0; order < 2; ++order) {
    orvo::test::evaluator().clear_material_cache();
    board& first = order ? won : drawn;
    board& second = order ? drawn : won;
    warm(first);
    EXPECT_EQ(warm(second), order ? drawn_cold : won_cold);
  }
  // The side to move enters as well. Pawn on h6, Black king on f8: with
  // Black to move the king is one step from h8 (2 less the move) and White
  // cannot win; with White to move it is 2 steps away, not fewer than the
  // pawn's one move left (2 less the move), and White can.
  board drawn_black = test::position("5k2/8/7P/8/8/8/8/4KB2 b - - 0 1");
  board won_white = test::position("5k2/8/7P/8/8/8/8/4KB2 w - - 0 1");
  ASSERT_EQ(win_chance(drawn_black), 0u);
  ASSERT_EQ(win_chance(won_white), WHITE_CAN_WIN);
  const Sample black_cold = cold(drawn_black), white_cold = cold(won_white);
  EXPECT_EQ(black_cold, (Sample{0, 0}));
  for (int order = 0; order < 2; ++order) {
    orvo::test::evaluator().clear_material_cache();
    warm(order ? won_white : drawn_black);
    EXPECT_EQ(warm(drawn_black), black_cold);
    EXPECT_EQ(warm(won_white), white_cold);
  }
}

TEST_F(eval_cache, SamePawnsWithOtherMaterial) {
  // A lone White pawn on d2: its passed bonus is 2 against a bare king and
  // trunc(3100 / 4075 x 2) = 1 against a queen, whichever position filled
  // the pawn record.
  board bare = test::position("4k3/8/8/8/8/8/3P4/4K3 w - - 0 1");
  board queen = test::position("3qk3/8/8/8/8/8/3P4/4K3 w - - 0 1");
  ASSERT_EQ(bare.pawn_key, queen.pawn_key);
  const Sample bare_cold = cold(bare), queen_cold = cold(queen);
  for (int order = 0; order < 2; ++order) {
    orvo::test::evaluator().clear_pawn_tables();
    warm(order ? queen : bare);
    EXPECT_EQ(warm(bare), bare_cold);
    EXPECT_EQ(warm(queen), queen_cold);
  }
}

TEST(eval_cache_lifecycle, EvaluateWorksBeforeAnyAllocation) {
  // The driver builds its tables and caches itself when nobody did (run
  // alone, as ctest does, this test is the first to evaluate). Position
  // setup needs the position tables first.
  init_tables();
  board b;
  set_position(b, start_fen);
  const int s = orvo::test::evaluator().evaluate(b, test::OPEN_ALPHA, test::OPEN_BETA);
  EXPECT_EQ(s, orvo::test::evaluator().evaluate(b, test::OPEN_ALPHA, test::OPEN_BETA));

  EXPECT_EQ(orvo::test::evaluator().evaluate(b, test::OPEN_ALPHA, test::OPEN_BETA), s);
}

TEST(eval_cache_lifecycle, ExternalPawnTablesCanBeAttached) {
  test::fresh_eval();
  std::vector<pawn_record> black(PAWN_TABLE_SIZE), white(PAWN_TABLE_SIZE);
  orvo::test::evaluator().use_pawn_tables(black.data(), white.data());
  board b;
  set_position(b, start_fen);
  const int s = orvo::test::evaluator().evaluate(b, test::OPEN_ALPHA, test::OPEN_BETA);
  EXPECT_EQ(white[b.pawn_key & PAWN_TABLE_MASK].white_pawns, b.white[BB_PAWN]);
  EXPECT_EQ(white[b.pawn_key & PAWN_TABLE_MASK].black_pawns, b.black[BB_PAWN]);
  orvo::test::evaluator().use_pawn_tables(nullptr, nullptr);  // back to the evaluation's own
  EXPECT_EQ(orvo::test::evaluator().evaluate(b, test::OPEN_ALPHA, test::OPEN_BETA), s);
  EXPECT_NE(orvo::test::evaluator().pawn_table(WHITE), white.data());
}

// The score cache gives what the evaluation gives: for every position one
// ply from the suite's and along random games, with windows that take the
// lazy exit and windows that do not (so that entries holding the cheap part
// only are met by a window needing every term), and with the state the key
// does not cover changed under the same key: the castled flags, the phase,
// a material key left from before a promotion, the fifty-move clock and
// the root's castling rights.
TEST_F(eval_cache, TheScoreCacheGivesTheEvaluationsValue) {
  ORVO_REQUIRE_DATA(path, "perft/perftsuite.epd");
  std::vector<board> positions = test::suite_positions(path, 1);
  const std::vector<board> games = test::random_walks(test::suite_positions(path, 0), 6, 60);
  positions.insert(positions.end(), games.begin(), games.end());
  ASSERT_GT(positions.size(), 3000u);
  constexpr int windows[][2] = {{LAZY_ALPHA, LAZY_BETA}, {test::OPEN_ALPHA, test::OPEN_BETA},
                                {LAZY_ALPHA, LAZY_BETA}, {1999, 2000},
                                {-50, 50},               {test::OPEN_ALPHA, test::OPEN_BETA}};
  constexpr int VARIANTS = 5, FIFTY_SCALED = 90;
  Evaluator& e = orvo::test::evaluator();
  e.clear_score_cache();
  size_t compared = 0, mismatches = 0;
  for (u32 root : {WHITE_SHORT | WHITE_LONG | BLACK_SHORT | BLACK_LONG, 0u, WHITE_SHORT | BLACK_LONG}) {
    e.set_root_castle(root);
    for (const board& position : positions) {
      for (int variant = 0; variant < VARIANTS; ++variant) {
        board b = position;
        if (variant == 1) b.castled[WHITE] ^= 1;
        if (variant == 2) b.phase = (b.phase + 1) % 3;
        if (variant == 3) b.mat_key = compute_mat_key(b) ^ 1;  // a key for other material
        if (variant == 4) b.fifty = FIFTY_SCALED;
        for (const auto& w : windows) {
          board c = b;
          const int cached = e.evaluate_cached(c, w[0], w[1]);
          const int worked = e.evaluate(b, w[0], w[1]);
          ++compared;
          if (cached != worked && ++mismatches <= 5) {
            char text[128];
            write_fen(b, text);
            ADD_FAILURE() << text << " variant " << variant << " window " << w[0] << " " << w[1]
                          << ": cached " << cached << ", worked out " << worked;
          }
        }
      }
    }
  }
  EXPECT_EQ(mismatches, 0u);
  EXPECT_GT(compared, 100000u);
}

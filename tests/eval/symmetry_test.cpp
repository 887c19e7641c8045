// Colour symmetry: a position and its colour-flipped image score the same
// from the side to move's point of view, wherever none of the evaluation's
// deliberate colour asymmetries is involved.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "position/tables.h"
#include "tests/eval/eval_test_util.h"
#include "tests/support/data.h"

using namespace orvo;
using namespace orvo::eval;

namespace {

constexpr u64 rook_files = 0x8181818181818181ull;
constexpr u64 wing_files = 0xC3C3C3C3C3C3C3C3ull;  // a, b, g, h

// True when the position touches one of the features that score the two
// colours differently on purpose, so that its flipped image may score
// differently:
//  - king, bishop and knight against king (one corner table for both);
//  - the bishop and rook-pawn rule (h8 for White, a1 for Black);
//  - a queen on the a, b, g or h file with five or more own pawns (both
//    colours test the Black king's wing);
//  - a passed pawn with an enemy piece two squares ahead (only Black's
//    blockade test can fire);
//  - a side without pieces against a passed pawn (the pawn race picks the
//    pawn and asks the opposition differently for the two colours);
//  - king pressure above 15 (clamped then remapped for the White king,
//    remapped then clamped for the Black king);
//  - three rooks or more of one colour (the doubled-rook test looks at the
//    loop's first two, which are the two nearest the top of the board).
// The safe-advance walks also stop asymmetrically (a7 for White, h2 for
// Black), but that shows only with pawns on the first or last rank, which
// the positions used here never have.
bool uses_asymmetric_feature(board b) {
  for (int c : {WHITE, BLACK}) {
    const u64* own = b.bb(c);
    const u64* enemy = b.bb(c ^ 1);
    if (!(own[BB_PAWN] | enemy[BB_PAWN]) && b.phase_units[c] == 6 && own[BB_BISHOP] &&
        own[BB_KNIGHT])
      return true;
    if (own[BB_PAWN] && !(own[BB_PAWN] & ~rook_files) && own[BB_BISHOP] && b.phase_units[c] < 4)
      return true;
    if (b.pawn_count[c] >= 5 && (own[BB_QUEEN] & wing_files)) return true;
    if (popcount(own[BB_ROOK]) > 2) return true;
  }
  const pawn_record r = test::pawn_record_of(b);
  for (u64 p = r.white_passed; p;) {
    const int sq = pop_lsb(p);
    if (sq >= 16 && b.color[sq - 16] == BLACK) return true;
  }
  for (u64 p = r.black_passed; p;) {
    const int sq = pop_lsb(p);
    if (sq < 48 && b.color[sq + 16] == WHITE) return true;
  }
  if ((b.phase_units[WHITE] == 0 && r.black_passed) || (b.phase_units[BLACK] == 0 && r.white_passed))
    return true;
  test::piece_terms(b, r);
  return b.king_attack[WHITE] > 15 || b.king_attack[BLACK] > 15;
}

// Scores a FEN and its flipped image, both with the entries they read
// emptied and with the castling rights of the position as root rights.
void expect_symmetric(const std::string& fen_text) {
  board b = test::position(fen_text.c_str());
  const std::string flipped_text = test::flip_fen(fen_text);
  board f = test::position(flipped_text.c_str());
  orvo::test::set_root_castle(b.castle);
  const int original = test::cold_eval(b);
  orvo::test::set_root_castle(f.castle);
  const int flipped = test::cold_eval(f);
  orvo::test::set_root_castle(0);
  EXPECT_EQ(original, flipped) << fen_text << "  vs  " << flipped_text;
}

}  // namespace

class eval_symmetry : public ::testing::Test {
 protected:
  void SetUp() override { test::fresh_eval(); }
};

TEST_F(eval_symmetry, FlipHelper) {
  EXPECT_EQ(test::flip_fen("4k3/8/8/8/3P4/8/8/R3K2R w KQ - 0 1"),
            "r3k2r/8/8/3p4/8/8/8/4K3 b kq - 0 1");
  EXPECT_EQ(test::flip_fen("rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e6 0 2"),
            "rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq e3 0 2");
  EXPECT_EQ(test::flip_castle(WHITE_SHORT | BLACK_LONG), BLACK_SHORT | WHITE_LONG);
}

TEST_F(eval_symmetry, HandPickedPositions) {
  const char* fens[] = {
      "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
      "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
      "r1bq1rk1/pp2bppp/2n1pn2/3p4/2PP4/2N1PN2/PP3PPP/R2QKB1R w KQ - 0 8",
      "2r3k1/5ppp/p3p3/1p1nP3/3P4/P2B1N2/1P3PPP/2R3K1 b - - 0 25",
      "3r4/5pk1/6p1/3P4/8/6P1/5PK1/3R4 w - - 0 40",
      "8/8/4k3/8/2PK4/8/8/5r2 b - - 0 60",
      "4k3/8/8/8/8/8/8/4K2R w K - 0 1",
      "8/8/8/3k4/8/8/1Q6/4K3 w - - 0 1",
      "r4rk1/1b3ppp/p3p3/1pn5/4P3/P1N1BP2/1PQ3PP/2RR2K1 w - - 0 20",
      "6k1/6pp/8/8/8/8/r5PP/3R2K1 w - - 0 30",
      "2kr3r/ppp2ppp/2n5/3q4/3P4/2P2N2/P4PPP/R2QR1K1 b - - 0 15",
      "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
  };
  for (const char* f : fens) {
    board b = test::position(f);
    if (uses_asymmetric_feature(b)) {
      ADD_FAILURE() << "hand-picked position uses an asymmetric feature: " << f;
      continue;
    }
    expect_symmetric(f);
  }
}

TEST_F(eval_symmetry, PerftSuiteAndRandomGames) {
  ORVO_REQUIRE_DATA(path, "perft/perftsuite.epd");
  std::vector<board> positions = test::suite_positions(path, 1);
  const std::vector<board> games = test::random_walks(test::suite_positions(path, 0), 2, 50);
  positions.insert(positions.end(), games.begin(), games.end());
  int checked = 0, skipped = 0, too_long = 0;
  char text[128];
  for (board& b : positions) {
    write_fen(b, text);
    // Position setup reads at most 60 characters of the placement field;
    // longer ones cannot be set up whole, flipped or not.
    if (std::string(text).find(' ') > 60) {
      ++too_long;
      continue;
    }
    board round = test::position(text);
    if (uses_asymmetric_feature(round)) {
      ++skipped;
      continue;
    }
    ++checked;
    expect_symmetric(text);
    if (HasFailure()) break;
  }
  std::printf("[ symmetry ] %d positions checked, %d skipped for asymmetric features, %d with a "
              "placement too long to set up\n",
              checked, skipped, too_long);
  EXPECT_GT(checked, 5000);
}

TEST_F(eval_symmetry, DeliberateAsymmetriesDoShow) {
  // The checks above would pass trivially if the flip did nothing; these
  // positions use an asymmetric feature and do score differently.
  const char* fens[] = {
      "4k3/8/8/8/3p4/8/3N4/R3K3 w - - 0 1",  // Black blockade
      "7k/8/8/8/8/2K2N2/8/5B2 w - - 0 1",   // KBN corner table
  };
  for (const char* f : fens) {
    board b = test::position(f);
    EXPECT_TRUE(uses_asymmetric_feature(b)) << f;
    board fl = test::position(test::flip_fen(f).c_str());
    EXPECT_NE(test::cold_eval(b), test::cold_eval(fl)) << f;
  }
}

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "position/fen.h"
#include "position/make_body.h"
#include "position/makemove.h"
#include "position/movegen.h"
#include "tests/support/data.h"
#include "tests/support/positions.h"

using namespace orvo;
using orvo::test::from_fen;
using orvo::test::sq;

namespace {

Move find(const board& b, const char* from, const char* to, int promo = -1) {
  return test::find_move(b, from, to, promo);
}

bool play(board& b, const char* from, const char* to, undo& u, int promo = -1) {
  Move m = find(b, from, to, promo);
  return m && make(b, m, u);
}

// Calls visit(b, m) for every generated move m of the position and of every
// position one ply away from it, on a board b the visit may play on.
template <typename Visit>
void for_each_move_near(const std::string& fen, Visit visit) {
  const board root = from_fen(fen);
  MoveList first;
  generate_all(root, first);
  for (int i = -1; i < first.count; ++i) {
    board b = root;
    undo u0;
    if (i >= 0 && !make(b, first.moves[i], u0)) continue;
    MoveList l;
    generate_all(b, l);
    for (int j = 0; j < l.count; ++j) visit(b, l.moves[j]);
  }
}

// make and unmake as the perft walk calls them on a prepared position: the
// quiet generator's moves through the bodies that know they take nothing.
template <int C>
bool make_walked(board& b, Move m, make_detail::PreparedPosition& p, bool quiet) {
  return quiet ? make_detail::make_prepared<C, make_detail::Taking::NEVER>(b, m, p)
               : make_detail::make_prepared<C>(b, m, p);
}
template <int C>
void unmake_walked(board& b, const make_detail::PreparedPosition& p, bool quiet) {
  if (quiet)
    make_detail::unmake_prepared<C, make_detail::Taking::NEVER>(b, p);
  else
    make_detail::unmake_prepared<C>(b, p);
}

}  // namespace

TEST(MakeMove, DoublePushSetsEnPassantOnlyBesideAnEnemyPawn) {
  board b = from_fen(start_fen);
  undo u[4];
  ASSERT_TRUE(play(b, "e2", "e4", u[0]));
  EXPECT_EQ(b.ep, -1);
  EXPECT_EQ(b.fifty, 0);
  ASSERT_TRUE(play(b, "d7", "d5", u[1]));
  ASSERT_TRUE(play(b, "e4", "e5", u[2]));
  ASSERT_TRUE(play(b, "f7", "f5", u[3]));
  EXPECT_EQ(b.ep, 21);  // f6
}

TEST(MakeMove, EnPassantNeighbourTestWrapsAcrossTheEdge) {
  // A White pawn on a4 is "one above" h5 by square number.
  board b = from_fen("4k3/7p/8/8/P7/8/8/4K3 b - - 0 1");
  undo u;
  ASSERT_TRUE(play(b, "h7", "h5", u));
  EXPECT_EQ(b.ep, sq("h6"));
}

TEST(MakeMove, CastlingThroughAnAttackedSquareIsRefused) {
  board b = from_fen("4k3/8/8/8/8/8/5r2/R3K2R w KQ - 0 1");
  b = from_fen("4kr2/8/8/8/8/8/8/R3K2R w KQ - 0 1");  // f1 attacked by the f8 rook
  board before = b;
  undo u;
  EXPECT_FALSE(make(b, encode_move(sq("e1"), sq("g1"), 0, 0, KING), u));
  EXPECT_TRUE(b == before);
  EXPECT_EQ(b.key, before.key);
  EXPECT_EQ(b.fifty, before.fifty);
  // Only b1 attacked: the long castling is fine.
  b = from_fen("1r2k3/8/8/8/8/8/8/R3K2R w KQ - 0 1");
  EXPECT_TRUE(make(b, encode_move(sq("e1"), sq("c1"), 0, 0, KING), u));
  EXPECT_EQ(b.piece[sq("d1")], ROOK);
  EXPECT_EQ(b.piece[sq("c1")], KING);
  EXPECT_EQ(b.castled[WHITE], 1);
  EXPECT_EQ(b.castle & 3u, 0u);
}

TEST(MakeMove, CastlingOutOfCheckOrIntoCheckIsRefused) {
  for (const char* f : {"4k3/8/8/8/8/8/8/R3K2r w KQ - 0 1", "4k3/8/8/8/8/8/8/R3K2R w - - 0 1",
                        "4k1r1/8/8/8/8/8/8/R3K2R w KQ - 0 1", "4k3/8/8/8/1b6/8/8/R3K2R w KQ - 0 1"}) {
    board b = from_fen(f);
    board before = b;
    undo u;
    EXPECT_FALSE(make(b, encode_move(sq("e1"), sq("g1"), 0, 0, KING), u)) << f;
    EXPECT_TRUE(b == before) << f;
  }
}

TEST(MakeMove, CapturingTheA8RookRemovesBlacksLongRight) {
  board b = from_fen("r3k2r/8/8/8/8/8/8/Q3K3 w kq - 0 1");
  undo u;
  ASSERT_TRUE(play(b, "a1", "a8", u));
  EXPECT_EQ(b.castle, u32(BLACK_SHORT));
}

TEST(MakeMove, PromotionWithoutCaptureKeepsPhaseAndMaterialKey) {
  board b = from_fen("8/4P3/8/8/8/8/k7/4K3 w - - 0 1");
  const u64 mat_key = b.mat_key;
  const int phase = b.phase;
  undo u;
  ASSERT_TRUE(play(b, "e7", "e8", u, QUEEN));
  EXPECT_EQ(b.mat_key, mat_key);  // deliberately not updated
  EXPECT_EQ(b.phase, phase);
  EXPECT_NE(b.mat_key, compute_mat_key(b));
  EXPECT_EQ(b.material[WHITE], 975);
  EXPECT_EQ(b.piece[sq("e8")], QUEEN);

  // With a capture both are recomputed.
  b = from_fen("3r4/4P3/8/8/8/8/k7/4K3 w - - 0 1");
  ASSERT_TRUE(play(b, "e7", "d8", u, QUEEN));
  EXPECT_EQ(b.mat_key, compute_mat_key(b));
  EXPECT_EQ(b.phase, 2);
}

TEST(MakeMove, IllegalMoveLeavesTheBoardAlone) {
  board b = from_fen("4k3/8/8/8/8/8/4r3/4KB2 w - - 0 1");
  b = from_fen("4k3/4r3/8/8/8/8/4B3/4K3 w - - 0 1");  // the bishop is pinned
  board before = b;
  undo u;
  EXPECT_FALSE(play(b, "e2", "d3", u));
  EXPECT_TRUE(b == before);
}

TEST(MakeMove, FiftyCounterComesBackNegativeAbove127) {
  // The undo record keeps the counter in a byte; unmake sign-extends it.
  board b = from_fen("4k3/8/8/8/8/8/8/4K3 w - - 0 1");
  b.fifty = 130;
  undo u;
  ASSERT_TRUE(play(b, "e1", "e2", u));
  EXPECT_EQ(b.fifty, 131);
  unmake(b, u);
  EXPECT_EQ(b.fifty, 130 - 256);
}

TEST(MakeMove, KeyHistoryRecordsTheKeyBeforeEachMove) {
  board b = from_fen(start_fen);
  const u64 k0 = b.key;
  undo u[2];
  ASSERT_TRUE(play(b, "g1", "f3", u[0]));
  const u64 k1 = b.key;
  ASSERT_TRUE(play(b, "g8", "f6", u[1]));
  EXPECT_EQ(b.key_history[0], k0);
  EXPECT_EQ(b.key_history[1], k1);
  EXPECT_EQ(b.hist_ply, 2);
  unmake(b, u[1]);
  unmake(b, u[0]);
  EXPECT_EQ(b.key, k0);
  EXPECT_EQ(b.hist_ply, 0);
}

// For every move of every suite position: make then unmake restores the
// whole board, and after every make the incremental keys equal keys computed
// from scratch (mat_key excepted after a promotion without capture).
TEST(MakeMove, RoundTripOverThePerftSuite) {
  ORVO_REQUIRE_DATA(path, "perft/perftsuite.epd");
  auto suite = test::read_perft_suite(path);
  ASSERT_GT(suite.size(), 100u);
  int checked = 0;
  for (const auto& line : suite) {
    for_each_move_near(line.fen, [&](board& b, Move m) {
      board before = b;
      undo u;
      if (!make(b, m, u)) {
        ASSERT_TRUE(b == before) << line.fen;
        return;
      }
      auto keys = test::recompute_keys(b);
      ASSERT_EQ(b.key, keys.key) << line.fen;
      ASSERT_EQ(b.pawn_key, keys.pawn_key) << line.fen;
      const bool quiet_promotion = move_promotion(m) && !move_captured(m);
      const bool stale_before = before.mat_key != test::recompute_keys(before).mat_key;
      if (!quiet_promotion && !(stale_before && !move_captured(m))) {
        ASSERT_EQ(b.mat_key, keys.mat_key) << line.fen;
      }
      if (quiet_promotion) {
        ASSERT_EQ(b.mat_key, before.mat_key);
      }
      unmake(b, u);
      ASSERT_TRUE(b == before) << line.fen << " move " << m;
      ++checked;
    });
  }
  EXPECT_GT(checked, 20000);
}

// Each board keeps its own key history: a copy played on leaves the
// original's alone, and boards compare equal by the keys of their plies.
TEST(MakeMove, EachBoardKeepsItsOwnKeyHistory) {
  board b = from_fen(start_fen);
  undo u[2];
  ASSERT_TRUE(play(b, "g1", "f3", u[0]));
  board copy = b;
  ASSERT_TRUE(play(copy, "g8", "f6", u[1]));
  EXPECT_EQ(b.key_history[1], 0u);
  EXPECT_EQ(copy.key_history[1], b.key);
  unmake(copy, u[1]);
  EXPECT_TRUE(copy == b);
  copy.key_history[0] ^= 1;
  EXPECT_FALSE(copy == b);
}

// A pinned piece may move along its line only; with a second piece on the
// line neither is pinned.
TEST(MakeMove, PinnedPieceMovesOnlyAlongItsLine) {
  board b = from_fen("4q2k/8/8/8/8/8/4R3/4K3 w - - 0 1");
  undo u;
  EXPECT_FALSE(play(b, "e2", "d2", u));
  ASSERT_TRUE(play(b, "e2", "e5", u));
  unmake(b, u);
  ASSERT_TRUE(play(b, "e2", "e8", u));  // takes the pinner
  unmake(b, u);
  EXPECT_FALSE(play(b, "e2", "a2", u));
  // Two pieces on the line: neither is pinned.
  board two = from_fen("4q2k/8/8/8/4B3/8/4R3/4K3 w - - 0 1");
  EXPECT_TRUE(play(two, "e2", "a2", u));
  unmake(two, u);
  EXPECT_TRUE(play(two, "e4", "b1", u));
}

// While in check only the moves that answer it are accepted, also for
// pieces far from the king.
TEST(MakeMove, InCheckOnlyAnswersAreAccepted) {
  board b = from_fen("k3r3/8/8/8/Q7/8/6N1/4K3 w - - 0 1");
  EXPECT_TRUE(is_attacked(b, b.king_sq[WHITE], BLACK));
  undo u;
  EXPECT_FALSE(play(b, "a4", "a7", u));
  EXPECT_FALSE(play(b, "g2", "h4", u));
  EXPECT_FALSE(play(b, "e1", "e2", u));
  for (const char* to : {"e4", "e8"}) {  // blocks, takes the checker
    EXPECT_TRUE(play(b, "a4", to, u)) << to;
    unmake(b, u);
  }
  EXPECT_TRUE(play(b, "g2", "e3", u));
  unmake(b, u);
  EXPECT_TRUE(play(b, "e1", "d2", u));
}

// En passant takes a second piece off the line: the rank pin through both
// pawns is seen although neither pawn is pinned by itself.
TEST(MakeMove, EnPassantThatOpensARankIsRefused) {
  board b = from_fen("8/8/8/K2pP2r/8/8/8/7k w - d6 0 1");
  undo u;
  EXPECT_FALSE(play(b, "e5", "d6", u));
  EXPECT_TRUE(play(b, "e5", "e6", u));
}

// Make tests legality before changing the board where a refusal is likely
// (the side to move marked in check, or a king move) and after it
// elsewhere. The two must agree on every move: over the perft suite, each
// move of the root and of every position one ply away is made once with
// the check flag clear and once with it set, with the same answer, and a
// refused move leaves the board as it was. make_accepts, which answers
// without making the move, must agree as well, and every move taken by a
// side in check must land on one of evasion_targets' squares.
TEST(MakeMove, TheCheckFlagOnlyChoosesWhereLegalityIsTested) {
  ORVO_REQUIRE_DATA(path, "perft/perftsuite.epd");
  auto suite = test::read_perft_suite(path);
  ASSERT_GT(suite.size(), 100u);
  // First the positions of the legality tests above (pins, checks, an en
  // passant that opens a rank or a diagonal), then the suite.
  std::vector<std::string> fens = {"4q2k/8/8/8/8/8/4R3/4K3 w - - 0 1", "k3r3/8/8/8/Q7/8/6N1/4K3 w - - 0 1",
                                   "8/8/8/K2pP2r/8/8/8/7k w - d6 0 1", "8/8/8/8/k2Pp2Q/8/8/4K3 b - d3 0 1",
                                   "7k/8/8/8/2b5/8/4PpK1/8 w - - 0 1", "4k3/8/8/1b1pP3/8/8/6K1/8 w - d6 0 1"};
  for (const auto& line : suite) fens.push_back(line.fen);
  int refused = 0, accepted = 0, check_answers = 0, check_refusals = 0;
  for (const std::string& fen : fens) {
    for_each_move_near(fen, [&](const board& b, Move m) {
      bool answer[2];
      for (u8 flag : {u8(0), u8(1)}) {
        board t = b;
        t.in_check = flag;
        const board before = t;
        undo u;
        answer[flag] = make(t, m, u);
        if (!answer[flag]) {
          ASSERT_TRUE(t == before) << fen << " move " << m;
        }
      }
      ASSERT_EQ(answer[0], answer[1]) << fen << " move " << m;
      ASSERT_EQ(make_accepts(b, m), answer[0]) << fen << " move " << m;
      // A move make takes lands where it answers a check, if there is one.
      if (answer[0] && move_piece(m) != KING && move_to(m) != b.ep) {
        ASSERT_TRUE((evasion_targets(b) >> move_to(m)) & 1) << fen << " move " << m;
      }
      if (is_attacked(b, b.king_sq[b.side], b.xside)) ++(answer[0] ? check_answers : check_refusals);
      ++(answer[0] ? accepted : refused);
    });
  }
  EXPECT_GT(refused, 1000);
  EXPECT_GT(accepted, 20000);
  EXPECT_GT(check_answers, 200);
  EXPECT_GT(check_refusals, 200);
}

// Games of random legal moves from the suite's positions: wherever the side
// to move is in check, every move make takes other than a king move or an
// en-passant capture lands on evasion_targets' squares.
TEST(MakeMove, EvasionTargetsNeverShutOutALegalMove) {
  ORVO_REQUIRE_DATA(path, "perft/perftsuite.epd");
  auto suite = test::read_perft_suite(path);
  ASSERT_GT(suite.size(), 100u);
  constexpr int GAMES_PER_POSITION = 100, PLIES = 80;
  std::mt19937 rng(20261124);
  int positions_in_check = 0, answers = 0;
  for (const auto& line : suite) {
    for (int game = 0; game < GAMES_PER_POSITION; ++game) {
      board b = from_fen(line.fen);
      for (int ply = 0; ply < PLIES; ++ply) {
        MoveList l;
        generate_all(b, l);
        Move legal[MAX_MOVES];
        int n = 0;
        const bool in_check = is_attacked(b, b.king_sq[b.side], b.xside);
        const u64 targets = evasion_targets(b);
        for (int i = 0; i < l.count; ++i) {
          const Move m = l.moves[i];
          if (!make_accepts(b, m)) continue;
          legal[n++] = m;
          if (in_check && move_piece(m) != KING && move_to(m) != b.ep) {
            ASSERT_TRUE((targets >> move_to(m)) & 1) << line.fen << " ply " << ply << " move " << m;
            ++answers;
          }
        }
        positions_in_check += in_check;
        if (n == 0) break;
        undo u;
        ASSERT_TRUE(make(b, legal[rng() % n], u));
        b.in_check = is_attacked(b, b.king_sq[b.side], b.xside);
      }
    }
  }
  EXPECT_GT(positions_in_check, 5000);
  EXPECT_GT(answers, 5000);
}

// The perft walk prepares each position once (the king's state, and the
// undo record but for the move) and then makes every move of it through
// make's body with that preparation, taking each back with the unmake that
// restores only what the move changed. Over games of random legal moves
// from the suite's positions, that must accept exactly the moves make
// accepts, leave the same board after each, and take each back to the
// position it was made from, move after move on the one prepared position.
TEST(MakeMove, PreparingThePositionChangesNoAnswer) {
  ORVO_REQUIRE_DATA(path, "perft/perftsuite.epd");
  auto suite = test::read_perft_suite(path);
  ASSERT_GT(suite.size(), 100u);
  int refused = 0, accepted = 0, in_check = 0;
  // Every generated move of b, on one board prepared once; the legal ones
  // go to legal.
  auto check_position = [&](const board& b, const std::string& where, Move* legal, int& n) {
    MoveList l;
    const int captures = generate_captures(b, l);
    generate_quiets(b, l);
    n = 0;
    in_check += is_attacked(b, b.king_sq[b.side], b.xside);
    const bool white = b.side == WHITE;
    board walked = b;
    make_detail::PreparedPosition prepared =
        white ? make_detail::prepare_position<WHITE>(walked) : make_detail::prepare_position<BLACK>(walked);
    const board prepared_board = walked;
    for (int i = 0; i < l.count; ++i) {
      const Move m = l.moves[i];
      board plain = b;
      undo u;
      const bool answer = make(plain, m, u);
      const bool quiet = i >= captures;
      if (quiet) {
        ASSERT_EQ(move_captured(m), 0) << where << " move " << m;
      }
      const bool made = white ? make_walked<WHITE>(walked, m, prepared, quiet)
                              : make_walked<BLACK>(walked, m, prepared, quiet);
      ASSERT_EQ(made, answer) << where << " move " << m;
      ASSERT_TRUE(plain == walked) << where << " move " << m;
      if (answer) {
        if (white)
          unmake_walked<WHITE>(walked, prepared, quiet);
        else
          unmake_walked<BLACK>(walked, prepared, quiet);
        ASSERT_TRUE(walked == prepared_board) << where << " move " << m;
        legal[n++] = m;
      }
      ++(answer ? accepted : refused);
    }
  };
  // Pins, checks, and en-passant captures that uncover the king along the
  // row or, through the pawn taken, along a diagonal the capturing pawn
  // does not stand on (the last two: White's and Black's).
  const char* cases[] = {"4q2k/8/8/8/8/8/4R3/4K3 w - - 0 1",      "k3r3/8/8/8/Q7/8/6N1/4K3 w - - 0 1",
                         "8/8/8/K2pP2r/8/8/8/7k w - d6 0 1",       "8/8/8/8/k2Pp2Q/8/8/4K3 b - d3 0 1",
                         "7k/8/8/8/2b5/8/4PpK1/8 w - - 0 1",        "4k3/8/8/1b1pP3/8/8/6K1/8 w - d6 0 1",
                         "k7/1b6/8/3pP3/8/5K2/8/8 w - d6 0 1",      "8/8/5k2/8/3Pp3/8/1B6/K7 b - d3 0 1"};
  Move legal[MAX_MOVES];
  int n = 0;
  for (const char* fen : cases) {
    check_position(from_fen(fen), fen, legal, n);
    if (HasFatalFailure()) return;
  }
  // The last two: the en-passant capture is refused, the king's moves are not.
  for (const char* fen : {cases[6], cases[7]}) {
    const board b = from_fen(fen);
    check_position(b, fen, legal, n);
    for (int i = 0; i < n; ++i) EXPECT_NE(move_to(legal[i]), b.ep) << fen;
    EXPECT_GT(n, 0) << fen;
  }
  // Then games of random legal moves from the suite's positions.
  constexpr int GAMES_PER_POSITION = 20, PLIES = 80;
  std::mt19937 rng(20261125);
  for (const auto& line : suite) {
    for (int game = 0; game < GAMES_PER_POSITION; ++game) {
      board b = from_fen(line.fen);
      for (int ply = 0; ply < PLIES; ++ply) {
        check_position(b, line.fen + " ply " + std::to_string(ply), legal, n);
        if (HasFatalFailure()) return;
        if (n == 0) break;
        undo u;
        ASSERT_TRUE(make(b, legal[rng() % n], u));
      }
    }
  }
  EXPECT_GT(refused, 20000);
  EXPECT_GT(accepted, 500000);
  EXPECT_GT(in_check, 2000);
}

// The squares where a move other than a king move answers a check.
TEST(MakeMove, EvasionTargetsAreTheCheckerAndTheSquaresBetween) {
  auto bit = [](const char* name) { return 1ull << sq(name); };
  // A rook on e8 checks the king on e1: e2 to e8.
  u64 line = 0;
  for (const char* s : {"e2", "e3", "e4", "e5", "e6", "e7", "e8"}) line |= bit(s);
  EXPECT_EQ(evasion_targets(from_fen("k3r3/8/8/8/8/8/8/4K3 w - - 0 1")), line);
  // A knight on d3: only taking it.
  EXPECT_EQ(evasion_targets(from_fen("k7/8/8/8/8/3n4/8/4K3 w - - 0 1")), bit("d3"));
  // A pawn on d2: only taking it.
  EXPECT_EQ(evasion_targets(from_fen("k7/8/8/8/8/8/3p4/4K3 w - - 0 1")), bit("d2"));
  // Rook and knight at once: no square answers both.
  EXPECT_EQ(evasion_targets(from_fen("k3r3/8/8/8/8/3n4/8/4K3 w - - 0 1")), 0u);
  // Not in check: every square.
  EXPECT_EQ(evasion_targets(from_fen(start_fen)), ~0ull);
  // Black in check from a bishop on b5: c6 and b5... and d7.
  EXPECT_EQ(evasion_targets(from_fen("4k3/8/8/1B6/8/8/8/4K3 b - - 0 1")), bit("d7") | bit("c6") | bit("b5"));
}

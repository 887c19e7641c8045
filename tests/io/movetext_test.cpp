#include "io/movetext.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "position/fen.h"
#include "position/game.h"
#include "position/makemove.h"
#include "position/tables.h"

using namespace orvo;

namespace {

class MoveText : public ::testing::Test {
 protected:
  void SetUp() override {
    init_tables();
    c = std::make_unique<Game>();
  }
  void setup(const char* fen) { set_position(c->pos, fen); }
  std::string text(Move m) {
    char buf[6];
    move_to_text(m, buf);
    return buf;
  }
  std::unique_ptr<Game> c;
};

}  // namespace

TEST_F(MoveText, MoveToTextWritesSquaresAndPromotionLetter) {
  EXPECT_EQ(text(encode_move(E2, E4, 0, 0, PAWN)), "e2e4");
  EXPECT_EQ(text(encode_move(E7, E8, 0, KNIGHT, PAWN)), "e7e8n");
  EXPECT_EQ(text(encode_move(E7, E8, 0, BISHOP, PAWN)), "e7e8b");
  EXPECT_EQ(text(encode_move(E7, D8, ROOK, ROOK, PAWN)), "e7d8r");
  EXPECT_EQ(text(encode_move(A2, A1, 0, QUEEN, PAWN)), "a2a1q");
  EXPECT_EQ(text(encode_move(H1, A8, 0, 0, QUEEN)), "h1a8");
}

TEST_F(MoveText, EmptyMoveIsA8A8) { EXPECT_EQ(text(0), "a8a8"); }

TEST_F(MoveText, CoordinateWellFormedness) {
  EXPECT_TRUE(is_coordinate_move("e2e4"));
  EXPECT_TRUE(is_coordinate_move("a1h8"));
  for (const char* ok : {"e7e8q", "e7e8Q", "e7e8r", "e7e8R", "e7e8b", "e7e8B", "e7e8n", "e7e8N"})
    EXPECT_TRUE(is_coordinate_move(ok)) << ok;
  for (const char* bad : {"e7e8x", "e7e8k", "", "e2e", "e2e4q5", "i2e4", "e9e4", "e0e4", "E2E4",
                          "e2-e4", "e2e4 "})
    EXPECT_FALSE(is_coordinate_move(bad)) << bad;
}

TEST_F(MoveText, ApplyPlaysIntoTheGameHistory) {
  setup(start_fen);
  const Move m = apply_coordinate_move(*c, "e2e4");
  EXPECT_EQ(m, encode_move(E2, E4, 0, 0, PAWN));
  EXPECT_EQ(c->pos.hist_ply, 1);
  EXPECT_EQ(c->history[0].move, m);
  EXPECT_EQ(c->pos.piece[E4], PAWN);
  EXPECT_EQ(c->pos.side, BLACK);
  const Move r = apply_coordinate_move(*c, "e7e5");
  EXPECT_EQ(r, encode_move(E7, E5, 0, 0, PAWN));
  EXPECT_EQ(c->history[1].move, r);
}

TEST_F(MoveText, ApplyRefusesImpossibleMovesAndLeavesThePosition) {
  setup(start_fen);
  const board before = c->pos;
  for (const char* bad : {"e2e5", "zzzz", "e7e5", "e1e2", "a8a8", "d1h5", "e2", "", "b1b3", "i2e4",
                          "e2e4e"}) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(apply_coordinate_move(*c, bad), 0u) << bad;
    testing::internal::GetCapturedStdout();
    EXPECT_TRUE(c->pos == before) << bad;
  }
}

TEST_F(MoveText, ApplyReportsAnIllegalPromotionLetter) {
  setup("8/4P3/8/8/8/8/k7/7K w - - 0 1");
  testing::internal::CaptureStdout();
  EXPECT_EQ(apply_coordinate_move(*c, "e7e8x"), 0u);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "play: illegal promotion\n");
  EXPECT_EQ(c->pos.hist_ply, 0);
}

TEST_F(MoveText, ApplyPromotesInEitherCase) {
  setup("8/4P3/8/8/8/8/k7/7K w - - 0 1");
  EXPECT_EQ(apply_coordinate_move(*c, "e7e8N"), encode_move(E7, E8, 0, KNIGHT, PAWN));
  EXPECT_EQ(c->pos.piece[E8], KNIGHT);
  setup("8/4P3/8/8/8/8/k7/7K w - - 0 1");
  EXPECT_EQ(apply_coordinate_move(*c, "e7e8q"), encode_move(E7, E8, 0, QUEEN, PAWN));
  // A pawn never reaches the last rank unpromoted.
  setup("8/4P3/8/8/8/8/k7/7K w - - 0 1");
  EXPECT_EQ(apply_coordinate_move(*c, "e7e8"), 0u);
}

TEST_F(MoveText, ApplyCastlesAndTakesEnPassant) {
  setup("r3k2r/pppppppp/8/8/8/8/PPPPPPPP/R3K2R w KQkq - 0 1");
  EXPECT_EQ(apply_coordinate_move(*c, "e1g1"), encode_move(E1, G1, 0, 0, KING));
  EXPECT_EQ(c->pos.piece[F1], ROOK);
  EXPECT_EQ(apply_coordinate_move(*c, "e8c8"), encode_move(E8, C8, 0, 0, KING));
  EXPECT_EQ(c->pos.piece[D8], ROOK);

  setup(start_fen);
  for (const char* m : {"e2e4", "a7a6", "e4e5", "d7d5"}) ASSERT_NE(apply_coordinate_move(*c, m), 0u) << m;
  EXPECT_EQ(apply_coordinate_move(*c, "e5d6"), encode_move(E5, D6, PAWN, 0, PAWN));
  EXPECT_EQ(c->pos.piece[D5], EMPTY);
}

TEST_F(MoveText, ApplyRefusesAMoveIntoCheck) {
  setup("4k3/8/8/8/8/8/4r3/4K3 w - - 0 1");
  const board before = c->pos;
  EXPECT_EQ(apply_coordinate_move(*c, "e1f2"), 0u);  // the rook on e2 covers f2
  EXPECT_TRUE(c->pos == before);
  EXPECT_EQ(apply_coordinate_move(*c, "e1e2"), encode_move(E1, E2, ROOK, 0, KING));
}

// The game history is a ring like the key history: a move list far longer
// than either is played to its end, and the latest moves can be taken back.
TEST_F(MoveText, ApplyGoesOnPastTheGameHistory) {
  setup(start_fen);
  const char* shuffle[4] = {"g1f3", "g8f6", "f3g1", "f6g8"};
  constexpr int PLIES = 10000;
  int played = 0;
  for (int i = 0; i < PLIES; ++i)
    if (apply_coordinate_move(*c, shuffle[i % 4])) ++played;
  EXPECT_EQ(played, PLIES);
  EXPECT_EQ(c->pos.hist_ply, PLIES);
  EXPECT_EQ(c->pos.fifty, PLIES);
  board start;
  set_position(start, start_fen);
  EXPECT_EQ(c->pos.key, start.key);
  EXPECT_TRUE(apply_coordinate_move(*c, "e2e4"));
  unmake(c->pos, c->history_slot(c->pos.hist_ply - 1));
  unmake(c->pos, c->history_slot(c->pos.hist_ply - 1));
  board after_f6g8 = start;
  undo u;
  ASSERT_TRUE(make(after_f6g8, encode_move(G1, F3, 0, 0, KNIGHT), u));
  ASSERT_TRUE(make(after_f6g8, encode_move(G8, F6, 0, 0, KNIGHT), u));
  ASSERT_TRUE(make(after_f6g8, encode_move(F3, G1, 0, 0, KNIGHT), u));
  EXPECT_EQ(c->pos.key, after_f6g8.key);  // f6g8 taken back: the knight is on f6 again
  EXPECT_EQ(c->pos.hist_ply, PLIES - 1);
}

// --- SAN ---------------------------------------------------------------

TEST_F(MoveText, SanCastlingSpellings) {
  setup("r3k2r/pppppppp/8/8/8/8/PPPPPPPP/R3K2R w KQkq - 0 1");
  const Move short_castle = encode_move(E1, G1, 0, 0, KING);
  const Move long_castle = encode_move(E1, C1, 0, 0, KING);
  EXPECT_EQ(parse_san(c->pos, "O-O"), short_castle);
  EXPECT_EQ(parse_san(c->pos, "o-o"), short_castle);
  EXPECT_EQ(parse_san(c->pos, "O-O+"), short_castle);
  EXPECT_EQ(parse_san(c->pos, "O-O#"), short_castle);
  EXPECT_EQ(parse_san(c->pos, "O-O-O"), long_castle);
  EXPECT_EQ(parse_san(c->pos, "O-0-0"), long_castle);
  EXPECT_EQ(parse_san(c->pos, "o-o-o+"), long_castle);
  // A leading zero is turned away before the castling reader sees it.
  EXPECT_EQ(parse_san(c->pos, "0-0"), 0u);
  EXPECT_EQ(parse_san(c->pos, "0-0-0"), 0u);
  EXPECT_EQ(parse_san(c->pos, "O-O-O-O"), 0u);
  EXPECT_EQ(parse_san(c->pos, "Ox"), 0u);
  EXPECT_EQ(parse_san(c->pos, "O-O!"), 0u);
}

TEST_F(MoveText, SanCastlingIsNotTestedForLegality) {
  setup(start_fen);
  EXPECT_EQ(parse_san(c->pos, "O-O"), encode_move(E1, G1, 0, 0, KING));
  setup("rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq - 0 1");
  EXPECT_EQ(parse_san(c->pos, "O-O-O"), encode_move(E8, C8, 0, 0, KING));
}

TEST_F(MoveText, SanFileDisambiguationAndAmbiguity) {
  setup("rnbqkb1r/pppppppp/5n2/8/3P4/5N2/PPP1PPPP/RNBQKB1R w KQkq - 1 3");
  EXPECT_EQ(parse_san(c->pos, "Nbd2"), encode_move(B1, D2, 0, 0, KNIGHT));
  EXPECT_EQ(parse_san(c->pos, "Nfd2"), encode_move(F3, D2, 0, 0, KNIGHT));
  EXPECT_EQ(parse_san(c->pos, "Nd2"), 0u);  // ambiguous
}

TEST_F(MoveText, SanRankDisambiguation) {
  setup("4k3/8/8/8/8/R7/8/R3K3 w - - 0 1");
  EXPECT_EQ(parse_san(c->pos, "Ra2"), 0u);
  EXPECT_EQ(parse_san(c->pos, "R1a2"), encode_move(A1, A2, 0, 0, ROOK));
  EXPECT_EQ(parse_san(c->pos, "R3a2"), encode_move(A3, A2, 0, 0, ROOK));
  EXPECT_EQ(parse_san(c->pos, "R9a2"), 0u);
  EXPECT_EQ(parse_san(c->pos, "R0a2"), 0u);
}

TEST_F(MoveText, SanPinnedCandidateIsNotCounted) {
  // Knights on b5 and e2 both reach c3, but the e2 knight is pinned on the
  // e-file, so "Nc3" is not ambiguous.
  setup("4r1k1/8/8/1N6/8/8/4N3/4K3 w - - 0 1");
  EXPECT_EQ(parse_san(c->pos, "Nc3"), encode_move(B5, C3, 0, 0, KNIGHT));
  setup("6k1/8/8/1N6/8/8/4N3/4K3 w - - 0 1");
  EXPECT_EQ(parse_san(c->pos, "Nc3"), 0u);
}

TEST_F(MoveText, SanEnPassant) {
  setup("rnbqkbnr/ppp1pppp/8/3pP3/8/8/PPPP1PPP/RNBQKBNR w KQkq d6 0 3");
  EXPECT_EQ(parse_san(c->pos, "exd6"), encode_move(E5, D6, PAWN, 0, PAWN));
  EXPECT_EQ(parse_san(c->pos, "exd6+"), encode_move(E5, D6, PAWN, 0, PAWN));
  // Without the en-passant chance the same text is no move.
  setup("rnbqkbnr/ppp1pppp/8/3pP3/8/8/PPPP1PPP/RNBQKBNR w KQkq - 0 3");
  EXPECT_EQ(parse_san(c->pos, "exd6"), 0u);
}

TEST_F(MoveText, SanPromotionWithAndWithoutEquals) {
  setup("3r4/4P3/8/8/8/8/k7/7K w - - 0 1");
  const Move q = encode_move(E7, E8, 0, QUEEN, PAWN);
  EXPECT_EQ(parse_san(c->pos, "e8=Q"), q);
  EXPECT_EQ(parse_san(c->pos, "e8Q"), q);
  EXPECT_EQ(parse_san(c->pos, "e8q"), q);
  EXPECT_EQ(parse_san(c->pos, "e8=N+"), encode_move(E7, E8, 0, KNIGHT, PAWN));
  EXPECT_EQ(parse_san(c->pos, "exd8=R"), encode_move(E7, D8, ROOK, ROOK, PAWN));
  EXPECT_EQ(parse_san(c->pos, "e8"), 0u);  // a promotion needs its piece
}

TEST_F(MoveText, SanPawnPushesCapturesAndLongForm) {
  setup(start_fen);
  EXPECT_EQ(parse_san(c->pos, "e4"), encode_move(E2, E4, 0, 0, PAWN));
  EXPECT_EQ(parse_san(c->pos, "e3"), encode_move(E2, E3, 0, 0, PAWN));
  EXPECT_EQ(parse_san(c->pos, "e5"), 0u);
  EXPECT_EQ(parse_san(c->pos, "e2-e4"), encode_move(E2, E4, 0, 0, PAWN));
  EXPECT_EQ(parse_san(c->pos, "Nf3"), encode_move(G1, F3, 0, 0, KNIGHT));
  EXPECT_EQ(parse_san(c->pos, "Ng1-f3"), encode_move(G1, F3, 0, 0, KNIGHT));
  EXPECT_EQ(parse_san(c->pos, "  Nc3!?"), encode_move(B1, C3, 0, 0, KNIGHT));
  EXPECT_EQ(parse_san(c->pos, "Ng1-e2"), 0u);  // own pawn there
  EXPECT_EQ(parse_san(c->pos, "Bg1-f3"), 0u);  // no bishop on g1

  setup("rnbqkbnr/ppp1pppp/8/3p4/4P3/2N5/PPPP1PPP/R1BQKBNR w KQkq - 0 3");
  EXPECT_EQ(parse_san(c->pos, "exd5"), encode_move(E4, D5, PAWN, 0, PAWN));
  EXPECT_EQ(parse_san(c->pos, "e4xd5"), encode_move(E4, D5, PAWN, 0, PAWN));
  EXPECT_EQ(parse_san(c->pos, "ed5"), 0u);  // the short form is misread
  EXPECT_EQ(parse_san(c->pos, "cxd5"), 0u);  // no pawn on c4
  EXPECT_EQ(parse_san(c->pos, "Nc3xd5"), encode_move(C3, D5, PAWN, 0, KNIGHT));
  EXPECT_EQ(parse_san(c->pos, "Nxd5"), encode_move(C3, D5, PAWN, 0, KNIGHT));
}

TEST_F(MoveText, SanBlackMoves) {
  setup("rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq - 0 1");
  EXPECT_EQ(parse_san(c->pos, "e5"), encode_move(E7, E5, 0, 0, PAWN));
  EXPECT_EQ(parse_san(c->pos, "e6"), encode_move(E7, E6, 0, 0, PAWN));
  EXPECT_EQ(parse_san(c->pos, "Nf6"), encode_move(G8, F6, 0, 0, KNIGHT));
  setup("4k3/8/8/8/3pP3/8/8/4K3 b - e3 0 1");
  EXPECT_EQ(parse_san(c->pos, "dxe3"), encode_move(D4, E3, PAWN, 0, PAWN));
}

TEST_F(MoveText, SanPawnCaptureNeverWrapsOverTheEdge) {
  // A White pawn on a4; "hxa5" must not find it through the board's edge.
  setup("4k3/8/8/p7/P6p/8/8/4K3 w - - 0 1");
  EXPECT_EQ(parse_san(c->pos, "hxa5"), 0u);
  EXPECT_EQ(parse_san(c->pos, "bxa5"), 0u);
  setup("4k3/8/8/1p6/P7/8/8/4K3 w - - 0 1");
  EXPECT_EQ(parse_san(c->pos, "axb5"), encode_move(A4, B5, PAWN, 0, PAWN));
}

TEST_F(MoveText, SanLeavesTheBoardAsItWas) {
  setup("rnbqkbnr/ppp1pppp/8/3pP3/8/8/PPPP1PPP/RNBQKBNR w KQkq d6 0 3");
  const board before = c->pos;
  for (const char* t : {"exd6", "Nf3", "O-O", "e8=Q", "Ke2", "Qh5", "Bb5+", "d3", "a4", "Nd2"})
    parse_san(c->pos, t);
  EXPECT_TRUE(c->pos == before);
}

TEST_F(MoveText, SanGarbageIsNoMove) {
  setup(start_fen);
  const board before = c->pos;
  for (const char* t : {"", " ", "+", "1.", "1-0", "Z", "Zf3", "N", "Nz9", "Qz", "e", "ex", "exz9",
                        "e9", "i4", "Nbz3", "NBd2", "x", "xe4", "K", "Kx", "*", "=Q", "N1-",
                        "a1-", "e2-", "e2-e9", "z2-e4"})
    EXPECT_EQ(parse_san(c->pos, t), 0u) << t;
  EXPECT_TRUE(c->pos == before);
}

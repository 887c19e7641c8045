#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "position/fen.h"
#include "position/tables.h"
#include "tests/support/positions.h"

using namespace orvo;
using orvo::test::from_fen;
using orvo::test::sq;

TEST(Fen, StartPositionKey) {
  board b = from_fen(start_fen);
  u64 key = 0;
  for (int s = 0; s < 64; ++s)
    if (b.piece[s]) key ^= zobrist[b.color[s]][b.piece[s]][s];
  u64 pawn_key = 0;
  for (int s = 0; s < 64; ++s)
    if (b.piece[s] == PAWN) pawn_key ^= zobrist[b.color[s]][PAWN][s];
  EXPECT_EQ(b.key, key ^ zobrist_castle_ep[15] ^ zobrist_side[WHITE]);
  EXPECT_EQ(b.pawn_key, pawn_key);
  EXPECT_EQ(b.in_check, 0);
  // Eight pawns, two knights, bishops, rooks and one queen a side.
  u64 mat = 0;
  for (int c : {WHITE, BLACK})
    mat ^= zobrist[c][PAWN][8] ^ zobrist[c][KNIGHT][2] ^ zobrist[c][BISHOP][2] ^
           zobrist[c][ROOK][2] ^ zobrist[c][QUEEN][1];
  EXPECT_EQ(b.mat_key, mat);
  EXPECT_EQ(compute_mat_key(b), mat);
}

TEST(Fen, EmptyBoardKeepsKingSquares) {
  board b = from_fen("4k3/8/8/8/8/8/8/K7 w - - 0 1");
  set_position(b, "8/8/8/8/8/8/8/8 w - - 0 1");
  EXPECT_EQ(b.occupied, 0u);
  EXPECT_EQ(b.king_sq[WHITE], sq("a1"));
  EXPECT_EQ(b.king_sq[BLACK], sq("e8"));
}

TEST(Fen, CastlingField) {
  EXPECT_EQ(from_fen("4k3/8/8/8/8/8/8/4K3 w KQkq - 0 1").castle, 15u);
  EXPECT_EQ(from_fen("4k3/8/8/8/8/8/8/4K3 w qkQK - 0 1").castle, 15u);
  EXPECT_EQ(from_fen("4k3/8/8/8/8/8/8/4K3 w KQkqX - 0 1").castle, 15u);
  EXPECT_EQ(from_fen("4k3/8/8/8/8/8/8/4K3 w - - 0 1").castle, 0u);
  EXPECT_EQ(from_fen("4k3/8/8/8/8/8/8/4K3 w XKQkq - 0 1").castle, 7u);  // only four read
}

TEST(Fen, EnPassantField) {
  EXPECT_EQ(from_fen("4k3/8/8/8/4P3/8/8/4K3 b - e3 0 1").ep, 44);
  EXPECT_EQ(from_fen("4k3/8/8/4p3/8/8/8/4K3 w - e6 0 1").ep, 20);
  EXPECT_EQ(from_fen("4k3/8/8/8/8/8/8/4K3 w - - 0 1").ep, -1);
  EXPECT_EQ(from_fen("4k3/8/8/8/8/8/8/4K3 w - e 0 1").ep, -1);
  EXPECT_EQ(from_fen("4k3/8/8/8/8/8/8/4K3 w - e33 0 1").ep, -1);
  EXPECT_EQ(from_fen("4k3/8/8/8/8/8/8/4K3 w - a9 0 1").ep, -1);
  // Accepted although no capture is possible.
  EXPECT_EQ(from_fen("4k3/8/8/8/8/8/8/4K3 w - c6 0 1").ep, sq("c6"));
}

TEST(Fen, SideField) {
  EXPECT_EQ(from_fen("4k3/8/8/8/8/8/8/4K3 b - - 0 1").side, BLACK);
  EXPECT_EQ(from_fen("4k3/8/8/8/8/8/8/4K3 x - - 0 1").side, BLACK);
  EXPECT_EQ(from_fen("4k3/8/8/8/8/8/8/4K3 x - - 0 1").xside, WHITE);
  EXPECT_EQ(from_fen("4k3/8/8/8/8/8/8/4K3 w - - 0 1").side, WHITE);
}

TEST(Fen, CastledFlagsFromRights) {
  board b = from_fen("r3k2r/8/8/8/8/8/8/R3K2R w Kq - 0 1");
  EXPECT_EQ(b.castled[WHITE], 0);
  EXPECT_EQ(b.castled[BLACK], 0);
  b = from_fen("r3k2r/8/8/8/8/8/8/R3K2R w - - 0 1");
  EXPECT_EQ(b.castled[WHITE], 1);
  EXPECT_EQ(b.castled[BLACK], 1);
}

TEST(Fen, CountersAreIgnored) {
  board b = from_fen("4k3/8/8/8/8/8/8/4K3 w - - 45 80");
  EXPECT_EQ(b.fifty, 0);
  EXPECT_EQ(b.hist_ply, 0);
}

TEST(Fen, InCheckAtSetup) {
  EXPECT_EQ(from_fen("4k3/8/8/8/8/8/8/4KR1q w - - 0 1").in_check, 0);
  EXPECT_EQ(from_fen("4k3/8/8/8/8/8/8/4K2q w - - 0 1").in_check, 1);
  EXPECT_EQ(from_fen("4k3/3P4/8/8/8/8/8/4K3 b - - 0 1").in_check, 1);
}

TEST(Fen, LongPlacementIsCutAt60Characters) {
  // 300 characters of placement: only the first 60 count, nothing breaks.
  std::string placement;
  while (placement.size() < 300) placement += "pP1/";
  board b = from_fen(placement + " w - - 0 1");
  EXPECT_LE(popcount(b.occupied), 60);
  for (int s = 0; s < 64; ++s) EXPECT_EQ(b.piece[s] == EMPTY, b.color[s] == NO_COLOR);
}

TEST(Fen, OverfullRowsRunOnAndStopAtTheBoardsEnd) {
  board b = from_fen("ppppppppp/8/8/8/8/8/8/8 w - - 0 1");
  EXPECT_EQ(b.piece[sq("a7")], PAWN);  // the ninth pawn lands on the next row
  b = from_fen("8/8/8/8/8/8/8/8/8/8/KQ w - - 0 1");
  EXPECT_EQ(b.occupied, 0u);  // rows beyond the board are dropped
  b = from_fen("88888888Q w - - 0 1");
  EXPECT_EQ(b.occupied, 0u);
}

TEST(Fen, GarbageNeverBreaksTheBoard) {
  const char* inputs[] = {"", " ", "garbage", "////////////", "xyz w KQkq e3", "K", "8/8 w",
                          "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR", "k7/8/8/8/8/8/8/KK6 w - - 0 1",
                          "QQQQQQQQ/QQQQQQQQ/8/8/8/8/8/k6K w - z5 0 1"};
  for (const char* f : inputs) {
    board b = from_fen(f);
    u64 all = 0;
    for (int s = 0; s < 64; ++s) {
      EXPECT_EQ(b.piece[s] == EMPTY, b.color[s] == NO_COLOR);
      if (b.piece[s]) all |= 1ull << s;
    }
    EXPECT_EQ(b.occupied, all) << f;
    EXPECT_GE(b.king_sq[0], 0);
    EXPECT_LT(b.king_sq[0], 64);
  }
}

TEST(Fen, OccupiedEnPassantSquareIsDropped) {
  // A capture onto an occupied "en-passant square" could not be taken back
  // correctly, so such a square is not kept.
  EXPECT_EQ(from_fen("4k3/8/4p3/3P4/8/8/8/4K3 w - e6 0 1").ep, -1);
}

TEST(Fen, WriteFen) {
  char text[128];
  board b = from_fen(start_fen);
  write_fen(b, text);
  EXPECT_STREQ(text, "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
  b = from_fen("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R b Kq e3 7 30");
  write_fen(b, text);
  EXPECT_STREQ(text, "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R b Kq e3 0 1");
  b.hist_ply = 1998;
  b.fifty = 12;
  write_fen(b, text);
  EXPECT_STREQ(text, "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R b Kq e3 12 ");
  b.hist_ply = 1996;
  write_fen(b, text);
  EXPECT_STREQ(text, "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R b Kq e3 12 999");
}

TEST(Fen, BoardDiagram) {
  board b = from_fen("4k3/8/8/8/8/8/8/R3K2q w - - 0 1");
  char text[1024];
  format_board(b, text);
  const std::string rule = "       +---+---+---+---+---+---+---+---+\n";
  std::string expected = "\n" + rule;
  expected += "    8  |   | . |   | . |(K)| . |   | . |\n" + rule;
  for (int rank = 7; rank >= 2; --rank) {
    char row[64];
    if (rank % 2)
      std::snprintf(row, sizeof row, "    %d  | . |   | . |   | . |   | . |   |\n", rank);
    else
      std::snprintf(row, sizeof row, "    %d  |   | . |   | . |   | . |   | . |\n", rank);
    expected += row + rule;
  }
  expected += "    1  | R |   | . |   | K |   | . |(Q)|\n" + rule;
  expected += "         a   b   c   d   e   f   g   h\n\n";
  EXPECT_EQ(std::string(text), expected);
}

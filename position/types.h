// Basic vocabulary shared by every part of the engine: squares, pieces,
// colours, the packed move word, move lists and the undo record.
#pragma once
#include <cstdint>
#include <initializer_list>

namespace orvo {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using i8 = std::int8_t;
using i16 = std::int16_t;
using i32 = std::int32_t;
using i64 = std::int64_t;

// Squares run from a8 (0) to h1 (63): row 0 is rank 8, file a is 0.
constexpr int square_of(int file, int rank) { return (8 - rank) * 8 + file; }
constexpr int file_of(int sq) { return sq & 7; }
constexpr int row_of(int sq) { return sq >> 3; }

enum Square : int {
  A8, B8, C8, D8, E8, F8, G8, H8,
  A7, B7, C7, D7, E7, F7, G7, H7,
  A6, B6, C6, D6, E6, F6, G6, H6,
  A5, B5, C5, D5, E5, F5, G5, H5,
  A4, B4, C4, D4, E4, F4, G4, H4,
  A3, B3, C3, D3, E3, F3, G3, H3,
  A2, B2, C2, D2, E2, F2, G2, H2,
  A1, B1, C1, D1, E1, F1, G1, H1,
};

// Piece types, the same in the mailbox and in the move word.
enum Piece : int { EMPTY = 0, PAWN = 1, KNIGHT = 2, BISHOP = 3, ROOK = 4, QUEEN = 5, KING = 6 };

// Colours: White is 1 and Black is 0; an empty square's colour is 255.
constexpr int BLACK = 0;
constexpr int WHITE = 1;
constexpr u8 NO_COLOR = 255;

// Castling-right bits.
constexpr u32 WHITE_SHORT = 1, WHITE_LONG = 2, BLACK_SHORT = 4, BLACK_LONG = 8;

// Material values of the material sums, and phase units of the pieces.
constexpr int piece_value[7] = {0, 100, 325, 325, 500, 975, 0};
constexpr int phase_unit[7] = {0, 0, 3, 3, 5, 9, 0};

// Game-phase class from the sum of both sides' material.
constexpr int phase_of(int total_material) {
  return total_material <= 3800 ? 2 : total_material <= 5800 ? 1 : 0;
}

// A move is a 32-bit word: from 0-5, to 6-11, captured 12-15, promotion
// 16-19, moving piece 20-23. 0 is "no move". There are no flag bits:
// castling is a king moving two files, en passant a pawn capturing onto
// the en-passant square.
using Move = u32;

constexpr Move encode_move(int from, int to, int captured, int promotion, int piece) {
  return Move(from) | Move(to) << 6 | Move(captured) << 12 | Move(promotion) << 16 |
         Move(piece) << 20;
}
constexpr int move_from(Move m) { return m & 63; }
constexpr int move_to(Move m) { return (m >> 6) & 63; }
constexpr int move_captured(Move m) { return (m >> 12) & 15; }
constexpr int move_promotion(Move m) { return (m >> 16) & 15; }
constexpr int move_piece(Move m) { return (m >> 20) & 15; }
constexpr bool move_is_quiet(Move m) { return ((m >> 12) & 0xFF) == 0; }

constexpr int MAX_MOVES = 256;

struct MoveList {
  Move moves[MAX_MOVES];
  i32 scores[MAX_MOVES];
  i32 count;
};

// What make saves and unmake restores. ep and fifty are kept in a byte
// each and come back sign-extended.
struct undo {
  u64 key;
  u64 pawn_key;
  u64 mat_key;
  Move move;
  Move last_move;
  u8 castle;
  u8 ep;
  u8 fifty;
  u8 king_sq;
  u8 castled;
  u8 in_check;
  i32 phase;
};

}  // namespace orvo

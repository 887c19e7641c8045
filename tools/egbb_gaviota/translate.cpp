#include "tools/egbb_gaviota/translate.h"

#include <gtb-probe.h>

namespace egbb_gaviota {

namespace {

constexpr int SQUARES = 64;
constexpr int RANK_SIZE = 8;
constexpr int FIRST_RANK = 0, LAST_RANK = 7;
constexpr int CODES = 13;

enum Colour { NONE, WHITE, BLACK };

struct Code {
  Colour colour;
  unsigned char piece;
};

// By piece code; the kings' codes are not valid in a piece pair.
constexpr Code codes[CODES] = {
    {NONE, tb_NOPIECE},  {NONE, tb_NOPIECE},  {WHITE, tb_QUEEN}, {WHITE, tb_ROOK},
    {WHITE, tb_BISHOP},  {WHITE, tb_KNIGHT},  {WHITE, tb_PAWN},  {NONE, tb_NOPIECE},
    {BLACK, tb_QUEEN},   {BLACK, tb_ROOK},    {BLACK, tb_BISHOP}, {BLACK, tb_KNIGHT},
    {BLACK, tb_PAWN},
};
constexpr int UNUSED = 0;

inline bool on_board(int square) { return square >= 0 && square < SQUARES; }

}  // namespace

bool translate(int side, int white_king, int black_king, const int pieces[PAIRS],
               const int squares[PAIRS], GaviotaPosition& out) {
  if (side != tb_WHITE_TO_MOVE && side != tb_BLACK_TO_MOVE) return false;
  if (!on_board(white_king) || !on_board(black_king) || white_king == black_king) return false;
  unsigned long long taken = 1ull << white_king | 1ull << black_king;
  out.side = unsigned(side);
  out.white_squares[0] = unsigned(white_king);
  out.white_pieces[0] = tb_KING;
  out.black_squares[0] = unsigned(black_king);
  out.black_pieces[0] = tb_KING;
  int n[3] = {0, 1, 1};  // list lengths by colour, kings counted
  out.men = 0;
  for (int i = 0; i < PAIRS; ++i) {
    const int code = pieces[i];
    if (code == UNUSED) continue;
    if (code < 0 || code >= CODES || codes[code].colour == NONE) return false;
    const int square = squares[i];
    if (!on_board(square) || (taken >> square & 1)) return false;
    const int rank = square / RANK_SIZE;
    if (codes[code].piece == tb_PAWN && (rank == FIRST_RANK || rank == LAST_RANK)) return false;
    taken |= 1ull << square;
    const Colour colour = codes[code].colour;
    unsigned* list = colour == WHITE ? out.white_squares : out.black_squares;
    unsigned char* kinds = colour == WHITE ? out.white_pieces : out.black_pieces;
    list[n[colour]] = unsigned(square);
    kinds[n[colour]] = codes[code].piece;
    ++n[colour];
    ++out.men;
  }
  out.white_squares[n[WHITE]] = tb_NOSQUARE;
  out.white_pieces[n[WHITE]] = tb_NOPIECE;
  out.black_squares[n[BLACK]] = tb_NOSQUARE;
  out.black_pieces[n[BLACK]] = tb_NOPIECE;
  return true;
}

}  // namespace egbb_gaviota

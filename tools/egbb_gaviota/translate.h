// From the probe entry point's arguments to the piece lists of a Gaviota
// probe.
//
// The arguments: side 0 (White to move) or 1, the two king squares, and
// three piece/square pairs. Squares count a1 = 0, b1 = 1 ... h8 = 63, the
// numbering of the Gaviota tables too. Piece codes: White king 1, queen 2,
// rook 3, bishop 4, knight 5, pawn 6; Black's are 6 higher; 0 marks an
// unused pair, whose square is ignored.
#pragma once

namespace egbb_gaviota {

constexpr int PAIRS = 3;
// The kings and three more men, plus the end marks of the lists.
constexpr int LIST_SIZE = PAIRS + 2;

struct GaviotaPosition {
  unsigned side;  // 0 White to move, 1 Black to move
  unsigned white_squares[LIST_SIZE];
  unsigned black_squares[LIST_SIZE];
  unsigned char white_pieces[LIST_SIZE];
  unsigned char black_pieces[LIST_SIZE];
  int men;  // besides the kings
};

// False when the arguments cannot describe a position: a side other than
// 0 or 1, a square off the board, two men on one square, a king code in a
// piece pair, an unknown code, a pawn on the first or last rank.
bool translate(int side, int white_king, int black_king, const int pieces[PAIRS],
               const int squares[PAIRS], GaviotaPosition& out);

}  // namespace egbb_gaviota

// Moves as text: coordinate notation ("e2e4", "e7e8q") for the protocols,
// and standard algebraic notation ("Nf3", "exd5", "O-O-O") for games read
// from PGN and for the best moves of test positions.
#pragma once
#include "position/board.h"
#include "position/game.h"

namespace orvo {

// Writes from-square, to-square and, for a promotion, its lower-case letter
// ("n", "b", "r", "q"). out must hold 6 characters. Move 0 is "a8a8".
void move_to_text(Move m, char* out);

// The promotion piece of a letter in either case ("n", "b", "r", "q"), 0
// for any other character.
int promotion_of(char letter);
// Reads a square name at p; false unless it is a8..h1.
bool read_square(const char* p, int& sq);

// True for 4 or 5 characters: file, rank, file, rank and an optional
// promotion letter q/r/b/n in either case.
bool is_coordinate_move(const char* text);

// Plays a coordinate move on the game position, storing its undo record in
// the game history. The move word is built from the text and the board;
// it is played only when the generator produces exactly that word and make
// accepts it. Returns the move, or 0 (position untouched).
Move apply_coordinate_move(Game& game, const char* text);

// The legal move that the SAN text denotes in the position, or 0. The board
// is left as it was. Castling is returned without any legality test.
Move parse_san(board& b, const char* text);

}  // namespace orvo

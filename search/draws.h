// Repetitions, the test for a position without legal moves, and the game
// end check of the xboard side.
#pragma once
#include "position/board.h"

namespace orvo {

class chess;

// Earlier positions with the same side to move, within the reversible
// stretch, whose key equals the current key.
int repetitionCount(const board& b);
bool hasNoLegalMove(chess& c);
// Prints the result line and returns true when the game is over.
bool checkGameEnd(chess& c);

}  // namespace orvo

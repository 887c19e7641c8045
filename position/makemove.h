// Playing and taking back moves. make is also the legality test: it refuses
// a move that leaves the mover's king attacked or a castling the rules
// forbid, and leaves the board as it was.
#pragma once
#include "position/board.h"

namespace orvo {

// make writes the key before the move into the board's key history at
// hist_ply (modulo its size, so no game length can write outside it).
bool make(board& b, Move m, undo& u);
void unmake(board& b, const undo& u);
// Whether make would accept the move (one generated for this position),
// answered without touching the board.
bool make_accepts(const board& b, Move m);

}  // namespace orvo

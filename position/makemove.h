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
// Where a move other than a king move must land to answer a check on the
// side to move: on the checker, or between it and the king. No square
// under a double check; every square when the king is not attacked. (An
// en-passant capture of a checking pawn lands behind it: see make_accepts.)
// Enemy kings are not counted as checkers.
u64 evasion_targets(const board& b);

}  // namespace orvo

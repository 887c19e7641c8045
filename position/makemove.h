// Playing and taking back moves. make is also the legality test: it refuses
// a move that leaves the mover's king attacked or a castling the rules
// forbid, and leaves the board as it was.
#pragma once
#include "position/board.h"

namespace orvo {

// One key per ply index, written by make at hist_ply before the move; read
// by repetition detection. Indexed modulo its size, so no game length can
// write outside it.
constexpr int KEY_HISTORY_SIZE = 1024;
extern u64 KeyHistory[KEY_HISTORY_SIZE];

bool make(board& b, Move m, undo& u);
void unmake(board& b, const undo& u);

}  // namespace orvo

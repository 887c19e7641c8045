// Repetitions, the test for a position without legal moves, and how a game
// has ended.
#pragma once
#include "position/board.h"

namespace orvo {

// Earlier positions with the same side to move, within the reversible
// stretch, whose key equals the current key.
int repetition_count(const board& b);
bool has_no_legal_move(board& b);

// How the game stands after a move, in the order the tests are made.
enum class GameEnd {
  none,
  fifty_moves,
  repetition,
  insufficient_material,
  stalemate,
  white_mated,  // White to move and mated
  black_mated,
};
GameEnd game_end(board& b);

}  // namespace orvo

// The game being played: its position and the undo records of the moves
// that led there, so that they can be taken back.
#pragma once
#include "position/board.h"
#include "position/makemove.h"

namespace orvo {

// Moves of a game that can be taken back, one after the other.
constexpr int GAME_HISTORY_SIZE = 1024;

struct Game {
  board pos;
  // A ring like the board's key history, so a game of any length goes on
  // (the oldest moves can then no longer be taken back).
  undo history[GAME_HISTORY_SIZE] = {};

  // The undo record of the move made at ply.
  undo& history_slot(int ply) { return history[ply & (GAME_HISTORY_SIZE - 1)]; }
  // Makes the move into the slot of the current ply; false (and nothing
  // changed) when make refuses it.
  bool play(Move m) { return make(pos, m, history_slot(pos.hist_ply)); }
  // Takes back the last move; false at the start of the game.
  bool take_back() {
    if (pos.hist_ply <= 0) return false;
    unmake(pos, history_slot(pos.hist_ply - 1));
    return true;
  }
};

}  // namespace orvo

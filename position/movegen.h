// Pseudo-legal move generation in two generators (captures and promotions;
// quiet moves), the attack test and the attackers list. Legality is decided
// by make, which refuses moves that leave the mover's king attacked.
#pragma once
#include "position/board.h"

namespace orvo {

// Captures, en passant, capturing promotions and the queen promotion by a
// push. Resets the list; returns the count.
int generate_captures(const board& b, MoveList& list);
// Castling, quiet moves, under-promotions by a push, double pushes.
// Appends to the list; returns the new count.
int generate_quiets(const board& b, MoveList& list);
// Both, captures first.
inline int generate_all(const board& b, MoveList& list) {
  generate_captures(b, list);
  return generate_quiets(b, list);
}

// True when the generators produce exactly this move word here. make
// trusts its move word completely, so a word from anywhere else (text, a
// book, an earlier position) must pass this first.
bool is_generated(const board& b, Move m);

// True when a piece of colour c attacks square sq (c other than 0/1: false).
bool is_attacked(const board& b, int sq, int c);

// The from-squares of colour c's pieces of the given type (2..6) that attack
// target, lowest square first, written to out (room for ATTACKERS_MAX);
// pawns and other types give none. Returns the count.
constexpr int ATTACKERS_MAX = 32;
int list_attackers(const board& b, int type, int c, int target, int* out);

// The movegen object: holds nothing, its constructor builds the tables once.
class movegen {
 public:
  movegen();
  virtual ~movegen() = default;
};

}  // namespace orvo

// Checks the targets make on what Orvo produced. A failed check aborts, so
// that the fuzzer reports the input like any crash.
#pragma once
#include "position/board.h"

namespace orvo::fuzz {

[[noreturn]] void check_failed(const char* what, const char* file, int line);

// The board's bitboards, rotated boards, keys, material and counts agree
// with its mailbox (phase and the material-signature key are left out: they
// follow captures only, on purpose).
void check_board(const board& b);

// check_board on a game board, except the empty board an engine object
// holds before any position was set up (whose empty squares are not marked
// with the empty colour).
void check_game_board(const board& b);

// a and b are the same position. With more than one king of a colour the
// king square may differ: unmake puts it back on the square the moved king
// came from, which is the one the game had only when there is one king.
bool same_position(const board& a, const board& b);

}  // namespace orvo::fuzz

#define ORVO_FUZZ_CHECK(cond) \
  ((cond) ? (void)0 : ::orvo::fuzz::check_failed(#cond, __FILE__, __LINE__))

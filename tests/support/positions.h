// Small helpers for position tests: FEN setup and square names.
#pragma once
#include <string>
#include <vector>

#include "position/board.h"

namespace orvo::test {

// Square number of a name such as "e4".
constexpr int sq(const char* name) { return (8 - (name[1] - '0')) * 8 + (name[0] - 'a'); }

// A fresh board set up from FEN (tables built on first use).
board from_fen(const std::string& fen);

// The first generated move from-to (with that promotion, if given), or 0.
Move find_move(const board& b, const char* from, const char* to, int promo = -1);
// The number of legal moves (made and taken back).
int count_legal(board& b);

// One line of a perft suite: the FEN and the counts by depth (index 1..).
struct SuiteLine {
  std::string fen;
  std::vector<long long> counts;  // counts[d] for depth d; counts[0] unused
};
std::vector<SuiteLine> read_perft_suite(const std::string& path);

// Every field of the board recomputed from the mailbox, to compare with the
// incrementally kept one.
struct Recomputed {
  u64 key, pawn_key, mat_key;
};
Recomputed recompute_keys(const board& b);

// True in sanitizer builds, where tests shrink their node budgets.
constexpr bool sanitized() {
#ifdef ORVO_SANITIZED
  return true;
#else
  return false;
#endif
}

}  // namespace orvo::test

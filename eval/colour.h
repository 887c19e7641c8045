// Compile-time colour helpers for the evaluation. Every term that scores
// both colours the same way is written once as a template on the colour;
// the places where the two colours are deliberately scored differently are
// written as `if constexpr` branches and say so.
#pragma once
#include "position/board.h"
#include "position/tables.h"

namespace orvo::eval {

template <int C>
struct colour {
  static constexpr int us = C;
  static constexpr int them = C ^ 1;
  // +1 for White, -1 for Black: scores are kept from White's point of view.
  static constexpr int sign = C == WHITE ? 1 : -1;
  // One row towards the enemy's back rank.
  static constexpr int up = C == WHITE ? -8 : 8;
  // The ray towards the enemy's back rank, and the ray back home.
  static constexpr int north = C == WHITE ? NORTH : SOUTH;
  static constexpr int south = C == WHITE ? SOUTH : NORTH;
  // A square as White would see it: the square itself for White, mirrored
  // between the ranks for Black. Squares written for White ("a7", "rank 7")
  // name the matching Black squares through it.
  static constexpr int rel_sq(int sq) { return C == WHITE ? sq : sq ^ 56; }
  static constexpr int rel_row(int sq) { return rel_sq(sq) >> 3; }
  // A square counted from the own back rank: row 0 is the own first rank.
  static constexpr int home_sq(int sq) { return rel_sq(sq) ^ 56; }
  static constexpr u64 bit(int sq) { return 1ull << sq; }

  static const u64* own(const board& b) {
    if constexpr (C == WHITE)
      return b.white;
    else
      return b.black;
  }
  static const u64* enemy(const board& b) {
    if constexpr (C == WHITE)
      return b.black;
    else
      return b.white;
  }
};

inline constexpr u64 sq_bit(int sq) { return 1ull << sq; }

// King squares are always 0..63 on a board that was set up; the mask keeps a
// board without kings (bad input) from indexing outside the tables.
inline int king_square(const board& b, int c) { return b.king_sq[c] & 63; }

inline int file_distance(int a, int b) {
  const int d = (a & 7) - (b & 7);
  return d < 0 ? -d : d;
}

}  // namespace orvo::eval

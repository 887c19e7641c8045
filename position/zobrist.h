// The 834 Zobrist keys: 12 x 64 piece-square keys, 64 castling/en-passant
// keys and 2 side keys. They are fixed constants computed at compile time
// from a fixed seed (splitmix64), so every build — and every book file made
// with it — uses the same set. Five entries are pinned to chosen values.
#pragma once
#include "position/types.h"

namespace orvo {

struct ZobristKeys {
  u64 piece[2][7][64];  // [colour][piece 1..6][square]; piece 0 stays zero
  u64 castle_ep[64];    // castling mask 0..15 and en-passant squares alike
  u64 side[2];          // [side to move]
};

constexpr u64 splitmix64(u64& state) {
  u64 z = (state += 0x9E3779B97F4A7C15ull);
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
  return z ^ (z >> 31);
}

constexpr ZobristKeys make_zobrist_keys() {
  ZobristKeys k{};
  u64 state = 0x4F52564F32313461ull;  // "ORVO214a"
  // White's six rows first, then Black's, each row by square number.
  for (int c : {1, 0})
    for (int p = 1; p <= 6; ++p)
      for (int sq = 0; sq < 64; ++sq) k.piece[c][p][sq] = splitmix64(state);
  for (auto& v : k.castle_ep) v = splitmix64(state);
  k.side[1] = splitmix64(state);
  k.side[0] = splitmix64(state);
  k.side[0] = 0x23DCB789481002C6ull;
  k.side[1] = 0x7AEA9451B6E5D395ull;
  k.castle_ep[0] = 0x5D73A5FFDF5FF619ull;
  k.piece[1][1][0] = 0x2A18C73F15802BFCull;  // White pawn on a8
  k.piece[0][6][4] = 0x64247C8819F3618Cull;  // Black king on e8
  return k;
}

inline constexpr ZobristKeys zobrist_keys = make_zobrist_keys();
inline constexpr auto& zobrist = zobrist_keys.piece;
inline constexpr auto& zobrist_castle_ep = zobrist_keys.castle_ep;
inline constexpr auto& zobrist_side = zobrist_keys.side;

}  // namespace orvo

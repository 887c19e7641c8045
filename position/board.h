// One chess position, kept twice over: a mailbox and bitboards (with three
// rotated occupancy boards for slider lookups), plus the incremental keys,
// material sums and counters the search and evaluation read.
#pragma once
#include "position/types.h"

namespace orvo {

// Keys kept by a board's key history, one per ply: a power of two, since
// the history is a ring indexed by hist_ply. Repetitions are looked for
// only within the reversible stretch, and a stretch of 100 plies draws the
// game (the search and the game-end test both stop there before they look),
// so the ring holds every key a look can reach; it is small because every
// copy of a board carries it.
constexpr int KEY_HISTORY_SIZE = 128;

// Indices into board::white / board::black.
enum BitboardIndex : int { BB_PAWN = 0, BB_KNIGHT, BB_BISHOP, BB_ROOK, BB_QUEEN, BB_ALL };

class board {
 public:
  board() = default;
  board(const board&) = default;
  board& operator=(const board&) = default;
  virtual ~board() = default;
  // The same position reached the same way: every field, and the keys of
  // the plies before this one (the key history beyond them is scratch).
  bool operator==(const board& o) const;

  i8 piece[64] = {};
  u8 color[64] = {};
  i32 king_sq[2] = {};
  i32 hist_ply = 0;
  i32 fifty = 0;
  i32 side = WHITE;
  i32 xside = BLACK;
  u32 castle = 0;
  i32 ep = -1;
  Move last_move = 0;
  u64 white[6] = {};  // pawns, knights, bishops, rooks, queens, all (kings only here)
  u64 black[6] = {};
  u64 occupied = 0;
  u64 pawns_all = 0;  // evaluation scratch, not kept by make/unmake
  u64 occ_diag_h1a8 = 0;
  u64 occ_diag_a1h8 = 0;
  u64 occ_file = 0;
  u64 key = 0;
  u64 pawn_key = 0;
  u64 mat_key = 0;
  i32 material[2] = {};
  i32 pieces_count[2] = {};
  i32 pawn_count[2] = {};
  i32 phase_units[2] = {};
  u8 in_check = 0;
  u8 castled[2] = {};
  i32 phase = 0;
  // Evaluation scratch: pressure on the Black king, pressure on the White
  // king, and the two positional sums (Black's, White's).
  i32 king_attack[2] = {};
  i32 positional[2] = {};
  // The key before each move made since setup, at its ply (modulo the
  // size): make writes it, repetition detection reads it. Each board keeps
  // its own, so a copy can be searched while the original stays as it is.
  u64 key_history[KEY_HISTORY_SIZE] = {};

  // The bitboard set of one colour, chosen by the colour code.
  u64* bb(int c) { return c == WHITE ? white : black; }
  const u64* bb(int c) const { return c == WHITE ? white : black; }
  // Kings are not kept in a board of their own; this derives them.
  u64 kings(int c) const {
    const u64* b = bb(c);
    return b[BB_ALL] & ~(b[BB_PAWN] | b[BB_KNIGHT] | b[BB_BISHOP] | b[BB_ROOK] | b[BB_QUEEN]);
  }
};

}  // namespace orvo

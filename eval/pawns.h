// The pawn-structure term, its 64-byte record and the two pawn-structure
// tables (one per side to move, 32768 records each) that cache it.
#pragma once
#include "position/board.h"

namespace orvo::eval {

// Which king file a shelter value is for.
enum Shelter : int { SHELTER_KINGSIDE = 0, SHELTER_QUEENSIDE = 1, SHELTER_E = 2, SHELTER_D = 3 };
// The king file each shelter value is computed for: g, b, e, d.
inline constexpr int shelter_king_file[4] = {6, 1, 4, 3};

struct alignas(64) pawn_record {
  u64 key;            // pawn_key of the position (the whole key is compared)
  i32 score;          // the pawn score, truncated to 16 bits and sign-extended
  u8 shelter[8];      // White's g, b, e, d values, then Black's; each 0..15
  u8 open_files;      // bit f: no pawn at all on file f
  u8 no_white_files;  // bit f: no White pawn on file f
  u8 no_black_files;  // bit f: no Black pawn on file f
  u8 spare0;
  u64 white_passed;
  u64 black_passed;
  u64 white_outposts;  // squares in front of weak or isolated Black pawns
  u64 black_outposts;  // squares in front of weak or isolated White pawns
  u64 spare1;
};
static_assert(sizeof(pawn_record) == 64, "a pawn record fills one 64-byte slot");

inline int shelter_of(const pawn_record& r, int c, int which) {
  return r.shelter[(c == WHITE ? 0 : 4) + which];
}
inline u64 passed_of(const pawn_record& r, int c) { return c == WHITE ? r.white_passed : r.black_passed; }
inline u64 outposts_of(const pawn_record& r, int c) {
  return c == WHITE ? r.white_outposts : r.black_outposts;
}
inline u8 half_open_of(const pawn_record& r, int c) {
  return c == WHITE ? r.no_white_files : r.no_black_files;
}

// The sets the term builds on the way, for inspection by tests.
struct pawn_detail {
  u64 safe[2];      // safe-advance sets, by colour
  u64 isolated[2];  // isolated pawns, by colour
  u64 weak[2];      // weak pawns, by colour
  int score[2];     // each colour's per-pawn sum from its own point of view
};

constexpr int PAWN_TABLE_SIZE = 32768;
constexpr u64 PAWN_TABLE_MASK = PAWN_TABLE_SIZE - 1;

// The record of the position evaluated last: filled by pawn_structure (a
// copy of the cached record on a hit), read by the other terms.
extern pawn_record current_pawns;

// The record of a board without pawns (all files open, no passers, no
// outposts, the shelter values of bare files); built with the tables.
extern pawn_record empty_pawn_record;

// Computes the term from the pawns and the two material sums, fills the
// record (all fields but the key) and returns the score.
int compute_pawn_structure(u64 white_pawns, u64 black_pawns, int white_material,
                           int black_material, pawn_record& out, pawn_detail* detail = nullptr);

// The term as the evaluation calls it: looked up in the pawn-structure table
// of the side to move, computed and stored on a miss. Fills current_pawns.
int pawn_structure(const board& b);

// The table for the given side to move (allocating both on first use).
pawn_record* pawn_table(int side);
// Lets the owner of the tables (the transposition-table object) supply its
// own storage: two arrays of PAWN_TABLE_SIZE records, for Black to move and
// White to move. Passing nulls returns to the evaluation's own tables.
void attach_pawn_tables(pawn_record* black_to_move, pawn_record* white_to_move);
void allocate_pawn_tables();

}  // namespace orvo::eval

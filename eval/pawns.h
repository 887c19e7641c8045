// The pawn-structure term, its 64-byte record and the two pawn-structure
// tables (one per side to move, 32768 records each) that cache it.
#pragma once
#include "position/board.h"

namespace orvo::eval {

// Which king file a shelter value is for.
enum Shelter : int { SHELTER_KINGSIDE = 0, SHELTER_QUEENSIDE = 1, SHELTER_E = 2, SHELTER_D = 3 };
// The king file each shelter value is computed for: g, b, e, d.
inline constexpr int shelter_king_file[4] = {6, 1, 4, 3};
// The largest shelter value: it is kept in four bits.
inline constexpr int SHELTER_CAP = 15;

// One record of the pawn-structure tables. It holds only what follows from
// the pawns themselves, so that a record can serve every position with the
// same pawns:
// - the record names its pawns exactly (both sets) instead of by the pawn
//   key: the key picks the slot, and a lookup hits only when both sets are
//   those of the position, so two pawn structures that happen to share a
//   key can never read each other's record;
// - the passed-pawn bonus is scaled by the opponent's material, which the
//   pawns do not determine, so it is not part of the stored score: the
//   lookup adds it from the passed sets and the position's material
//   (passed_pawn_bonus), on a hit and on a miss alike.
struct alignas(64) pawn_record {
  u64 white_pawns;    // the pawns this record was computed for (both 0:
  u64 black_pawns;    // an empty record, which no position with pawns reads)
  i32 score;          // the pawn score without the passed-pawn bonus
  u8 shelter[8];      // White's g, b, e, d values, then Black's; each 0..15
  u8 open_files;      // bit f: no pawn at all on file f
  u8 no_white_files;  // bit f: no White pawn on file f
  u8 no_black_files;  // bit f: no Black pawn on file f
  u8 spare0;
  u64 white_passed;
  u64 black_passed;
  u64 white_outposts;  // squares in front of weak or isolated Black pawns
  u64 black_outposts;  // squares in front of weak or isolated White pawns
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

// The record of a board without pawns (all files open, no passers, no
// outposts, the shelter values of bare files); built with the tables.
extern pawn_record empty_pawn_record;

// Computes the term from the pawns and the two material sums: fills the
// record (all fields, the pawn sets included) and returns the full score,
// the record's score plus passed_pawn_bonus.
int compute_pawn_structure(u64 white_pawns, u64 black_pawns, int white_material,
                           int black_material, pawn_record& out, pawn_detail* detail = nullptr);

// The passed-pawn bonus of a record's passed sets (White-relative): each
// passer's bonus by row, scaled by the opponent's material.
int passed_pawn_bonus(const pawn_record& r, int white_material, int black_material);

// The term as the evaluation calls it: the record looked up in the
// pawn-structure table for the side to move (computed and stored on a
// miss), its score plus the passed-pawn bonus for the position's material.
// record is set to the position's record (the table's slot, or
// empty_pawn_record without pawns), which the other terms read. The result
// never depends on what the table held.
int pawn_structure(const board& b, pawn_record* table, const pawn_record*& record);

}  // namespace orvo::eval

// The evaluation's individual terms, as the driver calls them. Scores are
// White-relative centipawns. Exposed for the driver and for tests.
#pragma once
#include "eval/pawns.h"
#include "position/board.h"

namespace orvo::eval {

// ---- Material and its cache (material.cpp)

// Flag bits of the material-signature cache: which side can still win.
constexpr u32 WHITE_CAN_WIN = 1, BLACK_CAN_WIN = 2, BOTH_CAN_WIN = 3;

// An entry: the high 32 bits of the material key as its check word, and a
// flag word whose bits 0-1 are the flags above; material.cpp describes the
// other bits it keeps there.
struct material_entry {
  u32 check;  // high 32 bits of the material key
  u32 flags;
};
static_assert(sizeof(material_entry) == 8);
constexpr int MATERIAL_CACHE_SIZE = 1024;

// An emptied cache: every entry check word 0, flag word 3.
void clear_material_cache(material_entry* cache);

// White material minus Black material, with the minor-piece-for-three-pawns
// correction.
int material_term(const board& b);
// The win-chance flags of this position, computed without the cache.
u32 win_chance(const board& b);
// True when the side to move has a lone king, the other king stands in its
// near zone, and every square the lone king could move to is attacked.
bool bare_king_stalemate(const board& b);
// Step 1 of the driver: 3, or (both sides below 13 piece units) the
// win-chance flags, with their material part read from the cache of
// MATERIAL_CACHE_SIZE entries; 0 when the bare-king test answers yes.
// Always equal to what win_chance and the bare-king test give, whatever the
// cache holds.
u32 material_flags(const board& b, material_entry* cache);
// The extra term of positions without pawns.
int pawnless_term(const board& b);

// ---- Driver (eval.cpp)

// Win-chance flags and the fifty-move rule applied to a White-relative score.
int final_scaling(const board& b, u32 flags, int score);

// ---- Pieces (pieces.cpp); each adds to the king-attack counters and the
// positional sums of the board.
int knight_term(board& b, const pawn_record& pawns);
int bishop_term(board& b, const pawn_record& pawns);
int rook_term(board& b, const pawn_record& pawns);
int queen_term(board& b);
// Mobility weight of a set of reachable squares (the ring weights).
int mobility(u64 targets);

// ---- Kings (king.cpp)
int castling_term(const board& b, const pawn_record& pawns, int colour);
int king_safety_term(const board& b, const pawn_record& pawns);
// The shelter value S that the king-safety term uses for a colour's king.
int king_shelter(const board& b, const pawn_record& pawns, int colour);

// ---- Passed pawns (passed.cpp) and the pawn race (pawn_race.cpp)
int passed_pawn_term(const board& b, const pawn_record& pawns);
int pawn_race_term(const board& b);
// The opposition test of the pawn race, for the side given.
bool opposition(const board& b, int side);

}  // namespace orvo::eval

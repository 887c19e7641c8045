// Orvo's static evaluation: the score of a position in centipawns from the
// side to move's point of view, with its material-signature cache and the
// pawn-structure tables.
#pragma once
#include "position/board.h"

namespace orvo {

// The full evaluation with the caller's bounds (side to move's view). When
// the cheap part of the score lies more than 350 outside (alpha, beta) the
// piece, mobility and king-safety terms are skipped.
int Evaluate(board& b, int alpha, int beta);

// Builds the evaluation's start-up tables (and the position tables they
// rest on). Idempotent; cheap after the first call.
void build_eval_tables();

// Allocates, once, the material-signature cache (1024 entries) and the two
// pawn-structure tables (32768 records of 64 bytes, one per side to move),
// all cleared. Evaluate allocates them itself if this was never called.
void eval_allocate_caches();

// Empties the pawn-structure tables (every record zeroed).
void clear_pawn_tables();
// Empties the material-signature cache: check word 0, flag word 3.
void clear_material_cache();

// Castling rights that stood at the root of the current search; the root
// search sets it, and the castling terms read it. 0 until a search sets it.
extern u32 root_castle;

}  // namespace orvo

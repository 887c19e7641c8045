// The evaluation driver: orders the terms, takes the lazy exit, and applies
// the win-chance flags and the fifty-move scaling.
#include "eval/eval.h"

#include "eval/pawns.h"
#include "eval/tables.h"
#include "eval/terms.h"
#include "position/tables.h"

namespace orvo {

u32 root_castle = 0;

namespace {

bool tables_built = false;
bool ready = false;  // tables built and caches allocated

// The cheap part of the score must lie this far outside the window for the
// lazy exit.
constexpr int LAZY_MARGIN = 350;

void prepare() {
  build_eval_tables();
  eval_allocate_caches();
  ready = true;
}

}  // namespace

void build_eval_tables() {
  if (tables_built) return;
  init_tables();
  eval::build_pawn_masks();
  eval::build_piece_masks();
  eval::build_danger_table();
  eval::compute_pawn_structure(0, 0, 0, 0, eval::empty_pawn_record);
  eval::current_pawns = eval::empty_pawn_record;
  tables_built = true;
}

void eval_allocate_caches() {
  eval::allocate_material_cache();
  eval::allocate_pawn_tables();
}

namespace eval {

int final_scaling(const board& b, u32 flags, int score) {
  if (flags != BOTH_CAN_WIN) {
    if (flags != WHITE_CAN_WIN && score >= 1) return 0;  // White ahead but cannot win
    if (flags != BLACK_CAN_WIN && score < 0) score = 0;  // Black cannot win
  }
  // From a halfmove clock of 81 the score shrinks by a twentieth per move,
  // to one twentieth at 100. The formula is applied as it stands: a clock
  // above 101 (only from a set-up position; the game is drawn by then)
  // turns the factor negative.
  if (b.fifty < 81) return score;
  return (101 - b.fifty) * score / 20;
}

}  // namespace eval

int Evaluate(board& b, int alpha, int beta) {
  using namespace eval;
  if (!ready) prepare();

  const u32 flags = material_flags(b);
  int score = material_term(b);
  b.pawns_all = b.white[BB_PAWN] | b.black[BB_PAWN];

  if (!b.pawns_all && (b.phase_units[WHITE] > 3 || b.phase_units[BLACK] >= 4)) {
    // Without pawns: material and the pawnless-ending term only. A side that
    // cannot win has its advantage divided by 4 rather than cancelled, and
    // neither the fifty-move scaling nor the draw flags' zeroing applies.
    score += pawnless_term(b);
    if (score > 0 && !(flags & WHITE_CAN_WIN)) score /= 4;
    if (score < 0 && !(flags & BLACK_CAN_WIN)) score /= 4;
    return b.side == WHITE ? score : -score;
  }

  score += pawn_structure(b);
  const pawn_record& pawns = current_pawns;
  if (pawns.white_passed | pawns.black_passed) {
    score += passed_pawn_term(b, pawns);
    if ((b.phase_units[WHITE] == 0 && pawns.black_passed) ||
        (b.phase_units[BLACK] == 0 && pawns.white_passed))
      score += pawn_race_term(b);
  }

  if (root_castle & (WHITE_SHORT | WHITE_LONG)) score += castling_term(b, pawns, WHITE);
  if (root_castle & (BLACK_SHORT | BLACK_LONG)) score += castling_term(b, pawns, BLACK);

  b.king_attack[0] = b.king_attack[1] = 0;

  if (flags == BOTH_CAN_WIN) {
    const int v = b.side == WHITE ? score : -score;
    if (v + LAZY_MARGIN < alpha || v - LAZY_MARGIN > beta) {
      const int scaled = final_scaling(b, flags, score);
      return b.side == WHITE ? scaled : -scaled;
    }
  }

  b.positional[0] = b.positional[1] = 0;
  score += knight_term(b, pawns);
  score += bishop_term(b, pawns);
  score += rook_term(b, pawns);
  score += queen_term(b);
  score += king_safety_term(b, pawns);
  score += b.positional[WHITE] - b.positional[BLACK];

  score = final_scaling(b, flags, score);
  return b.side == WHITE ? score : -score;
}

}  // namespace orvo

// The evaluation driver: orders the terms, takes the lazy exit, and applies
// the win-chance flags and the fifty-move scaling.
#include "eval/eval.h"

#include "eval/pawns.h"
#include "eval/tables.h"
#include "eval/terms.h"
#include "position/tables.h"

namespace orvo {

namespace {

bool tables_built = false;

// The cheap part of the score must lie this far outside the window for the
// lazy exit.
constexpr int LAZY_MARGIN = 350;

// Whether the cheap part of the score (White's view) allows the lazy exit.
bool lazy_exit(const board& b, u32 flags, int partial, int alpha, int beta) {
  if (flags != eval::BOTH_CAN_WIN) return false;
  const int v = b.side == WHITE ? partial : -partial;
  return v + LAZY_MARGIN < alpha || v - LAZY_MARGIN > beta;
}

// What a score-cache entry knows: nothing, the cheap part only, every term,
// or the final score of a pawnless ending (in `partial`).
enum ScoreState : u32 { SCORE_NONE, SCORE_PARTIAL, SCORE_FULL, SCORE_PAWNLESS };

// The state the evaluation reads besides what the key stands for (see
// score_entry), in one word.
u64 score_context(const board& b, u32 root_castle) {
  return u64(u32(b.phase)) | u64(b.castled[WHITE]) << 32 | u64(b.castled[BLACK]) << 40 | u64(root_castle & 0xFF) << 48;
}

}  // namespace

void build_eval_tables() {
  if (tables_built) return;
  init_tables();
  eval::build_pawn_masks();
  eval::build_piece_masks();
  eval::build_danger_table();
  eval::compute_pawn_structure(0, 0, 0, 0, eval::empty_pawn_record);
  tables_built = true;
}

Evaluator::Evaluator() : scores_(std::make_unique<eval::score_entry[]>(eval::SCORE_CACHE_SIZE)) {
  build_eval_tables();
  clear_material_cache();  // the score cache starts zeroed: every entry SCORE_NONE
}

void Evaluator::clear_score_cache() {
  for (int i = 0; i < eval::SCORE_CACHE_SIZE; ++i) scores_[i] = eval::score_entry{};
}

void Evaluator::clear_material_cache() { eval::clear_material_cache(material_); }

void Evaluator::use_pawn_tables(eval::pawn_record* black_to_move, eval::pawn_record* white_to_move) {
  tables_[BLACK] = black_to_move;
  tables_[WHITE] = white_to_move;
  if (!black_to_move || !white_to_move) tables_[BLACK] = tables_[WHITE] = nullptr;
}

eval::pawn_record* Evaluator::pawn_table(int side) {
  side &= 1;
  if (tables_[side]) return tables_[side];
  // No owner supplied tables: the evaluator's own serve.
  for (int s = 0; s < 2; ++s) {
    if (!own_tables_[s]) own_tables_[s] = std::make_unique<eval::pawn_record[]>(eval::PAWN_TABLE_SIZE);
    tables_[s] = own_tables_[s].get();
  }
  return tables_[side];
}

void Evaluator::clear_pawn_tables() {
  for (int side = 0; side < 2; ++side) {
    eval::pawn_record* t = pawn_table(side);
    for (int i = 0; i < eval::PAWN_TABLE_SIZE; ++i) t[i] = eval::pawn_record{};
  }
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

// Through the same code as the cached evaluation, with an entry of its own
// that nothing reads: one body for both.
int Evaluator::evaluate(board& b, int alpha, int beta) {
  eval::score_entry scratch;
  return evaluate_into(b, alpha, beta, scratch);
}

int Evaluator::evaluate_cached(board& b, int alpha, int beta) {
  using namespace eval;
  score_entry& e = scores_[b.key & (SCORE_CACHE_SIZE - 1)];
  const u64 context = score_context(b, root_castle_);
  if (e.key == b.key && e.context == context && e.state != SCORE_NONE) {
    if (e.state == SCORE_PAWNLESS) return b.side == WHITE ? e.partial : -e.partial;
    const bool lazy = lazy_exit(b, e.flags, e.partial, alpha, beta);
    if (lazy || e.state == SCORE_FULL) {
      const int scaled = final_scaling(b, e.flags, lazy ? e.partial : e.full);
      return b.side == WHITE ? scaled : -scaled;
    }
  }
  e.key = b.key;
  e.context = context;
  return evaluate_into(b, alpha, beta, e);
}

// Kept out of line: inlined into each caller, the copy in evaluate (which
// the benchmark the profile-guided build trains on never calls) would be
// laid out as cold code.
[[gnu::noinline]] int Evaluator::evaluate_into(board& b, int alpha, int beta, eval::score_entry& memo) {
  using namespace eval;
  const u32 flags = material_flags(b, material_);
  int score = material_term(b);
  b.pawns_all = b.white[BB_PAWN] | b.black[BB_PAWN];

  if (!b.pawns_all && (b.phase_units[WHITE] > 3 || b.phase_units[BLACK] >= 4)) {
    // Without pawns: material and the pawnless-ending term only. A side that
    // cannot win has its advantage divided by 4 rather than cancelled, and
    // neither the fifty-move scaling nor the draw flags' zeroing applies.
    score += pawnless_term(b);
    if (score > 0 && !(flags & WHITE_CAN_WIN)) score /= 4;
    if (score < 0 && !(flags & BLACK_CAN_WIN)) score /= 4;
    memo.partial = score;
    memo.state = SCORE_PAWNLESS;
    return b.side == WHITE ? score : -score;
  }

  const pawn_record* record;
  score += pawn_structure(b, pawn_table(b.side), record);
  const pawn_record& pawns = *record;
  if (pawns.white_passed | pawns.black_passed) {
    score += passed_pawn_term(b, pawns);
    if ((b.phase_units[WHITE] == 0 && pawns.black_passed) ||
        (b.phase_units[BLACK] == 0 && pawns.white_passed))
      score += pawn_race_term(b);
  }

  if (root_castle_ & (WHITE_SHORT | WHITE_LONG)) score += castling_term(b, pawns, WHITE);
  if (root_castle_ & (BLACK_SHORT | BLACK_LONG)) score += castling_term(b, pawns, BLACK);

  b.king_attack[0] = b.king_attack[1] = 0;

  memo.partial = score;
  memo.flags = flags;
  memo.state = SCORE_PARTIAL;
  if (lazy_exit(b, flags, score, alpha, beta)) {
    const int scaled = final_scaling(b, flags, score);
    return b.side == WHITE ? scaled : -scaled;
  }

  b.positional[0] = b.positional[1] = 0;
  score += knight_term(b, pawns);
  score += bishop_term(b, pawns);
  score += rook_term(b, pawns);
  score += queen_term(b);
  score += king_safety_term(b, pawns);
  score += b.positional[WHITE] - b.positional[BLACK];
  memo.full = score;
  memo.state = SCORE_FULL;

  score = final_scaling(b, flags, score);
  return b.side == WHITE ? score : -score;
}

}  // namespace orvo

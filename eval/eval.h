// Orvo's static evaluation: the score of a position in centipawns from the
// side to move's point of view. An Evaluator holds what one search needs
// besides the position (the castling rights of its root and its caches), so
// that searches running side by side never share a scratch value.
#pragma once
#include <memory>

#include "eval/terms.h"
#include "position/board.h"

namespace orvo {

namespace eval {

// A position's scores as the evaluation last worked them out, kept so that
// evaluating it again returns the same value without the work. Everything
// the evaluation reads besides the placement, the side to move and the
// castling rights (which the key stands for) is compared too: the phase
// (left as it was by a promotion without a capture), the castled flags and
// the root's castling rights. The fifty-move scaling is applied afresh.
// (The material signature only finds the material flags' cache entry,
// which is checked against the material itself.)
struct score_entry {
  u64 key;
  u64 context;  // see score_context in eval.cpp
  i32 partial;  // White's score before the piece and king-safety terms
  i32 full;     // White's score with every term, before the final scaling
  u32 flags;    // the material flags
  u32 state;    // what is known: see ScoreState in eval.cpp
};
static_assert(sizeof(score_entry) == 32, "two score entries to a cache line");
constexpr int SCORE_CACHE_SIZE = 1 << 14;

}  // namespace eval

class Evaluator {
 public:
  Evaluator();
  Evaluator(const Evaluator&) = delete;
  Evaluator& operator=(const Evaluator&) = delete;

  // The full evaluation with the caller's bounds (side to move's view).
  // When the cheap part of the score lies more than 350 outside (alpha,
  // beta) the piece, mobility and king-safety terms are skipped.
  int evaluate(board& b, int alpha, int beta);
  // The same value, from the score cache where the position was evaluated
  // before (the search's evaluation; evaluate itself always does the work).
  int evaluate_cached(board& b, int alpha, int beta);
  // Forgets every cached score.
  void clear_score_cache();

  // Castling rights that stood at the root of the current search: the
  // castling terms are judged from them. 0 until a search sets them.
  void set_root_castle(u32 rights) { root_castle_ = rights; }
  u32 root_castle() const { return root_castle_; }

  // Empties the material-signature cache: check word 0, flag word 3.
  void clear_material_cache();
  // The pawn-structure tables (PAWN_TABLE_SIZE records each, for Black and
  // for White to move), supplied by their owner; nulls go back to the
  // evaluator's own, allocated when first used.
  void use_pawn_tables(eval::pawn_record* black_to_move, eval::pawn_record* white_to_move);
  // Empties the pawn-structure tables in use (every record zeroed).
  void clear_pawn_tables();

  // Starts loading the pawn-structure record the evaluation of b will read
  // (the search calls it right after make, long before it evaluates).
  void prefetch(const board& b) const {
    if (const eval::pawn_record* t = tables_[b.side & 1]) __builtin_prefetch(&t[b.pawn_key & eval::PAWN_TABLE_MASK]);
    __builtin_prefetch(&scores_[b.key & (eval::SCORE_CACHE_SIZE - 1)]);
  }

  eval::material_entry* material_cache() { return material_; }
  eval::pawn_record* pawn_table(int side);

 private:
  // The evaluation, noting in memo what it worked out (the state always).
  int evaluate_into(board& b, int alpha, int beta, eval::score_entry& memo);

  u32 root_castle_ = 0;
  std::unique_ptr<eval::score_entry[]> scores_;
  eval::material_entry material_[eval::MATERIAL_CACHE_SIZE];
  eval::pawn_record* tables_[2] = {nullptr, nullptr};
  std::unique_ptr<eval::pawn_record[]> own_tables_[2];
};

// Builds the evaluation's start-up tables (and the position tables they
// rest on). Idempotent; cheap after the first call.
void build_eval_tables();

}  // namespace orvo

// Helpers shared by the evaluation tests.
#pragma once
#include <string>
#include <vector>

#include "eval/eval.h"
#include "eval/pawns.h"
#include "eval/tables.h"
#include "eval/terms.h"
#include "position/fen.h"

namespace orvo::test {

// A window no score reaches: the lazy exit never happens with it.
constexpr int OPEN_ALPHA = -100000, OPEN_BETA = 100000;

// The evaluator the tests use (one for the process, with its own caches).
inline Evaluator& evaluator() {
  static Evaluator e;
  return e;
}

// Tables built, caches emptied.
inline void fresh_eval() {
  build_eval_tables();
  evaluator().clear_material_cache();
  evaluator().clear_pawn_tables();
}

// The castling rights the castling terms are judged from.
inline void set_root_castle(u32 rights) { evaluator().set_root_castle(rights); }

// The pawn-structure term through the test evaluator's table; the record
// the other terms would read is left in *record.
inline int pawn_term(const board& b, const eval::pawn_record** record = nullptr) {
  const eval::pawn_record* r;
  const int score = eval::pawn_structure(b, evaluator().pawn_table(b.side), r);
  if (record) *record = r;
  return score;
}

// The win-chance flags through the test evaluator's material cache.
inline u32 material_flags_of(const board& b) { return eval::material_flags(b, evaluator().material_cache()); }

inline board position(const char* fen_text) {
  build_eval_tables();
  board b;
  set_position(b, fen_text);
  return b;
}

// Full evaluation (no lazy exit) from the side to move's view.
inline int full_eval(board& b) { return evaluator().evaluate(b, OPEN_ALPHA, OPEN_BETA); }

// The pawn record of a position, computed without the cache.
inline eval::pawn_record pawn_record_of(const board& b, eval::pawn_detail* detail = nullptr) {
  eval::pawn_record r{};
  eval::compute_pawn_structure(b.white[BB_PAWN], b.black[BB_PAWN], b.material[WHITE],
                               b.material[BLACK], r, detail);
  return r;
}

// Runs the four piece terms on a board as the driver does (counters and
// positional sums cleared first) and returns their sum.
inline int piece_terms(board& b, const eval::pawn_record& r) {
  b.king_attack[0] = b.king_attack[1] = 0;
  b.positional[0] = b.positional[1] = 0;
  return eval::knight_term(b, r) + eval::bishop_term(b, r) + eval::rook_term(b, r) +
         eval::queen_term(b);
}

// Every position of the perft suite file at path, and every position reached
// from each by up to `plies` legal moves (duplicates kept).
std::vector<board> suite_positions(const std::string& path, int plies);

// Positions met on `walks` random games of `plies` legal moves from each
// root (a fixed-seed generator, so the same every run).
std::vector<board> random_walks(const std::vector<board>& roots, int walks, int plies);

// Evaluation as with emptied caches: the two cache entries this position
// reads (its pawn-structure record and its material-signature entry) are
// emptied first, which is all an evaluation can see of the caches.
int cold_eval(board& b, int alpha = OPEN_ALPHA, int beta = OPEN_BETA);

// The colour-flipped FEN: ranks mirrored, piece colours swapped, side to
// move swapped, castling rights and the en-passant square mirrored.
std::string flip_fen(const std::string& fen_text);
// Castling rights with the colours swapped.
inline u32 flip_castle(u32 c) { return ((c & 3) << 2) | ((c >> 2) & 3); }

}  // namespace orvo::test

// FEN set-up, as "setboard", "position fen" and the EPD runner use it: any
// text gives a board whose bitboards, keys and counts agree with its
// mailbox, that writes back as FEN to the same board, whose moves all fit
// the move list, and on which every generated move is made and taken back
// without a trace. The evaluation and the diagram run on it too.
#include <cstdlib>
#include <cstring>
#include <memory>

#include "position/tables.h"
#include "eval/eval.h"
#include "fuzz/support/check.h"
#include "fuzz/support/sandbox.h"
#include "fuzz/support/target.h"
#include "position/fen.h"
#include "position/makemove.h"
#include "position/movegen.h"
#include "search/search.h"

using namespace orvo;
using namespace orvo::fuzz;

namespace {

constexpr long PLACEMENT_READ_LIMIT = 60;
// Replies are walked only while the tree stays small.
constexpr int MAX_TWO_PLY_NODES = 20000;

void check_moves(board& b, int plies) {
  MoveList list;
  const int n = generate_all(b, list);
  ORVO_FUZZ_CHECK(n == list.count && n >= 0 && n <= MAX_MOVES);
  const board before = b;
  for (int i = 0; i < n; ++i) {
    const Move m = list.moves[i];
    undo u;
    if (make(b, m, u)) {
      ORVO_FUZZ_CHECK(b.hist_ply == before.hist_ply + 1);
      check_board(b);
      if (plies > 1) check_moves(b, plies - 1);
      unmake(b, u);
    }
    ORVO_FUZZ_CHECK(same_position(b, before));
  }
}

}  // namespace

Evaluator* evaluator = nullptr;

ORVO_FUZZ_SETUP(fen) {
  init_tables();
  static std::unique_ptr<Evaluator> e = std::make_unique<Evaluator>();
  evaluator = e.get();
}

ORVO_FUZZ_TARGET_WITH_SETUP(fen) {
  const std::string text = as_text(data, size);
  board b;
  set_position(b, text.c_str());
  check_board(b);

  // Written back and read again: the same board, as far as the placement
  // fits the 60 characters that the reader takes (deliberately) from it.
  char written[128];
  write_fen(b, written);
  if (std::strchr(written, ' ') - written <= PLACEMENT_READ_LIMIT) {
    board again;
    set_position(again, written);
    ORVO_FUZZ_CHECK(again == b);
  }

  MoveList list;
  const int n = generate_all(b, list);
  check_moves(b, n * n <= MAX_TWO_PLY_NODES ? 2 : 1);

  board scratch = b;
  // A board read from text may hold far more material than a game can (a
  // rank of queens repeated down the board): its material sum alone can pass
  // the search's score bounds. The evaluation must still come back, with a
  // value no sum of 64 pieces and their terms could pass.
  constexpr int EVAL_ABSURD = 64 * 2000;
  const int score = evaluator->evaluate(scratch, NO_SCORE, -NO_SCORE);
  ORVO_FUZZ_CHECK(score > -EVAL_ABSURD && score < EVAL_ABSURD);
  char diagram[1024];
  format_board(b, diagram);
  return 0;
}

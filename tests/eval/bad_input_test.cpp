// Positions no game can reach must not crash the evaluation or make it read
// outside its tables (the sanitizer build runs these as well).
#include <gtest/gtest.h>

#include "tests/eval/eval_test_util.h"

using namespace orvo;

namespace {

const char* const odd_positions[] = {
    "8/8/8/8/8/8/8/8 w - - 0 1",                                   // nothing at all
    "8/8/8/8/8/8/8/8 b KQkq - 0 1",                                // nothing, rights
    "8/8/8/3q4/8/8/8/8 w - - 0 1",                                 // no kings
    "8/8/8/3Q4/8/8/8/4K3 b - - 0 1",                               // no Black king
    "4k3/8/8/8/8/8/PPPPPPPP/8 w - - 0 1",                          // no White king
    "QQQQQQQQ/Q7/8/8/8/8/8/k6K w - - 0 1",                         // nine queens
    "qqqqqqqq/q7/8/8/8/8/8/k6K b - - 0 1",                         // nine Black queens
    "P6P/8/8/8/8/8/8/p6p w - - 0 1",                               // pawns on the edges
    "PPPPPPPP/pppppppp/8/8/8/8/PPPPPPPP/pppppppp w - - 0 1",       // pawns on ranks 1 and 8
    "pppppppp/PPPPPPPP/8/4k3/8/4K3/pppppppp/PPPPPPPP b - - 0 1",   // the other way round
    "PPPPPPPP/PPPPPPPP/PPPPPPPP/PPPPPPPP/pppppppp/pppppppp/pppppppp/pppppppp w - - 0 1",
    "k7/p7/8/8/8/8/P7/K7 w KQkq - 0 1",                            // rights without rooks
    "KKKKKKKK/8/8/8/8/8/8/kkkkkkkk w - - 0 1",                     // many kings
    "7p/8/8/8/8/8/8/P6K w - - 0 1",                                // Black pawn on h8
    "4k3/8/8/8/8/8/7p/K7 b - - 0 1",                               // Black pawn on h2, passed
    "4k3/7p/8/8/8/8/8/K6p w - - 0 1",                              // Black pawn on h1
    "RRRRRRRR/RRRRRRRR/8/4k3/8/4K3/rrrrrrrr/rrrrrrrr w - - 0 1",   // many rooks
    "BBBBBBBB/NNNNNNNN/8/4k3/8/4K3/nnnnnnnn/bbbbbbbb w - - 0 1",   // many minors
    "k7/8/8/8/8/8/8/7K w - - 0 1",
    "garbage that is not a position",
    "",
    "9/9/9/9/9/9/9/9 w - - 0 1",
    "rnbqkbnrr/pppppppppp/8/8/8/8/PPPPPPPPP/RNBQKBNRRR w KQkq - 0 1",
};

void evaluate_everywhere(board& b) {
  const int windows[][2] = {{test::OPEN_ALPHA, test::OPEN_BETA}, {-1, 1}, {5000, 5001}, {-5001, -5000}};
  for (const auto& w : windows) {
    orvo::test::evaluator().evaluate(b, w[0], w[1]);
    b.side ^= 1, b.xside ^= 1;
    orvo::test::evaluator().evaluate(b, w[0], w[1]);
    b.side ^= 1, b.xside ^= 1;
  }
  // Large fifty-move counters as well.
  b.fifty = 150;
  orvo::test::evaluator().evaluate(b, test::OPEN_ALPHA, test::OPEN_BETA);
  b.fifty = 0;
}

}  // namespace

TEST(eval_bad_input, OddPositionsDoNotCrash) {
  test::fresh_eval();
  for (int castle = 0; castle < 16; castle += 5) {
    orvo::test::set_root_castle(u32(castle));
    for (const char* f : odd_positions) {
      board b;
      set_position(b, f);
      evaluate_everywhere(b);
      // The same board object reused for the next position keeps its old
      // king squares when the next position lacks a king.
    }
    board reused;
    for (const char* f : odd_positions) {
      set_position(reused, f);
      evaluate_everywhere(reused);
    }
  }
  orvo::test::set_root_castle(0);
}

TEST(eval_bad_input, DefaultConstructedBoard) {
  test::fresh_eval();
  board b;  // never set up: no pieces, every colour entry 0
  EXPECT_EQ(test::full_eval(b), 0);
  evaluate_everywhere(b);
}

TEST(eval_bad_input, EmptyBoardScoresZero) {
  test::fresh_eval();
  board b = test::position("8/8/8/8/8/8/8/8 w - - 0 1");
  EXPECT_EQ(test::full_eval(b), 0);
}

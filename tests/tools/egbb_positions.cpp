// Writes random starting positions for bitbase games, as EPD, in which
// White (the engine under test) must win or must hold the draw according
// to the Gaviota tables:
//   egbb_positions KIND COUNT [SEED]
// KIND: kqk, krk (White wins with the piece), kpk-won (White has the pawn
// and wins), kpk-drawn (Black has the pawn and it is a draw). The side to
// move is random too; positions where the game is already over, or where
// the side to move is mated or stalemated, are left out, and so are drawn
// positions whose pawn stands next to White's king.
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "position/fen.h"
#include "position/makemove.h"
#include "position/movegen.h"
#include "position/tables.h"
#include "tests/tools/gaviota_support.h"

using orvo::test::Man;

namespace {

struct Kind {
  const char* name;
  char letter;  // the third man
  bool win;     // true: White wins; false: a draw
};
const Kind kinds[] = {
    {"kqk", 'Q', true},
    {"krk", 'R', true},
    {"kpk-won", 'P', true},
    {"kpk-drawn", 'p', false},
};

int legal_moves(const std::string& fen) {
  orvo::board b;
  orvo::set_position(b, fen.c_str());
  orvo::MoveList l;
  orvo::generate_all(b, l);
  int legal = 0;
  orvo::undo u;
  for (int i = 0; i < l.count; ++i)
    if (orvo::make(b, l.moves[i], u)) {
      ++legal;
      orvo::unmake(b, u);
    }
  return legal;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: %s kqk|krk|kpk-won|kpk-drawn COUNT [SEED]\n", argv[0]);
    return 2;
  }
  const Kind* kind = nullptr;
  for (const Kind& k : kinds)
    if (std::string(argv[1]) == k.name) kind = &k;
  const int count = std::atoi(argv[2]);
  if (!kind || count < 1) {
    std::fprintf(stderr, "%s: unknown kind or bad count\n", argv[0]);
    return 2;
  }
  if (!orvo::test::open_reference_tables()) {
    std::fprintf(stderr, "%s: no Gaviota tables\n", argv[0]);
    return 1;
  }
  orvo::init_tables();
  std::mt19937 rng(argc > 3 ? unsigned(std::strtoul(argv[3], nullptr, 10)) : 1u);
  const bool pawn = kind->letter == 'P' || kind->letter == 'p';
  for (int made = 0; made < count;) {
    const int side = int(rng() % 2);
    const int wk = int(rng() % 64), bk = int(rng() % 64);
    const int s = pawn ? 8 + int(rng() % 48) : int(rng() % 64);
    if (wk == bk || s == wk || s == bk) continue;
    const std::vector<Man> men = {{'K', wk}, {'k', bk}, {kind->letter, s}};
    const int v = orvo::test::gaviota_reference(men, side);
    if (v == orvo::test::UNKNOWN_SCORE) continue;  // illegal
    const int white_view = side == 0 ? v : -v;
    if (kind->win ? white_view <= 0 : v != 0) continue;
    // A pawn next to White's king is no defence to play: it just falls.
    const int file_gap = std::abs(wk % 8 - s % 8), rank_gap = std::abs(wk / 8 - s / 8);
    if (!kind->win && file_gap <= 1 && rank_gap <= 1) continue;
    const std::string fen = orvo::test::fen_of(men, side);
    if (legal_moves(fen) == 0) continue;
    // EPD: the four FEN fields.
    std::printf("%s\n", fen.substr(0, fen.size() - 4).c_str());
    ++made;
  }
  return 0;
}

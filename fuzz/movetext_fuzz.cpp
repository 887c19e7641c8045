// Move text against a position: the first line is a FEN (an empty line or
// none gives the start position), every further line a move in SAN or
// coordinates. The SAN reader must leave the board as it was and return
// nothing or a legal move (castling it returns untested, by design); the
// UCI coordinate reader must play a generated legal move or leave the
// position untouched. Moves that were read are played, so a sequence of
// lines walks through a game.
#include <cstring>
#include <memory>
#include <string>

#include "position/game.h"
#include "position/tables.h"
#include "fuzz/support/check.h"
#include "fuzz/support/sandbox.h"
#include "fuzz/support/target.h"
#include "position/fen.h"
#include "position/makemove.h"
#include "position/movegen.h"
#include "io/movetext.h"

using namespace orvo;
using namespace orvo::fuzz;

namespace {

Game* game = nullptr;

bool is_castling_word(Move m) {
  const int from = move_from(m), to = move_to(m);
  return move_piece(m) == KING && (from == E1 || from == E8) && (to == from + 2 || to == from - 2);
}

bool is_legal(board& b, Move m) {
  if (!is_generated(b, m)) return false;
  undo u;
  if (!make(b, m, u)) return false;
  unmake(b, u);
  return true;
}

// One line of move text in position b; plays what was read onto b.
void read_move(board& b, const char* text) {
  const board before = b;
  const Move san = parse_san(b, text);
  ORVO_FUZZ_CHECK(same_position(b, before));
  if (san && !is_castling_word(san)) ORVO_FUZZ_CHECK(is_legal(b, san));

  Game& c = *game;
  c.pos = b;
  QuietOutput quiet;  // "play: illegal promotion"
  const Move coord = apply_coordinate_move(c, text);
  if (!coord) {
    ORVO_FUZZ_CHECK(same_position(c.pos, before));
  } else {
    ORVO_FUZZ_CHECK(is_legal(b, coord));
    ORVO_FUZZ_CHECK(c.pos.hist_ply == before.hist_ply + 1);
    check_board(c.pos);
    char written[8];
    move_to_text(coord, written);
    ORVO_FUZZ_CHECK(is_coordinate_move(written));
    // Deliberately trusting: the squares are computed from the characters
    // without checking them, so only well-formed text must name them.
    if (is_coordinate_move(text)) ORVO_FUZZ_CHECK(std::strncmp(written, text, 4) == 0);
    b = c.pos;
    return;
  }
  if (san && is_legal(b, san)) {
    undo u;
    make(b, san, u);
    check_board(b);
  }
}

}  // namespace

ORVO_FUZZ_SETUP(movetext) {
  init_tables();
  static std::unique_ptr<Game> g = std::make_unique<Game>();
  game = g.get();
}

ORVO_FUZZ_TARGET_WITH_SETUP(movetext) {
  const std::string text = as_text(data, size);
  size_t start = 0, end = text.find('\n');
  const std::string fen_line = text.substr(0, end);
  board b;
  set_position(b, fen_line.empty() ? start_fen : fen_line.c_str());
  while (end != std::string::npos) {
    start = end + 1;
    end = text.find('\n', start);
    const std::string line = text.substr(start, end == std::string::npos ? std::string::npos : end - start);
    read_move(b, line.c_str());
  }
  return 0;
}

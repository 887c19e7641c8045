// A book file of any bytes, opened and probed as in play: from the start
// position the probe is asked for a move at each ply, and the walk goes on
// with the book's move (which must be one of the moves offered) or the
// first legal move.
#include <cstdlib>
#include <memory>

#include "book/book.h"
#include "engine/chess.h"
#include "fuzz/support/check.h"
#include "fuzz/support/sandbox.h"
#include "fuzz/support/target.h"
#include "position/fen.h"
#include "position/makemove.h"
#include "position/movegen.h"
#include "tools/ini.h"

using namespace orvo;
using namespace orvo::fuzz;

namespace {

constexpr int WALK_PLIES = 16;
chess* engine = nullptr;

bool in_list(const MoveList& l, Move m) {
  for (int i = 0; i < l.count; ++i)
    if (l.moves[i] == m) return true;
  return false;
}

}  // namespace

ORVO_FUZZ_SETUP(book) {
  static std::unique_ptr<chess> c = std::make_unique<chess>();
  engine = c.get();
}

ORVO_FUZZ_TARGET_WITH_SETUP(book) {
  const std::string path = write_scratch_file("book.bin", data, size);
  ORVO_FUZZ_CHECK(path.size() < PATH_SIZE);
  std::snprintf(book_path, PATH_SIZE, "%s", path.c_str());
  chess& c = *engine;
  c.book_table.reset();
  c.book_failures = 0;
  std::srand(1);
  QuietOutput quiet;
  ORVO_FUZZ_CHECK(open_book(c));
  ORVO_FUZZ_CHECK(c.book_records == size / 16);
  ORVO_FUZZ_CHECK(c.book_table && c.book_table->size() <= c.book_records);

  set_position(c.pos, start_fen);
  for (int ply = 0; ply < WALK_PLIES; ++ply) {
    MoveList list;
    generate_all(c.pos, list);
    Move m = 0;
    if (probe_book(c, list.moves, list.count, m)) ORVO_FUZZ_CHECK(in_list(list, m));
    undo u;
    bool played = m && make(c.pos, m, u);
    for (int i = 0; i < list.count && !played; ++i) played = make(c.pos, list.moves[i], u);
    if (!played) break;
  }
  return 0;
}

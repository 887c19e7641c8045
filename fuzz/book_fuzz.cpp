// A book file of any bytes, opened and probed as in play: from the start
// position the probe is asked for a move at each ply, and the walk goes on
// with the book's move (which must be one of the moves offered) or the
// first legal move.
#include <cstdlib>
#include <memory>

#include "book/book.h"
#include "position/tables.h"
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

bool in_list(const MoveList& l, Move m) {
  for (int i = 0; i < l.count; ++i)
    if (l.moves[i] == m) return true;
  return false;
}

}  // namespace

ORVO_FUZZ_SETUP(book) { init_tables(); }

ORVO_FUZZ_TARGET_WITH_SETUP(book) {
  const std::string path = write_scratch_file("book.bin", data, size);
  ORVO_FUZZ_CHECK(path.size() < PATH_SIZE);
  char book_path[PATH_SIZE];
  std::snprintf(book_path, PATH_SIZE, "%s", path.c_str());
  auto book = std::make_unique<Book>();
  std::srand(1);
  QuietOutput quiet;
  ORVO_FUZZ_CHECK(book->open(book_path));
  ORVO_FUZZ_CHECK(book->records() == size / 16);
  ORVO_FUZZ_CHECK(book->table() && book->table()->size() <= book->records());

  board pos;
  set_position(pos, start_fen);
  for (int ply = 0; ply < WALK_PLIES; ++ply) {
    MoveList list;
    generate_all(pos, list);
    Move m = 0;
    if (book->probe(pos, book_path, list.moves, list.count, m)) ORVO_FUZZ_CHECK(in_list(list, m));
    undo u;
    bool played = m && make(pos, m, u);
    for (int i = 0; i < list.count && !played; ++i) played = make(pos, list.moves[i], u);
    if (!played) break;
  }
  return 0;
}

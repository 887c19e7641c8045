// An EPD suite as the "test" command reads and runs it: any bytes as the
// suite file, every record searched one ply deep. A position full of pieces
// in contact can make even one ply (its quiescence search) take a million
// nodes. Here the search's input hook reads from the in-memory front end,
// which has nothing to give: the first search that reaches a poll (after
// 20,000 nodes) ends the run, as a front end going away would.
#include <memory>

#include "engine/chess.h"
#include "eval/eval.h"
#include "fuzz/support/check.h"
#include "fuzz/support/front_end.h"
#include "fuzz/support/sandbox.h"
#include "fuzz/support/target.h"
#include "fuzz/support/wraps.h"
#include "io/input.h"
#include "search/hash.h"
#include "search/search.h"
#include "tools/epd.h"

using namespace orvo;
using namespace orvo::fuzz;

namespace {

constexpr int NODES_BEFORE_POLL = 20000;
chess* engine = nullptr;

// The search's input hook: reads a line, which ends the run.
bool read_one_line(chess&) {
  char line[8];
  read_line(line, sizeof line);
  return false;
}

void run_suite(void* path) {
  epd_read(static_cast<const char*>(path));
  epd_run(*engine);
}

}  // namespace

ORVO_FUZZ_SETUP(epd) {
  static std::unique_ptr<chess> c = std::make_unique<chess>();
  engine = c.get();
  tt_resize(8);
  eval_allocate_caches();
}

ORVO_FUZZ_TARGET_WITH_SETUP(epd) {
  const std::string path = write_scratch_file("suite.epd", data, size);
  chess& c = *engine;
  reset_engine_globals();
  // The limits the runner searches with, as "sd 1" leaves them.
  limits.fixedDepth = true;
  limits.depthLimit = 1;
  c.poll_input = read_one_line;
  search_poll_interval = NODES_BEFORE_POLL;
  c.pos = board{};
  {
    QuietOutput quiet;
    run_front_end(nullptr, 0, run_suite, const_cast<char*>(path.c_str()));
  }
  check_game_board(c.pos);
  return 0;
}

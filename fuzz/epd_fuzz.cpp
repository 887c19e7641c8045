// An EPD suite as the "test" command reads and runs it: any bytes as the
// suite file, every record searched one ply deep.
#include <memory>

#include "engine/chess.h"
#include "eval/eval.h"
#include "fuzz/support/check.h"
#include "fuzz/support/sandbox.h"
#include "fuzz/support/target.h"
#include "search/hash.h"
#include "search/search.h"
#include "tools/epd.h"

using namespace orvo;
using namespace orvo::fuzz;

namespace {
chess* engine = nullptr;
}

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
  // The limits the runner searches with, as "sd 1" leaves them; no input
  // arrives meanwhile.
  limits.fixedDepth = true;
  limits.depthLimit = 1;
  c.poll_input = nullptr;
  c.pos = board{};
  {
    QuietOutput quiet;
    epd_read(path.c_str());
    epd_run(c);
  }
  check_game_board(c.pos);
  return 0;
}

// An EPD suite as the "test" command reads and runs it: any bytes as the
// suite file, every record searched one ply deep. A position full of pieces
// in contact can make even one ply (its quiescence search) take a million
// nodes. Here the front end has nothing to give: the first search that
// reaches a poll (after 20,000 nodes) meets the end of the input and gives
// the run up, as a front end going away would.
#include <memory>

#include "engine/chess.h"
#include "fuzz/support/check.h"
#include "fuzz/support/sandbox.h"
#include "fuzz/support/target.h"
#include "protocol/epd.h"
#include "protocol/xboard.h"

using namespace orvo;
using namespace orvo::fuzz;

namespace {

constexpr int NODES_BEFORE_POLL = 20000;
// The limits the runner searches with, as "sd 1" leaves them.
constexpr int SUITE_DEPTH = 1;

}  // namespace

ORVO_FUZZ_SETUP(epd) { scratch_dir(); }

ORVO_FUZZ_TARGET_WITH_SETUP(epd) {
  const std::string path = write_scratch_file("suite.epd", data, size);
  auto engine = std::make_unique<chess>();
  engine->core.tt.resize(8);
  QuietOutput quiet;
  auto xb = std::make_unique<Xboard>(engine->core);
  Search& s = engine->core.search;
  s.set_listener(xb.get());
  s.set_poll_interval(NODES_BEFORE_POLL);
  s.limits.fixed_depth = true;
  s.limits.depth_limit = SUITE_DEPTH;
  auto runner = std::make_unique<EpdRunner>();
  if (runner->read(path.c_str()) >= 0) runner->run(*xb);
  check_game_board(engine->core.game.pos);
  return 0;
}

#include "fuzz/support/protocol_run.h"

#include <memory>

#include "engine/chess.h"
#include "fuzz/support/check.h"
#include "fuzz/support/front_end.h"
#include "fuzz/support/sandbox.h"
#include "protocol/uci.h"
#include "protocol/xboard.h"

namespace orvo::fuzz {

namespace {

constexpr int POLL_INTERVALS[4] = {1000, 100, 10, 1};
// "perft" walks at most this deep here.
constexpr int DEEPEST_PERFT = 2;
// The table UCI asks for by default here: the smallest.
constexpr const char* FUZZ_HASH_MB = "8";

}  // namespace

void set_up_protocols() {
  static bool done = false;
  if (done) return;
  done = true;
  scratch_dir();
  static const uint8_t ini[] = "hash_size=8\n";
  write_scratch_file("Orvo214.ini", ini, sizeof ini - 1);
}

void run_protocol(Protocol protocol, const uint8_t* data, size_t size) {
  set_up_protocols();
  if (size == 0) return;
  auto engine = std::make_unique<chess>();
  Core& core = engine->core;
  core.search.set_poll_interval(POLL_INTERVALS[data[0] & 3]);
  {
    FrontEnd front_end(data + 1, size - 1);
    if (protocol == Protocol::xboard) {
      auto xb = std::make_unique<Xboard>(core);
      xb->perft_limit = DEEPEST_PERFT;
      xb->init();
      xb->loop();
    } else {
      // The loop of Uci::run, with the smallest table as the default.
      auto uci = std::make_unique<Uci>(core);
      uci->handshake();
      uci->option_set("Hash", FUZZ_HASH_MB);
      while (!uci->quitting) uci->handle_line();
    }
  }
  check_game_board(core.game.pos);
  ORVO_FUZZ_CHECK(core.game.pos.hist_ply >= 0);
}

}  // namespace orvo::fuzz

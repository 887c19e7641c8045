#include "fuzz/support/protocol_run.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include "engine/chess.h"
#include "engine/main_loop.h"
#include "fuzz/support/check.h"
#include "fuzz/support/front_end.h"
#include "fuzz/support/sandbox.h"
#include "fuzz/support/wraps.h"
#include "position/board.h"
#include "protocol/uci.h"
#include "protocol/xboard.h"
#include "protocol/xboard_internal.h"
#include "search/internal.h"
#include "search/search.h"

namespace orvo::fuzz {

namespace {

constexpr int POLL_INTERVALS[4] = {1000, 100, 10, 1};

struct Run {
  chess* c;
  const char* first_line;
};

void enter_protocol(void* arg) {
  Run& r = *static_cast<Run*>(arg);
  do_command(*r.c, r.first_line);
}

// Reads one line, so that the xboard reader no longer waits for the rest of
// a long line an earlier run broke off.
void sync_line(void*) {
  char line[XBOARD_LINE_SIZE];
  read_command_line(line);
}

}  // namespace

void set_up_protocols() {
  static bool done = false;
  if (done) return;
  done = true;
  scratch_dir();
  static const uint8_t ini[] = "hash_size=8\n";
  write_scratch_file("Orvo214.ini", ini, sizeof ini - 1);
  QuietOutput quiet;
  auto c = std::make_unique<chess>();
  xboard_init(*c);
  uci_handshake(*c);
  option_set("Hash", "8");
  uci_engine_init(*c);
}

void run_protocol(const char* first_line, const uint8_t* data, size_t size) {
  set_up_protocols();
  if (size == 0) return;
  search_poll_interval = POLL_INTERVALS[data[0] & 3];
  reset_engine_globals();
  auto c = std::make_unique<chess>();
  QuietOutput quiet;
  static const uint8_t sync[] = "sync\n";
  run_front_end(sync, sizeof sync - 1, sync_line, nullptr);
  Run r{c.get(), first_line};
  run_front_end(data + 1, size - 1, enter_protocol, &r);
  check_game_board(c->pos);
  ORVO_FUZZ_CHECK(c->pos.hist_ply >= 0);
}

}  // namespace orvo::fuzz

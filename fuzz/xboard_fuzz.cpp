// The xboard side: the first byte sets the poll interval, the rest are the
// lines a front end sends after "xboard": games, clocks, pondering ("hard"),
// analysis, set-ups, "test" (a small suite 1 in the build's suite folder,
// the others missing) and "perft" (at most 2 plies here). "quit", an empty
// line and the end of the input end the run.
#include "fuzz/support/protocol_run.h"
#include "fuzz/support/target.h"

ORVO_FUZZ_SETUP(xboard) { orvo::fuzz::set_up_protocols(); }

ORVO_FUZZ_TARGET_WITH_SETUP(xboard) {
  orvo::fuzz::run_protocol(orvo::fuzz::Protocol::xboard, data, size);
  return 0;
}

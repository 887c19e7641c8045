// The UCI side: the first byte sets the poll interval, the rest are the
// lines a front end sends after "uci", searches included ("go" with any
// words; a search lasts until its limits or until it sees the end of the
// input at its next poll). "quit" and the end of the input end the run.
#include "fuzz/support/protocol_run.h"
#include "fuzz/support/target.h"

ORVO_FUZZ_SETUP(uci) { orvo::fuzz::set_up_protocols(); }

ORVO_FUZZ_TARGET_WITH_SETUP(uci) {
  orvo::fuzz::run_protocol(orvo::fuzz::Protocol::uci, data, size);
  return 0;
}

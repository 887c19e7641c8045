// The clock commands: "level", "time", "st", "sd".
#include "protocol/xboard_clock.h"

#include <algorithm>
#include <cstdio>

#include "io/numbers.h"
#include "protocol/xboard_internal.h"

namespace orvo {

namespace {

constexpr int DEFAULT_MOVES_PER_SESSION = DEFAULT_MOVES_TO_GO;
constexpr double CENTISECONDS = 100.0;
constexpr double MILLISECONDS_PER_SECOND = 1000.0;
// Deliberate: the increment is divided as if it were milliseconds, so an
// increment given in seconds counts for almost nothing.
constexpr double INCREMENT_DIVISOR = 1000.0;

}  // namespace

void xboard_level(SearchLimits& limits, const char* mps, const char* base, const char* inc) {
  // Joined and scanned as three integers: a base written "0:30" stops the
  // scan at the colon, and the increment is then taken as 0.
  char text[3 * XBOARD_LINE_SIZE + 4];
  std::snprintf(text, sizeof text, "%s %s %s ", mps, base, inc);
  int value[3] = {0, 0, 0};
  scan_ints(text, value, 3);
  limits.moves_per_session = value[0] <= 0 ? DEFAULT_MOVES_PER_SESSION : value[0];
  limits.increment = std::max(0.0, value[2] / INCREMENT_DIVISOR);
  limits.timed = true;
}

int xboard_time(SearchLimits& limits, int centiseconds, int ply, double reserve) {
  limits.fixed_depth = false;
  limits.timed = true;
  const double left = std::max(0.0, centiseconds / CENTISECONDS * CLOCK_SHARE - reserve);
  const int move_number = ply / 2 + 1;
  // Before any "level" there is no session length: count with 30 moves
  // rather than divide by zero.
  const int mps = limits.moves_per_session > 0 ? limits.moves_per_session : DEFAULT_MOVES_PER_SESSION;
  int togo = mps - move_number % mps + 1;
  if (togo < 1) togo = DEFAULT_MOVES_PER_SESSION;
  const double total = (togo - 1) * limits.increment + left;
  limits.target_time = std::min(total / togo, left);
  limits.hard_limit = std::min(std::max(limits.target_time, total * HARD_SHARE), left);
  return move_number;
}

void xboard_st(SearchLimits& limits, int seconds) {
  if (seconds <= 0) return;
  limits.hard_limit = seconds;
  limits.timed = true;
  // The target lies far beyond the hard limit, so only the hard limit binds.
  limits.target_time = seconds * MOVE_TIME_TARGET_FACTOR;
}

void xboard_sd(SearchLimits& limits, int depth) {
  if (depth < 0) return;
  limits.fixed_depth = true;
  limits.depth_limit = depth;
}

void apply_time(Xboard& x, const char* centiseconds, int ply) {
  x.move_number = xboard_time(x.search.limits, read_int(centiseconds), ply,
                              x.core.settings.move_overhead_ms / MILLISECONDS_PER_SECOND);
}

void cmd_level(Xboard& x, Tokens& t) {
  const char* mps = t.take();
  const char* base = t.take();
  const char* inc = t.take();
  xboard_level(x.search.limits, mps, base, inc);
}

void cmd_time(Xboard& x, Tokens& t) { apply_time(x, t.take(), x.game.pos.hist_ply); }
void cmd_sd(Xboard& x, Tokens& t) { xboard_sd(x.search.limits, read_int(t.take())); }
void cmd_st(Xboard& x, Tokens& t) { xboard_st(x.search.limits, read_int(t.take())); }

}  // namespace orvo

// The search object's set-up, its clock, the periodic poll and the time
// for a move.
#include <algorithm>
#include <chrono>

#include "search/helpers.h"
#include "search/search.h"

namespace orvo {

double now_seconds() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

Search::Search(hash& tt, const Bitbases* bitbases) : tt_(tt), bitbases_(bitbases) {}

Search::~Search() = default;

void Search::set_threads(int threads) {
  threads_ = threads < 1 ? 1 : threads > MAX_THREADS ? MAX_THREADS : threads;
}

i64 Search::total_nodes() const { return nodes + (helpers_ ? helpers_->nodes() : 0); }

void Search::set_multi_pv(int lines) {
  multi_pv_ = lines < 1 ? 1 : lines > MAX_MOVES ? MAX_MOVES : lines;
  if (multi_pv_ > 1 && !lines_) lines_ = std::make_unique<RootLine[]>(MAX_MOVES);
}

void Search::reset(bool clear_limits) {
  if (clear_limits) {
    limits.fixed_depth = false;
    limits.depth_limit = 0;
    limits.timed = false;
    limits.target_time = 0;
    limits.hard_limit = 0;
    limits.infinite = false;
  }
  limits.analysis = false;
  clock = SearchClock{};
  stats = SearchStats{};
  state.have_move = false;
  state.stop_command = false;
  state.abandoned = false;
  poll_countdown_ = poll_interval_ = poll_setting_;
  state.best_move = 0;
  state.best_score = 0;
  state.best_bound = 0;
  pv[0] = 0;
  state.current_depth = state.current_move_index = 0;
  state.current_move = 0;
  state.root_count = 0;
  state.previous_score = 0;
  state.stop = state.easy_move = state.fail_high = false;
  state.score_dropped = state.previous_score_dropped = false;
  seldepth = 0;
  nodes = 0;
  eval.clear_material_cache();
  // The table's pawn-structure tables, once it has them; a helper keeps
  // its own, since a cache is no place for two threads.
  if (!helper_id_ && tt_.eval_tables[BLACK] && tt_.eval_tables[WHITE])
    eval.use_pawn_tables(tt_.eval_tables[BLACK], tt_.eval_tables[WHITE]);
}

double Search::elapsed_now() const {
  return clock.accumulated + (clock.running ? now_seconds() - clock.start : 0.0);
}

void Search::update_clock() {
  const double e = elapsed_now();
  clock.elapsed = e < 0 ? 0 : e;
  clock.nps = clock.elapsed > 0 ? double(total_nodes()) / clock.elapsed : 0;
  // There is no second time base, so the load is always reported as 0.
  clock.cpu_load = 0;
}

TimeAllocation allocate_time(double time_left, double increment, int moves_to_go, double factor, double reserve) {
  if (moves_to_go < 1) moves_to_go = DEFAULT_MOVES_TO_GO;
  if (increment < 0) increment = 0;
  double t = time_left * CLOCK_SHARE - reserve;
  if (t < 0) t = 0;
  const double base = (moves_to_go - 1) * increment + t;
  const double share = base / moves_to_go * factor;
  const double target = std::min(share, t);
  return {target, std::min(std::max(target, base * HARD_SHARE), t)};
}

void Search::poll() {
  update_clock();
  listener_->progress(*this);
  // The listener may obey commands here; giving the search up unwinds it at
  // once, even before its first iteration is complete.
  if (!state.stop_command && !listener_->keep_searching(*this) && abort_point_) {
    state.abandoned = true;
    std::longjmp(*abort_point_, 1);
  }
  if (limits.fixed_depth && root_depth > limits.depth_limit) state.stop = true;
  if (limits.timed) {
    if (clock.elapsed >= limits.hard_limit) state.stop = true;
    if (clock.elapsed >= limits.target_time && !state.score_dropped && state.current_move_index == 0)
      state.stop = true;
  }
  // The first iteration always completes.
  if (!state.have_move || !abort_point_) return;
  if (state.stop_command || (state.stop && !limits.infinite)) std::longjmp(*abort_point_, 1);
}

}  // namespace orvo

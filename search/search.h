// The search as an object: everything one search needs (its limits, stop
// state, clock, counters, root data, killers, history, principal variation
// and evaluator) lives in a Search, which its owner creates once and runs
// again and again. The transposition table is shared, handed in; what the
// search has to say goes to a listener, which a protocol implements.
#pragma once
#include <csetjmp>
#include <memory>

#include "eval/eval.h"
#include "position/board.h"
#include "search/hash.h"
#include "search/listener.h"
#include "search/ordering.h"

namespace orvo {

class Bitbases;
class HelperPool;
struct SplitPoint;
struct SplitTask;
struct MainProgress;

constexpr int MATE = 30000;
constexpr int NO_SCORE = -50000;
constexpr int MAX_PLY = 63;
constexpr int PLY = 60;  // depth units per ply
// Scores beyond this bound are mate scores: the null move is tried only
// within it and never returns more, and the output writes a score beyond it
// as moves to mate.
constexpr int MATE_BOUND = 29744;
// The search looks at its clock and its listener every so many nodes.
constexpr int POLL_INTERVAL = 10000;

// What a protocol sets before a search (times in seconds).
struct SearchLimits {
  bool fixed_depth;
  i32 depth_limit;  // plies
  bool timed;
  double target_time;
  double hard_limit;
  bool infinite;  // only a command ends the search; no mate-distance pruning
  bool analysis;  // no book, no easy-move or score-drop bookkeeping
  i32 moves_per_session;
  double increment;
};

// The best-bound codes of SearchState::best_bound.
constexpr int BOUND_EXACT = 3, BOUND_LOWER = 2, BOUND_UPPER = 1;

// What a search leaves behind, and its bookkeeping while it runs.
struct SearchState {
  Move root_moves[MAX_MOVES];
  i32 root_scores[MAX_MOVES];
  i32 root_count;
  Move best_move;
  i32 best_score;
  i32 best_depth;
  i32 best_bound;  // BOUND_EXACT, BOUND_LOWER (fail high) or BOUND_UPPER (fail low)
  i32 previous_score;
  i32 current_depth, current_move_index;
  Move current_move;
  i32 legal_root_count;
  bool have_move;
  bool book_move;
  bool score_dropped, previous_score_dropped;
  bool fail_high;
  bool easy_move;
  bool stop;          // set by the limit tests
  bool stop_command;  // a command ("stop", "exit", "?"...) asked to end the search
  // The listener gave the search up (a command that changes the game, the
  // end of the input): its move is not to be played.
  bool abandoned;
  Move expected_reply;
};

// The clock of the running search.
struct SearchClock {
  bool running;
  double start;        // seconds of the monotonic clock
  double accumulated;
  double elapsed;      // seconds
  double nps;
  double cpu_load;     // always 0: there is no second time base
};

// What the search did, counted for tests and tuning; cleared by reset.
struct SearchStats {
  i64 null_tries;     // null moves searched
  i64 null_evals;     // evaluations made to allow a null move (depth above 4 plies)
  i64 late_reductions;
  i64 recapture_extensions;
  i64 quiesce_skipped;  // captures passed over by quiescence's delta threshold
};

// Seconds of the monotonic clock.
double now_seconds();

// The share of the clock a move may use, and the part of it kept back (by
// default: the Move Overhead setting changes it).
constexpr double CLOCK_SHARE = 0.95;
constexpr double CLOCK_RESERVE = 1.0;  // seconds never spent
// The time kept back can be set from 0 to this many milliseconds.
constexpr int MAX_MOVE_OVERHEAD_MS = 5000;

// Time for one move from a clock: time left and increment in seconds,
// moves to go (below 1 means 30), the ponder factor (1.25 or 1.0), and the
// time kept back from the clock in seconds.
struct TimeAllocation {
  double target;
  double hard;
};
TimeAllocation allocate_time(double time_left, double increment, int moves_to_go, double factor,
                             double reserve = CLOCK_RESERVE);
// The hard limit is at least this share of the time for the session.
constexpr double HARD_SHARE = 0.25;
// A fixed move time is the hard limit; the target lies this many times
// beyond it, so that only the hard limit binds.
constexpr double MOVE_TIME_TARGET_FACTOR = 5.0;
// The time for a move is stretched by this while pondering is on.
constexpr double PONDER_TIME_FACTOR = 1.25;
// Moves to go when a clock says nothing about them.
constexpr int DEFAULT_MOVES_TO_GO = 30;

class Search {
 public:
  // The table is shared with whoever else searches; the bitbases may be
  // null (none loaded).
  explicit Search(hash& tt, const Bitbases* bitbases = nullptr);
  ~Search();
  Search(const Search&) = delete;
  Search& operator=(const Search&) = delete;

  // Threads that search, this one included (1 to MAX_THREADS): the others
  // are helpers searching the same root over the shared table. Takes effect
  // at the next search; threads are made once and kept.
  void set_threads(int threads);
  int threads() const { return threads_; }
  // Nodes of this search and of its helpers.
  i64 total_nodes() const;

  // Lines of best moves an iteration finds (1 to MAX_MOVES, never more than
  // the legal moves): with more than one, each iteration searches the best
  // move, then the best of the others, and so on, and reports them all at
  // its end. Takes effect at the next search.
  void set_multi_pv(int lines);
  int multi_pv() const { return multi_pv_; }
  // One line of the last iteration (0 is the search's own best line).
  struct RootLine {
    Move pv[MAX_PLY + 2] = {};
    i32 score = 0, depth = 0, bound = 0;
    i32 previous_score = 0;  // at the end of the iteration before
  };
  int line_count() const { return line_count_; }
  const RootLine& line(int i) const { return lines_[i]; }

  // Who hears what the search has to say; null: nobody (nothing is printed
  // and only the limits end the search).
  void set_listener(SearchListener* listener) { listener_ = listener ? listener : &silent_; }
  void set_bitbases(const Bitbases* bitbases) { bitbases_ = bitbases; }
  hash& table() { return tt_; }

  // Before every search: the results, counters and stop state cleared, and
  // the material cache emptied. With clear_limits (UCI, a new game) the
  // limits are cleared too; the xboard side keeps them between moves,
  // since "level", "st" and "sd" set them once.
  void reset(bool clear_limits);
  // Searches the position within the limits; returns the move (0 when the
  // side to move has none). The best move, its score and the expected
  // reply are also left in state. The position itself is not touched.
  Move think(const board& game);
  // The clock's elapsed time and nodes per second, brought up to date.
  void update_clock();
  // Seconds since the clock started, without updating it.
  double elapsed_now() const;

  // Nodes between two looks at the clock and the listener (POLL_INTERVAL
  // unless changed); takes effect at the next reset.
  void set_poll_interval(int nodes) { poll_setting_ = nodes < 1 ? 1 : nodes; }
  // Makes this a helper search, number id (1, 2, ...): it leaves the age of
  // the table to the main search, keeps pawn-structure tables of its own,
  // and its iterations run ahead of the main search's (lead: the ply of the
  // main search's running iteration), odd helpers one ply, even ones two,
  // so that the threads do not all search the same trees at the same time.
  void make_helper(int id, const MainProgress* lead) {
    helper_id_ = id;
    lead_ = lead;
  }
  // A helper's share of a split point of the main search (node: its
  // position, moves: its moves): moves taken from the far end of the list,
  // each searched as the main search would search it after its first move,
  // with a null window at the split point's alpha, until the main search
  // reaches them or the listener gives the work up. The results are left
  // in the table, where the main search finds them.
  void search_split(const board& node, SplitPoint& sp, const SplitTask& task, const Move* moves);
  // The split point this helper works on (null outside one), its generation
  // then, and the index of its move there.
  const SplitPoint* split_point() const { return split_; }
  u64 split_generation() const { return split_generation_; }
  int split_move() const { return split_move_; }

  SearchLimits limits{};
  SearchState state{};
  SearchClock clock{};
  SearchStats stats{};
  i64 nodes = 0;  // 64-bit: a long analysis passes two billion nodes
  i32 seldepth = 0;
  // The root depth in plies of the running iteration.
  i32 root_depth = 0;
  // The principal variation: 0-terminated; slot MAX_PLY + 1 stays 0. It
  // survives into the next search, where it biases the root ordering.
  Move pv[MAX_PLY + 2] = {};
  Ordering ordering;
  Evaluator eval;

  // The searches themselves, public for tests that drive single nodes.
  int search(board& b, int depth, int ply, int alpha, int beta, int node_type, Move* pv_out);
  int quiesce(board& b, int alpha, int beta, int flag, int ply);
  // Orders the root list on b, a copy of the game position.
  int order_root_moves(board& b);
  // line: the root moves before it are left out (the lines an iteration
  // with several has found already); the first line is the search's own.
  int search_root(board& b, int depth, int alpha, int beta, bool first_iteration, int line = 0);
  // Endgame bitbases may be asked at this node (both searches use the test).
  bool bitbase_probe_allowed(const board& b, int ply) const;
  // The poll of every POLL_INTERVAL nodes: the clock, the listener, and the
  // limits; may not return (the search is then unwound to think).
  void poll();
  // A new best root move: the listener hears it, and the score-drop
  // bookkeeping follows.
  void report_new_best();

 private:
  // Counts a node: node counter, selective depth, and the poll every
  // interval (which may not return).
  void count_node(int ply);
  void report_root_move();
  // Stores the score with the principal variation (a walk that in practice
  // stores nothing, see search_root).
  void replay_pv(board& b, int best);
  // A root move's extension, on the board after it (in_check set).
  int root_extension(board& b, Move m, bool root_in_check, int last_to);
  // The extension of a move at a node below the root, on the board after
  // it (in_check set): in_check and single_reply are the node's.
  int move_extension(board& b, Move m, bool in_check, bool single_reply, int last_to, bool pv_node);
  // The lines after the first, with the first one's result copied in.
  void search_more_lines(int depth);
  // The end of the search: the clock stopped and the expected reply taken
  // from the principal variation.
  Move finish(Move move);

  hash& tt_;
  const Bitbases* bitbases_;
  SearchListener silent_;
  SearchListener* listener_ = &silent_;
  board work_;  // the copy of the game position the search runs on
  i32 poll_countdown_ = POLL_INTERVAL;
  i32 poll_interval_ = POLL_INTERVAL;
  i32 poll_setting_ = POLL_INTERVAL;
  // Where poll unwinds to; set by think for the length of the search.
  std::jmp_buf* abort_point_ = nullptr;
  int threads_ = 1;
  int helper_id_ = 0;  // 0: the main search
  const MainProgress* lead_ = nullptr;
  // The main search with helpers: it opens split points, and keeps the
  // moves of each ply's node here (MAX_MOVES per ply).
  bool parallel_ = false;
  std::unique_ptr<Move[]> split_moves_;
  // A helper's split point, its generation and move.
  SplitPoint* split_ = nullptr;
  u64 split_generation_ = 0;
  int split_move_ = -1;
  std::unique_ptr<HelperPool> helpers_;
  int multi_pv_ = 1;
  int line_count_ = 0;
  std::unique_ptr<RootLine[]> lines_;
};

}  // namespace orvo

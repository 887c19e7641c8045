// Iterative deepening and the root search.
#include <algorithm>
#include <cstring>

#include "position/makemove.h"
#include "position/movegen.h"
#include "search/helpers.h"
#include "search/search.h"
#include "search/tree.h"

namespace orvo {

using namespace tree;

namespace {

constexpr int MAX_ITERATION = 64 * PLY;  // 3840 units: iteration 64 is the last
constexpr int FIRST_ITERATION = PLY + PLY / 2;
// Later iterations search a window this wide around the previous score.
constexpr int ASPIRATION_WINDOW = 400;
// Root ordering: a move of the previous principal variation goes first,
// and under-promotions after their queen.
constexpr int PV_ORDER_BONUS = 2000000;
constexpr int UNDER_PROMOTION_PENALTY = 50;
// Without a check, a root move is scored by a quiescence search with this
// open window.
constexpr int OPEN_WINDOW = 50000;
// With a single legal move the search goes this many plies deep.
constexpr int SINGLE_MOVE_DEPTH = 4;
// A score that falls this much below the previous iteration's counts as a
// drop; after depth 1 a first move this far ahead of the second is easy.
constexpr int SCORE_DROP = 50;
constexpr int EASY_MOVE_MARGIN = 150;
// Shares of the target time after which an iteration's end stops the
// search: with an easy move, and without a fail high or a score drop.
constexpr double EASY_MOVE_SHARE = 0.2;
constexpr double STEADY_SHARE = 0.6;
// The ply the principal-variation replay stores its entries with.
constexpr int PV_REPLAY_PLY = MAX_ITERATION;

}  // namespace

void Search::report_new_best() {
  update_clock();
  // With several lines they are reported together, once an iteration has
  // found them all.
  if (multi_pv_ == 1) listener_->new_best(*this);
  if (state.best_depth >= 2 && !limits.analysis) {
    if (state.best_score <= state.previous_score - SCORE_DROP) {
      state.score_dropped = true;
      state.easy_move = false;
      state.stop = false;
    } else {
      state.score_dropped = false;
    }
  }
}

void Search::report_root_move() { listener_->root_move(*this); }

int Search::root_extension(board& b, Move m, bool root_in_check, int last_to) {
  // A check at the root extends every move by a ply; the other tests are
  // those of the tree, without its PV-node condition.
  int e = root_in_check ? CHECK_EXTENSION : 0;
  if (b.in_check) e += CHECK_EXTENSION;
  if (e == 0) {
    const int from = move_from(m), to = move_to(m), mover = b.xside;
    if (to == last_to && see(b, from, to) > 0)
      e = RECAPTURE_EXTENSION;
    else if (pawn_extension_test(b, from, to, mover))
      e = PAWN_EXTENSION;
  }
  return e > MAX_EXTENSION ? MAX_EXTENSION : e;
}

int Search::order_root_moves(board& b) {
  undo u;
  int legal = 0;
  for (int i = 0; i < state.root_count; ++i) {
    const Move m = state.root_moves[i];
    if (!make(b, m, u)) continue;
    const bool check = is_attacked(b, b.king_sq[b.side], b.xside);
    b.in_check = check;
    int score = check ? 0 : -quiesce(b, -OPEN_WINDOW, OPEN_WINDOW, 1, 1);
    // Anywhere in the previous search's principal variation: the first
    // slot is cleared before every search, the rest survive.
    for (int k = 0; k < MAX_PLY + 1; ++k)
      if (pv[k] == m) {
        score += PV_ORDER_BONUS;
        break;
      }
    const int promo = move_promotion(m);
    if (promo && promo != QUEEN) score -= UNDER_PROMOTION_PENALTY;
    unmake(b, u);
    state.root_moves[legal] = m;
    state.root_scores[legal] = score;
    ++legal;
  }
  bubble_sort(state.root_moves, state.root_scores, legal);
  // The bonus only orders; it is taken off again.
  for (int i = 0; i < legal; ++i)
    if (state.root_scores[i] > PV_ORDER_BONUS / 2) state.root_scores[i] -= PV_ORDER_BONUS;
  state.root_count = legal;
  state.legal_root_count = legal;
  if (legal == 1) {
    limits.fixed_depth = true;
    limits.depth_limit = SINGLE_MOVE_DEPTH;
  }
  return legal;
}

int Search::search_root(board& b, int depth, int alpha, int beta, bool first_iteration, int line) {
  ++nodes;
  --poll_countdown_;
  const int last_to = move_to(b.last_move);
  // The moves of the lines found before this one in the iteration are left
  // out: they stand at the front of the list.
  for (int i = line; i < state.root_count; ++i) state.root_scores[i] = 0;
  const bool root_in_check = is_attacked(b, b.king_sq[b.side], b.xside);
  const int entry_alpha = alpha;
  int best = NO_SCORE;
  int legal = 0;
  undo u;
  Move child_pv[MAX_PLY + 2];
  // Helpers take the moves after the first from the far end of the list.
  const bool can_split = parallel_ && line == 0 && !first_iteration;
  SplitPoint* split = nullptr;
  for (int i = line; i < state.root_count; ++i) {
    const Move m = state.root_moves[i];
    if (split) HelperPool::main_at(*split, i);
    state.current_depth = depth / PLY;
    state.current_move_index = i;
    state.current_move = m;
    report_root_move();
    if (!make(b, m, u)) continue;
    ++legal;
    b.in_check = is_attacked(b, b.king_sq[b.side], b.xside);
    const int e = root_extension(b, m, root_in_check, last_to);
    int score;
    if (legal == 1 || first_iteration) {
      score = -search(b, depth + e - PLY, 1, -beta, -alpha, PV_NODE, child_pv);
    } else {
      score = -search(b, depth + e - PLY, 1, -alpha - 1, -alpha, CUT_NODE, child_pv);
      if (alpha < score && score < beta) {
        if (line == 0) {
          state.fail_high = true;
          state.easy_move = false;
          state.stop = false;
        }
        report_root_move();
        score = -search(b, depth + e - PLY, 1, -beta, -alpha, PV_NODE, child_pv);
      }
    }
    unmake(b, u);
    state.root_scores[i] = score > alpha ? std::min(score, beta) : entry_alpha;
    if (score > best && (best == NO_SCORE || score > alpha)) {
      const int bound = (alpha < score && score < beta) ? BOUND_EXACT : score >= beta ? BOUND_LOWER : BOUND_UPPER;
      if (line == 0) {
        state.best_move = m;
        state.best_score = score;
        state.best_depth = depth / PLY;
        state.best_bound = bound;
        build_pv(pv, m, child_pv);
        report_new_best();
      } else {
        RootLine& l = lines_[line];
        l.score = score;
        l.depth = depth / PLY;
        l.bound = bound;
        build_pv(l.pv, m, child_pv);
      }
      best = score;
      if (score > alpha) {
        // The first iteration keeps its window so every root move gets an
        // exact score for the ordering.
        if (!first_iteration) alpha = score;
        if (score >= beta) break;
        if (split) split->alpha.store(alpha, std::memory_order_relaxed);
      }
    }
    if (can_split && !split && legal == 1 && i == 0) {
      split = &helpers_->split_point(0);
      helpers_->open_split(*split, b, depth, 0, root_in_check, false, alpha, state.root_moves, state.root_count);
    }
  }
  if (split) HelperPool::close_split(*split);
  bubble_sort(state.root_moves + line, state.root_scores + line, state.root_count - line);
  if (line == 0 && entry_alpha < best && best < beta) replay_pv(b, best);
  b.in_check = root_in_check;
  return best;
}

void Search::search_split(const board& node, SplitPoint& sp, const SplitTask& task, const Move* moves) {
  std::jmp_buf here;
  abort_point_ = &here;
  if (setjmp(here)) {
    // Given up from inside the tree; the working copy is discarded.
    abort_point_ = nullptr;
    split_ = nullptr;
    split_move_ = -1;
    return;
  }
  work_ = node;
  split_ = &sp;
  split_generation_ = task.generation;
  // The bitbase rule reads the iteration's depth: the main search's.
  if (lead_) root_depth = lead_->depth.load(std::memory_order_relaxed);
  seldepth = task.ply;
  const int last_to = move_to(work_.last_move);
  undo u;
  Move child_pv[MAX_PLY + 2];
  for (;;) {
    const int i = sp.tail.fetch_sub(1, std::memory_order_relaxed) - 1;
    if (i <= sp.main_index.load(std::memory_order_relaxed) ||
        sp.generation.load(std::memory_order_relaxed) != task.generation)
      break;
    split_move_ = i;
    const Move m = moves[i];
    if (!make(work_, m, u)) continue;
    work_.in_check = is_attacked(work_, work_.king_sq[work_.side], work_.xside);
    const int e = task.ply == 0 ? root_extension(work_, m, task.in_check, last_to)
                                : move_extension(work_, m, task.in_check, task.single_reply, last_to, true);
    const int alpha = sp.alpha.load(std::memory_order_relaxed);
    // The main search's own null-window search of the move.
    search(work_, task.depth + e - PLY, task.ply + 1, -alpha - 1, -alpha, CUT_NODE, child_pv);
    unmake(work_, u);
  }
  split_ = nullptr;
  split_move_ = -1;
  abort_point_ = nullptr;
}

void Search::search_more_lines(int depth) {
  const int p = depth / PLY;
  RootLine& first = lines_[0];
  first.score = state.best_score;
  first.depth = state.best_depth;
  first.bound = state.best_bound;
  for (int k = 0; k < MAX_PLY + 2; ++k) first.pv[k] = pv[k];
  line_count_ = multi_pv_ < state.legal_root_count ? multi_pv_ : state.legal_root_count;
  for (int j = 1; j < line_count_; ++j) {
    RootLine& l = lines_[j];
    int alpha = -MATE, beta = MATE;
    if (p > 1) {
      alpha = std::max(l.previous_score - ASPIRATION_WINDOW, -MATE);
      beta = std::min(l.previous_score + ASPIRATION_WINDOW, MATE);
    }
    search_root(work_, depth, alpha, beta, p == 1, j);
    l.previous_score = l.score;
  }
}

void Search::replay_pv(board& b, int best) {
  // Deliberate: the replay starts at slot MAX_PLY + 1, one past the usable
  // PV, and stops at the first empty or illegal slot, so in practice it
  // stores nothing. Kept as it is.
  undo replay[MAX_PLY + 2];
  int made = 0;
  for (int k = MAX_PLY + 1; k >= 0; --k) {
    if (!pv[k] || !make(b, pv[k], replay[made])) break;
    ++made;
  }
  while (made > 0) {
    --made;
    unmake(b, replay[made]);
    tt_.store(b.key, PV_REPLAY_PLY, 0, TT_EXACT, best, replay[made].move);
  }
}

Move Search::finish(Move move) {
  // The helpers stop with the main search, whatever ended it.
  if (helpers_) helpers_->stop();
  update_clock();
  clock.running = false;
  state.expected_reply = pv[0] ? pv[1] : 0;
  listener_->search_done(*this);
  return move;
}

Move Search::think(const board& game) {
  listener_->search_started(*this);
  work_ = game;
  root_depth = 0;
  ordering.clear_killers();
  ordering.clear_history();
  MoveList list;
  generate_all(game, list);
  state.root_count = 0;
  state.expected_reply = 0;
  if (list.count == 0) {
    listener_->search_done(*this);
    return 0;
  }

  std::jmp_buf here;
  std::jmp_buf* const outer = abort_point_;
  abort_point_ = &here;
  if (setjmp(here)) {
    // Abandoned from inside the tree: the working copy is discarded, the
    // game board was never touched.
    abort_point_ = outer;
    return finish(state.best_move);
  }

  std::memcpy(state.root_moves, list.moves, sizeof(Move) * list.count);
  std::memcpy(state.root_scores, list.scores, sizeof(i32) * list.count);
  state.root_count = list.count;

  // The book, for a move of the game (never for an analysis).
  Move book = 0;
  if (!limits.analysis && listener_->book_move(*this, state.root_moves, state.root_count, book)) {
    state.book_move = true;
    state.have_move = true;
    pv[0] = book;
    pv[1] = 0;
    state.best_move = book;
    abort_point_ = outer;
    listener_->search_done(*this);
    return book;
  }
  state.book_move = false;

  if (order_root_moves(work_) == 0) {
    abort_point_ = outer;
    listener_->search_done(*this);
    return 0;
  }
  // A helper leaves the table's age to the main search, which has set it.
  if (!helper_id_) tt_.new_search();
  clock.running = true;
  clock.start = now_seconds();
  work_ = game;
  eval.set_root_castle(work_.castle);
  if (!helper_id_ && (threads_ > 1 || helpers_)) {
    if (!helpers_) helpers_ = std::make_unique<HelperPool>(tt_, bitbases_);
    helpers_->resize(threads_ - 1);
    if (!split_moves_) split_moves_ = std::make_unique<Move[]>((MAX_PLY + 1) * MAX_MOVES);
    helpers_->start(game);
  }
  parallel_ = helpers_ && helpers_->size() > 0;

  // A helper runs ahead of the main search: odd ones a ply, even ones two.
  const int lead = helper_id_ ? 2 - helper_id_ % 2 : 0;
  for (int d = FIRST_ITERATION; d <= MAX_ITERATION; d += PLY) {
    if (lead_) {
      const int ahead = lead_->depth.load(std::memory_order_relaxed) + lead;
      if (d / PLY < ahead) {
        d = ahead * PLY + d % PLY;
        state.previous_score = lead_->score.load(std::memory_order_relaxed);
      }
      if (d > MAX_ITERATION) break;
    } else if (helpers_) {
      helpers_->main_iteration(d / PLY, state.previous_score);
    }
    const int p = d / PLY;
    root_depth = p;
    state.score_dropped = state.previous_score_dropped = false;
    seldepth = p;
    int alpha = -MATE, beta = MATE;
    if (p > 1) {
      alpha = std::max(state.previous_score - ASPIRATION_WINDOW, -MATE);
      beta = std::min(state.previous_score + ASPIRATION_WINDOW, MATE);
    }
    search_root(work_, d, alpha, beta, p == 1);
    if (multi_pv_ > 1) search_more_lines(d);
    update_clock();
    if (multi_pv_ > 1) listener_->lines_done(*this, p);
    listener_->iteration_done(*this, p);
    state.have_move = true;
    if (p == 1 && !limits.analysis && state.legal_root_count >= 2 &&
        state.root_scores[0] >= state.root_scores[1] + EASY_MOVE_MARGIN)
      state.easy_move = true;
    bool dropped = state.score_dropped;
    if (p > 1 && !limits.analysis) {
      state.previous_score_dropped = state.score_dropped;
      state.score_dropped = false;
      dropped = state.previous_score_dropped;
    }
    state.previous_score = state.best_score;

    const double elapsed = clock.elapsed;
    if (limits.fixed_depth && p >= limits.depth_limit) state.stop = true;
    if (limits.timed) {
      if (elapsed >= limits.target_time && !dropped) state.stop = true;
      if (!limits.analysis && elapsed >= EASY_MOVE_SHARE * limits.target_time && state.easy_move)
        state.stop = true;
      if (!limits.analysis && elapsed >= STEADY_SHARE * limits.target_time && !dropped && !state.fail_high)
        state.stop = true;
    }
    if (state.stop_command || (state.stop && !limits.infinite)) break;
  }
  abort_point_ = outer;
  return finish(pv[0]);
}

}  // namespace orvo

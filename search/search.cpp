// The principal-variation alpha-beta search below the root, and the
// quiescence search below the horizon.
#include "search/search.h"

#include <algorithm>
#include <cstdlib>

#include "position/makemove.h"
#include "position/movegen.h"
#include "position/tables.h"
#include "search/draws.h"
#include "search/helpers.h"
#include "search/tree.h"
#include "tools/egbb.h"

namespace orvo {

using namespace tree;

namespace {

inline bool gives_check(const board& b) { return is_attacked(b, b.king_sq[b.side], b.xside); }

// The null move is searched this much shallower besides the ply itself.
constexpr int NULL_MOVE_REDUCTION = 3 * PLY;
// The null move needs this much depth, and above the second figure an
// evaluation that reaches beta.
constexpr int NULL_MOVE_MIN_DEPTH = 3 * PLY, NULL_MOVE_EVAL_DEPTH = 4 * PLY;
// Pre-frontier reduction: at two plies, when the mover is this far behind
// alpha in material.
constexpr int PRE_FRONTIER_DEPTH = 2 * PLY, PRE_FRONTIER_MARGIN = 500;
// Late-move reduction: from the fifth legal move on, with five plies left.
constexpr int LATE_MOVE_INDEX = 5, LATE_MOVE_DEPTH = 5 * PLY;
// Quiescence: captures of the king are never searched; promotions and
// captures of a bigger piece come first, above every exchange value.
constexpr int KING_CAPTURE_SCORE = -777777;
constexpr int WINNING_CAPTURE_BASE = 1000000;
constexpr int DELTA_MARGIN = 100;
// With helpers, a PV node with this much depth left offers its moves after
// the first to them.
constexpr int SPLIT_MIN_DEPTH = 3 * PLY;


}  // namespace

void Search::count_node(int ply) {
  ++nodes;
  if (ply > seldepth) seldepth = ply;
  if (--poll_countdown_ <= 0) {
    poll_countdown_ = poll_interval_;
    poll();
  }
}

bool Search::bitbase_probe_allowed(const board& b, int ply) const {
  if (!bitbases_ || !bitbases_->loaded()) return false;
  const int men = b.pieces_count[0] + b.pieces_count[1] + b.pawn_count[0] + b.pawn_count[1];
  if (men > 3) return false;
  const int d = root_depth;
  if (men == 3 && d - ply < d / 3) return false;
  const Move last = b.last_move;
  if (ply < d / 2 && move_captured(last) == 0 && move_piece(last) != PAWN) return false;
  return true;
}

int Search::move_extension(board& b, Move m, bool in_check, bool single_reply, int last_to, bool pv_node) {
  int e = (in_check && single_reply) ? SINGLE_REPLY_EXTENSION : 0;
  if (b.in_check) e += CHECK_EXTENSION;
  if (e == 0 && pv_node) {
    const int from = move_from(m), to = move_to(m);
    if (to == last_to && see(b, from, to) > 0) {
      e = RECAPTURE_EXTENSION;
      ++stats.recapture_extensions;
    } else if (pawn_extension_test(b, from, to, b.xside)) {
      e = PAWN_EXTENSION;
    }
  }
  return e > MAX_EXTENSION ? MAX_EXTENSION : e;
}

int Search::search(board& b, int depth, int ply, int alpha, int beta, int node_type, Move* pv) {
  pv[0] = 0;
  if (depth < PLY) return quiesce(b, alpha, beta, 1, ply);
  count_node(ply);
  if (ply >= MAX_PLY) return eval.evaluate_cached(b, alpha, beta);
  if (b.fifty >= 100) return 0;
  // Inside the search a single earlier occurrence is a draw.
  if (repetition_count(b) >= 1) return 0;

  // Mate-distance pruning. Deliberate: the two bounds differ by one point.
  if (!limits.infinite && !(std::abs(alpha) == MATE && std::abs(beta) == MATE)) {
    const int a = std::max(alpha, ply - MATE);
    if (a >= std::min(MATE - 1 - ply, beta)) return a;
  }

  const bool in_check = b.in_check;
  int tt_score = 0;
  Move hash_move = 0;
  const int bound = tt_.probe(b.key, ply, depth, alpha, beta, tt_score, hash_move);
  // PV nodes never take a table cut-off.
  if (node_type != PV_NODE && bound != TT_MISS) return tt_score;

  if (bitbase_probe_allowed(b, ply)) {
    int score;
    if (bitbases_->probe(b, score)) return score;
  }

  const u64* own = b.bb(b.side);
  if (depth >= NULL_MOVE_MIN_DEPTH && node_type != PV_NODE && !in_check && beta >= -MATE_BOUND &&
      beta < MATE_BOUND + 1 && (own[BB_ROOK] | own[BB_QUEEN]) &&
      (depth <= NULL_MOVE_EVAL_DEPTH || (++stats.null_evals, eval.evaluate_cached(b, alpha, beta) >= beta))) {
    ++stats.null_tries;
    const i32 side = b.side, xside = b.xside, fifty = b.fifty, ep = b.ep;
    const Move last = b.last_move;
    const u64 key = b.key;
    if (ep != -1) b.key ^= zobrist_castle_ep[ep];
    b.key ^= zobrist_side[side] ^ zobrist_side[xside];
    b.side = xside;
    b.xside = side;
    b.fifty = 0;
    b.last_move = 0;
    b.ep = -1;
    Move child_pv[MAX_PLY + 2];
    const int score = -search(b, depth - NULL_MOVE_REDUCTION - PLY, ply, -beta, 1 - beta, -node_type, child_pv);
    b.side = side;
    b.xside = xside;
    b.fifty = fifty;
    b.last_move = last;
    b.ep = ep;
    b.key = key;
    if (score >= beta) return std::min(score, MATE_BOUND);
  }

  MovePicker picker;
  const bool single_reply = ordering.init_picker(b, picker, hash_move, in_check, ply);
  const int entry_alpha = alpha;
  const int last_to = move_to(b.last_move);
  int legal = 0, best = NO_SCORE;
  Move best_move = 0;
  Move child_pv[MAX_PLY + 2];
  undo u;
  bool cutoff = false;
  // With helpers, a deep enough PV node hands its moves after the first to
  // them, and takes its own from the list it gave them.
  SplitPoint* split = nullptr;
  const Move* split_list = nullptr;
  int split_count = 0, split_next = 0;

  for (;;) {
    Move m;
    if (split_list) {
      if (split_next >= split_count) break;
      HelperPool::main_at(*split, split_next);
      m = split_list[split_next++];
    } else if (!(m = ordering.next_move(b, picker))) {
      break;
    }
    if (!make(b, m, u)) continue;
    // Only a child with a ply or more left reads the table (quiescence
    // does not): above the pre-frontier depth every child has, below it
    // only an extended one, known further down.
    const bool child_reads_table = depth > PRE_FRONTIER_DEPTH;
    if (child_reads_table) tt_.prefetch(b.key);
    eval.prefetch(b);
    ++legal;
    const int mover = b.xside;
    b.in_check = gives_check(b);
    const int e = move_extension(b, m, in_check, single_reply, last_to, node_type == PV_NODE);
    int new_depth = depth + e;
    bool reduced = false;
    if (node_type != PV_NODE && e == 0 && depth == PRE_FRONTIER_DEPTH &&
        b.pieces_count[0] + b.pieces_count[1] >= 2 &&
        b.material[mover] - b.material[mover ^ 1] + PRE_FRONTIER_MARGIN < alpha) {
      new_depth = depth - PLY;
      reduced = true;
    }
    if (!child_reads_table && new_depth >= 2 * PLY) tt_.prefetch(b.key);

    int score;
    if (legal == 1) {
      score = -search(b, new_depth - PLY, ply + 1, -beta, -alpha, -node_type, child_pv);
    } else {
      score = alpha + 1;
      if (node_type != PV_NODE && !reduced && e == 0 && legal >= LATE_MOVE_INDEX && depth >= LATE_MOVE_DEPTH) {
        const int from = move_from(m);
        // Either side's pawns on the second or the sixth row from the top.
        const bool advanced_pawn = move_piece(m) == PAWN && (row_of(from) == 6 || row_of(from) == 2);
        if (!advanced_pawn && move_is_quiet(m)) {
          ++stats.late_reductions;
          score = -search(b, new_depth - 2 * PLY, ply + 1, -alpha - 1, -alpha, CUT_NODE, child_pv);
        }
      }
      if (score > alpha) {
        score = -search(b, new_depth - PLY, ply + 1, -alpha - 1, -alpha, CUT_NODE, child_pv);
        if (score > alpha && score < beta)
          score = -search(b, new_depth - PLY, ply + 1, -beta, -alpha, PV_NODE, child_pv);
      }
    }
    unmake(b, u);

    if (score > best) {
      best = score;
      build_pv(pv, m, child_pv);
      if (score > alpha) {
        alpha = score;
        best_move = m;
        if (alpha >= beta) {
          if (move_is_quiet(m)) ordering.update_killers(ply, m);
          cutoff = true;
          break;
        }
        const int plies = new_depth / PLY;
        ordering.history[b.side][move_from(m)][move_to(m)] += plies * plies;
        if (split) split->alpha.store(alpha, std::memory_order_relaxed);
      }
    }
    if (node_type == CUT_NODE) node_type = ALL_NODE;
    if (parallel_ && legal == 1 && !split && node_type == PV_NODE && depth >= SPLIT_MIN_DEPTH) {
      // The first move is searched: the rest of the node's moves, in the
      // picker's order, become a split point.
      Move* list = split_moves_.get() + ply * MAX_MOVES;
      list[0] = m;
      int n = 1;
      while (n < MAX_MOVES && (list[n] = ordering.next_move(b, picker))) ++n;
      split = &helpers_->split_point(ply);
      helpers_->open_split(*split, b, depth, ply, in_check, single_reply, alpha, list, n);
      split_list = list;
      split_count = n;
      split_next = 1;
    }
  }
  if (split) HelperPool::close_split(*split);

  if (legal == 0) return in_check ? ply - MATE : 0;
  if (!cutoff && best_move && move_is_quiet(best_move)) ordering.update_killers(ply, best_move);

  // Deliberate: a store happens only after alpha was raised, so every
  // stored entry is a lower bound; nodes that failed low store nothing.
  if (depth > PLY && alpha != entry_alpha) {
    if (best > entry_alpha)
      tt_.store(b.key, ply, depth, TT_LOWER, best, best_move);
    else if (best < beta)
      tt_.store(b.key, ply, depth, TT_UPPER, best, 0);
    else
      tt_.store(b.key, ply, depth, TT_EXACT, best, best_move);
  }
  return best;
}

namespace {

// The score of a capture in quiescence, where moves scoring at most
// `threshold` are passed over.
int quiet_capture_score(const board& b, Move m, int threshold) {
  const int cap = move_captured(m), promo = move_promotion(m), pc = move_piece(m);
  if (cap == KING) return KING_CAPTURE_SCORE;
  if (promo) return see_value[cap] + see_value[promo] + WINNING_CAPTURE_BASE;
  if (see_value[cap] > see_value[pc]) return see_value[cap] - see_value[pc] + WINNING_CAPTURE_BASE;
  // An exchange never gains more than the piece standing on the target.
  // Where even that is within the threshold, the move is passed over
  // whatever its exchange value; the value is not worked out, and this
  // bound takes its place. Moves passed over are never searched, and the
  // order of the others does not depend on their scores, only on where
  // they stand.
  const int most = see_value[b.piece[move_to(m)]];
  if (most <= threshold) return most;
  return see(b, move_from(m), move_to(m));
}

}  // namespace

int Search::quiesce(board& b, int alpha, int beta, int flag, int ply) {
  (void)flag;  // always 1, never read
  count_node(ply);
  if (ply >= MAX_PLY) return eval.evaluate_cached(b, alpha, beta);
  if (b.fifty >= 100) return 0;
  if (repetition_count(b) >= 1) return 0;

  MoveList l;
  undo u;
  const bool in_check = b.in_check;
  int best, threshold = 0;
  if (!in_check) {
    if (bitbase_probe_allowed(b, ply)) {
      int score;
      if (bitbases_->probe(b, score)) return score;
    }
    const int e = eval.evaluate_cached(b, alpha, beta);
    if (e >= beta) return e;
    best = std::max(e, alpha);
    alpha = best;
    // Fixed for the node: it is not recomputed when alpha rises.
    threshold = (b.material[b.xside] - b.material[b.side]) + best - DELTA_MARGIN;
    generate_captures(b, l);
    for (int i = 0; i < l.count; ++i) l.scores[i] = quiet_capture_score(b, l.moves[i], threshold);
    if (l.count == 0) return best;
  } else {
    // In check every evasion is searched, quiet or not.
    generate_all(b, l);
    // Deliberate: a mated side scores 30000 - ply here, with the sign of a
    // win. Kept as it is.
    if (score_evasions(b, l) == 0) return MATE - ply;
    best = alpha;
  }
  bool any = false;
  for (int i = 0; i < l.count; ++i) {
    select_best(l, i);
    if (!in_check) {
      if (l.scores[i] == KING_CAPTURE_SCORE) continue;
      if (l.scores[i] <= threshold) {
        ++stats.quiesce_skipped;
        continue;
      }
    } else if (l.scores[i] == ILLEGAL_EVASION) {
      break;  // the illegal evasions come last: make would refuse the rest
    }
    if (!make(b, l.moves[i], u)) continue;
    eval.prefetch(b);
    any = true;
    // The child needs to know whether it is in check: make does not say.
    b.in_check = gives_check(b);
    const int score = -quiesce(b, -beta, -alpha, 1, ply + 1);
    unmake(b, u);
    best = std::max(best, score);
    if (best > alpha) {
      if (best >= beta) return best;
      alpha = best;
    }
  }
  if (in_check && !any) best = ply - MATE;
  return best;
}

}  // namespace orvo

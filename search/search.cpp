// The principal-variation alpha-beta search below the root, and the
// quiescence search below the horizon.
#include "search/search.h"

#include <algorithm>
#include <cstdlib>

#include "engine/chess.h"
#include "eval/eval.h"
#include "position/makemove.h"
#include "position/movegen.h"
#include "position/tables.h"
#include "search/draws.h"
#include "search/hash.h"
#include "search/internal.h"
#include "search/ordering.h"
#include "tools/egbb.h"

namespace orvo {

namespace {

constexpr int NULL_MOVE_MARGIN = 29744;

inline bool gives_check(const board& b) { return is_attacked(b, b.king_sq[b.side], b.xside); }

}  // namespace

void count_node(chess& c, int ply) {
  ++nodes;
  if (ply > seldepth) seldepth = ply;
  if (--poll_countdown <= 0) {
    poll_countdown = poll_interval;
    poll(c);
  }
}

bool bitbase_probe_allowed(const chess& c, const board& b, int ply) {
  if (!egbb_loaded) return false;
  const int men = b.pieces_count[0] + b.pieces_count[1] + b.pawn_count[0] + b.pawn_count[1];
  if (men > 3) return false;
  const int d = c.root_depth;
  if (men == 3 && d - ply < d / 3) return false;
  const Move last = b.last_move;
  if (ply < d / 2 && move_captured(last) == 0 && move_piece(last) != PAWN) return false;
  return true;
}

int search(chess& c, board& b, int depth, int ply, int alpha, int beta, int nodeType, Move* pv) {
  pv[0] = 0;
  if (depth < PLY) return quiesce(c, b, alpha, beta, 1, ply);
  count_node(c, ply);
  if (ply >= MAX_PLY) return Evaluate(b, alpha, beta);
  if (b.fifty >= 100) return 0;
  // Inside the search a single earlier occurrence is a draw.
  if (repetitionCount(b) >= 1) return 0;

  // Mate-distance pruning. Deliberate: the two bounds differ by one point.
  if (!limits.infinite && !(std::abs(alpha) == MATE && std::abs(beta) == MATE)) {
    const int a = std::max(alpha, ply - MATE);
    if (a >= std::min(MATE - 1 - ply, beta)) return a;
  }

  const bool in_check = b.in_check;
  int tt_score = 0;
  Move hash_move = 0;
  const int bound = tt.probe(b.key, ply, depth, alpha, beta, tt_score, hash_move);
  // PV nodes never take a table cut-off.
  if (nodeType != 0 && bound != TT_MISS) return tt_score;

  if (bitbase_probe_allowed(c, b, ply)) {
    int score;
    if (egbb_probe(b, score)) return score;
  }

  const u64* own = b.bb(b.side);
  if (depth >= 3 * PLY && nodeType != 0 && !in_check && beta >= -NULL_MOVE_MARGIN &&
      beta < NULL_MOVE_MARGIN + 1 && (own[BB_ROOK] | own[BB_QUEEN]) &&
      (depth <= 4 * PLY || (++stats.null_evals, Evaluate(b, alpha, beta) >= beta))) {
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
    const int score = -search(c, b, depth - 4 * PLY, ply, -beta, 1 - beta, -nodeType, child_pv);
    b.side = side;
    b.xside = xside;
    b.fifty = fifty;
    b.last_move = last;
    b.ep = ep;
    b.key = key;
    if (score >= beta) return std::min(score, NULL_MOVE_MARGIN);
  }

  MovePicker picker;
  const bool single_reply = initPicker(c, b, picker, hash_move, in_check, ply);
  const int entry_alpha = alpha;
  const int last_to = move_to(b.last_move);
  int legal = 0, best = NO_SCORE;
  Move best_move = 0;
  Move child_pv[MAX_PLY + 2];
  undo u;
  bool cutoff = false;

  while (const Move m = nextMove(c, b, picker)) {
    if (!make(b, m, u)) continue;
    ++legal;
    const int mover = b.xside;
    const bool check = gives_check(b);
    b.in_check = check;
    int e = (in_check && single_reply) ? 30 : 0;
    if (check) e += 60;
    if (e == 0 && nodeType == 0) {
      const int from = move_from(m), to = move_to(m);
      if (to == last_to && see(b, from, to) > 0) {
        e = 30;
        ++stats.recapture_extensions;
      } else if (b.piece[from] == PAWN && ((mover == 0 && to >= 8 && to <= 15) ||
                                           (mover == 1 && to >= 48 && to <= 55))) {
        // Deliberate and inert: make has emptied the from-square, so this
        // pawn test never fires. Kept in this form.
        e = 45;
      }
    }
    if (e > PLY) e = PLY;
    int new_depth = depth + e;
    bool reduced = false;
    if (nodeType != 0 && e == 0 && depth == 2 * PLY &&
        b.pieces_count[0] + b.pieces_count[1] >= 2 &&
        b.material[mover] - b.material[mover ^ 1] + 500 < alpha) {
      new_depth = depth - PLY;
      reduced = true;
    }

    int score;
    if (legal == 1) {
      score = -search(c, b, new_depth - PLY, ply + 1, -beta, -alpha, -nodeType, child_pv);
    } else {
      score = alpha + 1;
      if (nodeType != 0 && !reduced && e == 0 && legal >= 5 && depth >= 5 * PLY) {
        const int from = move_from(m);
        const bool advanced_pawn =
            move_piece(m) == PAWN && ((from >= 48 && from <= 55) || (from >= 16 && from <= 23));
        if (!advanced_pawn && move_is_quiet(m)) {
          ++stats.late_reductions;
          score = -search(c, b, new_depth - 2 * PLY, ply + 1, -alpha - 1, -alpha, 1, child_pv);
        }
      }
      if (score > alpha) {
        score = -search(c, b, new_depth - PLY, ply + 1, -alpha - 1, -alpha, 1, child_pv);
        if (score > alpha && score < beta)
          score = -search(c, b, new_depth - PLY, ply + 1, -beta, -alpha, 0, child_pv);
      }
    }
    unmake(b, u);

    if (score > best) {
      best = score;
      pv[0] = m;
      int i = 0;
      for (; i < MAX_PLY && child_pv[i]; ++i) pv[i + 1] = child_pv[i];
      pv[i + 1] = 0;
      if (score > alpha) {
        alpha = score;
        best_move = m;
        if (alpha >= beta) {
          if (move_is_quiet(m)) update_killers(c, ply, m);
          cutoff = true;
          break;
        }
        const int plies = new_depth / PLY;
        c.history[b.side][move_from(m)][move_to(m)] += plies * plies;
      }
    }
    if (nodeType == 1) nodeType = -1;
  }

  if (legal == 0) return in_check ? ply - MATE : 0;
  if (!cutoff && best_move && move_is_quiet(best_move)) update_killers(c, ply, best_move);

  // Deliberate: a store happens only after alpha was raised, so every
  // stored entry is a lower bound; nodes that failed low store nothing.
  if (depth > PLY && alpha != entry_alpha) {
    if (best > entry_alpha)
      tt.store(b.key, ply, depth, TT_LOWER, best, best_move);
    else if (best < beta)
      tt.store(b.key, ply, depth, TT_UPPER, best, 0);
    else
      tt.store(b.key, ply, depth, TT_EXACT, best, best_move);
  }
  return best;
}

namespace {

int quiet_capture_score(const board& b, Move m) {
  const int cap = move_captured(m), promo = move_promotion(m), pc = move_piece(m);
  if (cap == KING) return -777777;
  if (promo) return see_value[cap] + see_value[promo] + 1000000;
  if (see_value[cap] > see_value[pc]) return see_value[cap] - see_value[pc] + 1000000;
  return see(b, move_from(m), move_to(m));
}

}  // namespace

int quiesce(chess& c, board& b, int alpha, int beta, int flag, int ply) {
  (void)flag;  // always 1, never read
  count_node(c, ply);
  if (ply >= MAX_PLY) return Evaluate(b, alpha, beta);
  if (b.fifty >= 100) return 0;
  if (repetitionCount(b) >= 1) return 0;

  MoveList l;
  undo u;
  const bool in_check = b.in_check;
  int best, threshold = 0;
  if (!in_check) {
    if (bitbase_probe_allowed(c, b, ply)) {
      int score;
      if (egbb_probe(b, score)) return score;
    }
    const int e = Evaluate(b, alpha, beta);
    if (e >= beta) return e;
    best = std::max(e, alpha);
    alpha = best;
    generate_captures(b, l);
    for (int i = 0; i < l.count; ++i) l.scores[i] = quiet_capture_score(b, l.moves[i]);
    // Fixed for the node: it is not recomputed when alpha rises.
    threshold = (b.material[b.xside] - b.material[b.side]) + best - 100;
    if (l.count == 0) return best;
  } else {
    // In check every evasion is searched, quiet or not.
    generate_all(b, l);
    // Deliberate: a mated side scores 30000 - ply here, with the sign of a
    // win. Kept as it is.
    if (scoreEvasions(b, l) == 0) return MATE - ply;
    best = alpha;
  }
  bool any = false;
  for (int i = 0; i < l.count; ++i) {
    selectBest(l, i);
    if (!in_check) {
      if (l.scores[i] == -777777) continue;
      if (l.scores[i] <= threshold) {
        ++stats.quiesce_skipped;
        continue;
      }
    }
    if (!make(b, l.moves[i], u)) continue;
    any = true;
    // The child needs to know whether it is in check: make does not say.
    b.in_check = gives_check(b);
    const int score = -quiesce(c, b, -beta, -alpha, 1, ply + 1);
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

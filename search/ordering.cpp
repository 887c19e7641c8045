#include "search/ordering.h"

#include <algorithm>
#include <cstring>

#include "position/makemove.h"
#include "position/movegen.h"
#include "position/tables.h"

namespace orvo {

namespace {

// Only this many quiet moves ever get their history score (see
// Ordering::quiet_scored).
constexpr int HISTORY_SCORED_QUIETS = 4;
// Quiet moves with a history score are placed below every other score.
constexpr int HISTORY_OFFSET = 24000;
// Capture scores: a losing candidate, and the base of every other one.
constexpr int LOSING_CAPTURE_SCORE = -28000;
constexpr int CAPTURE_BASE = 4000;
// The scores of the evasion counter (ILLEGAL_EVASION is in the header).
constexpr int CAPTURE_EVASION = 50000, PAWN_EVASION = 25000;
// The picker's phases: the hash move, the captures, the deferred losing
// captures, the killers, the quiet moves, and the end. The evasion
// sequence begins at 0, the normal one at 2.
constexpr i32 PICKER_PHASES[8] = {1, 7, 2, 3, 5, 6, 4, 7};
constexpr int EVASION_START = 0, NORMAL_START = 2;
enum Phase : int { PHASE_HASH = 2, PHASE_CAPTURES = 3, PHASE_LOSING = 4, PHASE_KILLERS = 5, PHASE_QUIETS = 6, PHASE_END = 7 };
enum Stage : int { STAGE_ALL = 1, STAGE_HASH = 3, STAGE_CAPTURES = 4, STAGE_LOSING = 5, STAGE_KILLERS = 6, STAGE_QUIETS = 7 };

bool is_en_passant(const board& b, Move m) {
  return move_piece(m) == PAWN && move_captured(m) == PAWN && move_to(m) == b.ep;
}

int capture_score(const board& b, Move m) {
  const int cap = move_captured(m), promo = move_promotion(m), pc = move_piece(m);
  const bool ep = is_en_passant(b, m);
  int base;
  if (ep)
    base = pc + 4;
  else if (cap)
    base = cap * 6 - pc;
  else
    base = promo;
  if (!ep && promo != QUEEN) {
    const bool candidate = (promo && !cap) || (cap && !promo && see_value[cap] < see_value[pc]);
    if (candidate && see(b, move_from(m), move_to(m)) < 0) return LOSING_CAPTURE_SCORE;
  }
  return base + CAPTURE_BASE;
}

// The slider of either colour standing first behind sq, seen from `to`,
// if it moves along that line.
u64 xray_behind(const board& b, int to, int sq) {
  const int d = direction[to][sq];
  if (d < 0) return 0;
  // The first piece on the ray beyond sq: the nearest occupied square, which
  // is the highest-numbered one on rays running towards a8 (negative steps)
  // and the lowest-numbered one on the others.
  const u64 blockers = ray[d][sq] & b.occupied;
  if (!blockers) return 0;
  const int t = dir_step[d] < 0 ? 63 - __builtin_clzll(blockers) : __builtin_ctzll(blockers);
  const int p = b.piece[t];
  const bool diagonal = d & 1;
  if (p == QUEEN || (diagonal ? p == BISHOP : p == ROOK)) return 1ull << t;
  return 0;
}

// Drops the moves score_evasions marked illegal, keeping the others' order.
void keep_legal_evasions(MoveList& l) {
  int n = 0;
  for (int i = 0; i < l.count; ++i)
    if (l.scores[i] != ILLEGAL_EVASION) l.moves[n++] = l.moves[i];
  l.count = n;
}

}  // namespace

Ordering::Ordering() {
  clear_killers();
  clear_history();
}

void Ordering::clear_killers() {
  std::memset(killers, 0, sizeof killers);
  std::memcpy(phase_table, PICKER_PHASES, sizeof phase_table);
  evasion_start = EVASION_START;
  normal_start = NORMAL_START;
}

void Ordering::clear_history() { std::memset(history, 0, sizeof history); }

void Ordering::update_killers(int ply, Move m) {
  if (ply < 0 || ply >= KILLER_PLIES) return;
  if (killers[ply][0] != m) {
    killers[ply][1] = killers[ply][0];
    killers[ply][0] = m;
  }
}

int see(const board& b, int from, int to) {
  const u64 occ_pawns_w = b.white[BB_PAWN], occ_pawns_b = b.black[BB_PAWN];
  const u64 knights = b.white[BB_KNIGHT] | b.black[BB_KNIGHT];
  const u64 diag = b.white[BB_BISHOP] | b.black[BB_BISHOP] | b.white[BB_QUEEN] | b.black[BB_QUEEN];
  const u64 orth = b.white[BB_ROOK] | b.black[BB_ROOK] | b.white[BB_QUEEN] | b.black[BB_QUEEN];
  // The kings of both colours: whatever stands on the board and is none of
  // the other pieces (attackers are split by colour later).
  const u64 kings = (b.white[BB_ALL] | b.black[BB_ALL]) & ~(occ_pawns_w | occ_pawns_b | knights | diag | orth);
  u64 attackers = (pawn_attacks[BLACK][to] & occ_pawns_w) | (pawn_attacks[WHITE][to] & occ_pawns_b) |
                  (knight_attacks[to] & knights) | (king_attacks[to] & kings);
  // Sliders off the square's lines on an empty board cannot reach it: the
  // rotated lookups are skipped for them.
  if (diag & bishop_lines[to]) attackers |= bishop_attacks(b, to) & diag;
  if (orth & rook_lines[to]) attackers |= rook_attacks(b, to) & orth;
  attackers &= ~(1ull << from);
  attackers |= xray_behind(b, to, from);

  int gain[40];
  gain[0] = see_value[b.piece[to]];
  int victim = see_value[b.piece[from]];
  int side = b.xside;
  int n = 1;
  while (n < 39) {
    const u64* own = b.bb(side);
    u64 mine = attackers & own[BB_ALL];
    if (!mine) break;
    int att = -1;
    for (int p = PAWN; p <= QUEEN && att < 0; ++p)
      if (u64 set = mine & own[p - 1]) att = __builtin_ctzll(set);
    if (att < 0) att = __builtin_ctzll(mine);  // the king
    gain[n] = victim - gain[n - 1];
    victim = see_value[b.piece[att]];
    attackers &= ~(1ull << att);
    attackers |= xray_behind(b, to, att) & ~(1ull << from);
    side ^= 1;
    ++n;
  }
  for (int k = n - 1; k > 0; --k) gain[k - 1] = -std::max(-gain[k - 1], gain[k]);
  return gain[0];
}

bool is_pseudo_legal(const board& b, Move m) {
  if (!m) return false;
  const int from = move_from(m), to = move_to(m);
  const int pc = move_piece(m), cap = move_captured(m), promo = move_promotion(m);
  const int side = b.side;
  if (pc < PAWN || pc > KING || b.piece[from] != pc || b.color[from] != side) return false;
  if (pc == PAWN && cap == PAWN && to == b.ep) {
    const int behind = to + (side == WHITE ? 8 : -8);
    return b.piece[to] == EMPTY && behind >= 0 && behind < 64 && b.piece[behind] == PAWN &&
           b.color[behind] == (side ^ 1);
  }
  if (pc == KING && (to - from == 2 || from - to == 2)) {
    MoveList l;
    l.count = 0;
    generate_quiets(b, l);
    for (int i = 0; i < l.count; ++i)
      if (l.moves[i] == m) return true;
    return false;
  }
  if (cap) {
    if (cap == KING || b.piece[to] != cap || b.color[to] != (side ^ 1)) return false;
  } else if (b.piece[to] != EMPTY) {
    return false;
  }
  if (promo) {
    // Kept as the program has always had it: side 0 must move from 8-15 to
    // 0-7 and side 1 from 48-55 to 56-63, which with White as 1 means a
    // promotion from the table or a killer slot is never taken as
    // pseudo-legal here; the capture and quiet stages still produce it.
    if (pc != PAWN) return false;
    if (side == 0 ? !(from >= 8 && from <= 15 && to <= 7) : !(from >= 48 && from <= 55 && to >= 56))
      return false;
  }
  const int d = direction[from][to];
  auto path_clear = [&]() {
    for (int t = next_sq[d][from]; t != -1 && t != to; t = next_sq[d][t])
      if (b.piece[t] != EMPTY) return false;
    return true;
  };
  switch (pc) {
    case BISHOP:
      return d >= 0 && (d & 1) && path_clear();
    case ROOK:
      return d >= 0 && !(d & 1) && path_clear();
    case QUEEN:
      return d >= 0 && path_clear();
    case KNIGHT:
      return knight_attacks[from] & (1ull << to);
    case KING:
      return d >= 0 && next_sq[d][from] == to;
    case PAWN: {
      // Not in the original test, which let every pawn move but the double
      // step pass: a killer of the other side (the null-move search shares
      // the ply) could then move a pawn backwards or sideways, and the
      // search went on in impossible positions whose moves reached the
      // principal variation and the ponder move sent to the front end.
      const int push = side == WHITE ? -8 : 8;
      const int step = to - from;
      const int file_gap = file_of(to) - file_of(from);
      if (cap) return step - file_gap == push && (file_gap == 1 || file_gap == -1);
      if (step == push) return true;
      const int start_row = side == WHITE ? 6 : 1;
      return step == 2 * push && row_of(from) == start_row && b.piece[from + push] == EMPTY;
    }
  }
  return false;
}

void sort_by_score(MoveList& l) {
  for (int i = 1; i < l.count; ++i) {
    const Move m = l.moves[i];
    const i32 s = l.scores[i];
    int j = i - 1;
    while (j >= 0 && l.scores[j] < s) {
      l.moves[j + 1] = l.moves[j];
      l.scores[j + 1] = l.scores[j];
      --j;
    }
    l.moves[j + 1] = m;
    l.scores[j + 1] = s;
  }
}

void select_best(MoveList& l, int i) {
  int best = i;
  for (int j = i + 1; j < l.count; ++j)
    if (l.scores[j] > l.scores[best]) best = j;
  if (best != i) {
    std::swap(l.moves[i], l.moves[best]);
    std::swap(l.scores[i], l.scores[best]);
  }
}

void score_captures(const board& b, MoveList& l) {
  for (int i = 0; i < l.count; ++i) l.scores[i] = capture_score(b, l.moves[i]);
}

void Ordering::score_quiets(const board& b, MoveList& l) {
  for (int i = 0; i < l.count; ++i) {
    const Move m = l.moves[i];
    if (!move_is_quiet(m)) {
      l.scores[i] = capture_score(b, m);
    } else if (quiet_scored < HISTORY_SCORED_QUIETS) {
      l.scores[i] = history[b.side][move_from(m)][move_to(m)] - HISTORY_OFFSET;
      ++quiet_scored;  // stops at the threshold: only the threshold matters
    } else {
      l.scores[i] = 0;
    }
  }
}

int score_evasions(const board& b, MoveList& l) {
  int legal = 0;
  // Most moves of a side in check neither take the checker nor block it:
  // those are refused without the full test.
  const u64 targets = evasion_targets(b);
  for (int i = 0; i < l.count; ++i) {
    const Move m = l.moves[i];
    const int to = move_to(m);
    const bool may_answer = move_piece(m) == KING || ((targets >> to) & 1) || to == b.ep;
    if (!may_answer || !make_accepts(b, m)) {
      l.scores[i] = ILLEGAL_EVASION;
      continue;
    }
    ++legal;
    l.scores[i] = !move_is_quiet(m) ? CAPTURE_EVASION : move_piece(m) == PAWN ? PAWN_EVASION : 0;
  }
  return legal;
}

void bubble_sort(Move* moves, i32* scores, int count) {
  for (int i = 0; i < count; ++i)
    for (int j = 0; j + 1 < count - i; ++j)
      if (scores[j] < scores[j + 1]) {
        std::swap(scores[j], scores[j + 1]);
        std::swap(moves[j], moves[j + 1]);
      }
}

bool Ordering::init_picker(board& b, MovePicker& p, Move hash_move, bool in_check, int ply) {
  p.hash_move = hash_move;
  p.killer1 = killers[ply][0];
  p.killer2 = killers[ply][1];
  p.ply = ply;
  p.list.count = 0;
  p.read = 0;
  p.deferred_count = 0;
  if (in_check) {
    generate_all(b, p.list);
    const int legal = score_evasions(b, p.list);
    // The moves make would refuse leave the list before they are scored:
    // the stable sort keeps the others in the same order. Not while quiet
    // moves still get their history score, which a refused quiet move
    // would have used up.
    if (quiet_scored >= HISTORY_SCORED_QUIETS) keep_legal_evasions(p.list);
    score_quiets(b, p.list);
    sort_by_score(p.list);
    p.stage = STAGE_ALL;
    p.phase_index = evasion_start + 1;
    return legal == 1;
  }
  p.phase_index = normal_start;
  p.stage = 0;
  return false;
}

Move Ordering::next_move(board& b, MovePicker& p) {
  for (;;) {
    while (p.read < p.list.count) {
      const Move m = p.list.moves[p.read++];
      switch (p.stage) {
        case STAGE_ALL:
          return m;
        case STAGE_HASH:
          if (is_pseudo_legal(b, m)) return m;
          break;
        case STAGE_CAPTURES:
          if (m == p.hash_move) break;
          // The capture score already holds the exchange test: a capture
          // is losing exactly when it was scored as one.
          if (p.list.scores[p.read - 1] != LOSING_CAPTURE_SCORE) return m;
          p.deferred[p.deferred_count++] = m;
          break;
        case STAGE_LOSING:
          return m;
        case STAGE_KILLERS:
          if (m == p.hash_move) break;
          if (is_pseudo_legal(b, m)) return m;
          break;
        case STAGE_QUIETS:
          // Deliberate: killer 2 is not excluded and may come twice.
          if (m == p.hash_move || m == p.killer1) break;
          return m;
        default:
          return 0;
      }
    }
    const int phase = p.phase_index < 8 ? phase_table[p.phase_index] : PHASE_END;
    if (phase < PHASE_HASH || phase > PHASE_QUIETS) return 0;  // the end of the sequence stays the end
    ++p.phase_index;
    p.read = 0;
    p.list.count = 0;
    switch (phase) {
      case PHASE_HASH:
        if (p.hash_move) p.list.moves[p.list.count++] = p.hash_move;
        p.stage = STAGE_HASH;
        break;
      case PHASE_CAPTURES:
        generate_captures(b, p.list);
        score_captures(b, p.list);
        sort_by_score(p.list);
        p.deferred_count = 0;
        p.stage = STAGE_CAPTURES;
        break;
      case PHASE_LOSING:
        std::memcpy(p.list.moves, p.deferred, sizeof(Move) * p.deferred_count);
        p.list.count = p.deferred_count;
        p.stage = STAGE_LOSING;
        break;
      case PHASE_KILLERS:
        if (p.killer1) p.list.moves[p.list.count++] = p.killer1;
        if (p.killer2) p.list.moves[p.list.count++] = p.killer2;
        p.stage = STAGE_KILLERS;
        break;
      case PHASE_QUIETS:
        generate_quiets(b, p.list);
        score_quiets(b, p.list);
        sort_by_score(p.list);
        p.stage = STAGE_QUIETS;
        break;
    }
  }
}

}  // namespace orvo

#include "search/ordering.h"

#include <algorithm>
#include <cstring>

#include "engine/chess.h"
#include "position/makemove.h"
#include "position/movegen.h"
#include "position/tables.h"

namespace orvo {

namespace {

// Quiet moves scored in the life of the process. Deliberate: only the first
// four ever get their history score; every later quiet move scores 0 and
// keeps its generation order. Never reset.
i32 quiet_scored = 0;

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
    if (candidate && see(b, move_from(m), move_to(m)) < 0) return -28000;
  }
  return base + 4000;
}

bool good_capture(const board& b, Move m) {
  const int cap = move_captured(m), promo = move_promotion(m), pc = move_piece(m);
  if (is_en_passant(b, m) || promo == QUEEN || (cap && promo)) return true;
  if (cap && see_value[cap] >= see_value[pc]) return true;
  return see(b, move_from(m), move_to(m)) >= 0;
}

// The slider of either colour standing first behind sq, seen from `to`,
// if it moves along that line.
u64 xray_behind(const board& b, int to, int sq) {
  const int d = direction[to][sq];
  if (d < 0) return 0;
  for (int t = next_sq[d][sq]; t != -1; t = next_sq[d][t]) {
    const int p = b.piece[t];
    if (p == EMPTY) continue;
    const bool diagonal = d & 1;
    if (p == QUEEN || (diagonal ? p == BISHOP : p == ROOK)) return 1ull << t;
    return 0;
  }
  return 0;
}

}  // namespace

void clearKillers(chess& c) {
  std::memset(c.killers, 0, sizeof c.killers);
  const i32 phases[8] = {1, 7, 2, 3, 5, 6, 4, 7};
  std::memcpy(c.phase_table, phases, sizeof phases);
  c.evasion_start = 0;
  c.normal_start = 2;
}

void update_killers(chess& c, int ply, Move m) {
  if (ply < 0 || ply >= 64) return;
  if (c.killers[ply][0] != m) {
    c.killers[ply][1] = c.killers[ply][0];
    c.killers[ply][0] = m;
  }
}

int see(const board& b, int from, int to) {
  const u64 occ_pawns_w = b.white[BB_PAWN], occ_pawns_b = b.black[BB_PAWN];
  u64 attackers = (pawn_attacks[BLACK][to] & occ_pawns_w) | (pawn_attacks[WHITE][to] & occ_pawns_b) |
                  (knight_attacks[to] & (b.white[BB_KNIGHT] | b.black[BB_KNIGHT])) |
                  (king_attacks[to] & (b.kings(WHITE) | b.kings(BLACK)));
  const u64 diag = b.white[BB_BISHOP] | b.black[BB_BISHOP] | b.white[BB_QUEEN] | b.black[BB_QUEEN];
  const u64 orth = b.white[BB_ROOK] | b.black[BB_ROOK] | b.white[BB_QUEEN] | b.black[BB_QUEEN];
  attackers |= (bishop_attacks(b, to) & diag) | (rook_attacks(b, to) & orth);
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

bool isPseudoLegal(const board& b, Move m) {
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

void sortByScore(MoveList& l) {
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

void selectBest(MoveList& l, int i) {
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

void score_quiets(const chess& c, const board& b, MoveList& l) {
  for (int i = 0; i < l.count; ++i) {
    const Move m = l.moves[i];
    if (!move_is_quiet(m)) {
      l.scores[i] = capture_score(b, m);
    } else {
      l.scores[i] = quiet_scored < 4 ? c.history[b.side][move_from(m)][move_to(m)] - 24000 : 0;
      if (quiet_scored < 4) ++quiet_scored;  // stays at 4: only the threshold matters
    }
  }
}

int scoreEvasions(board& b, MoveList& l) {
  int legal = 0;
  undo u;
  for (int i = 0; i < l.count; ++i) {
    const Move m = l.moves[i];
    if (!make(b, m, u)) {
      l.scores[i] = -50000;
      continue;
    }
    unmake(b, u);
    ++legal;
    l.scores[i] = !move_is_quiet(m) ? 50000 : move_piece(m) == PAWN ? 25000 : 0;
  }
  return legal;
}

bool initPicker(chess& c, board& b, MovePicker& p, Move hashMove, bool inCheck, int ply) {
  p.hash_move = hashMove;
  p.killer1 = c.killers[ply][0];
  p.killer2 = c.killers[ply][1];
  p.ply = ply;
  p.list.count = 0;
  p.read = 0;
  p.deferred_count = 0;
  if (inCheck) {
    generate_all(b, p.list);
    const int legal = scoreEvasions(b, p.list);
    score_quiets(c, b, p.list);
    sortByScore(p.list);
    p.stage = 1;
    p.phase_index = c.evasion_start + 1;
    return legal == 1;
  }
  p.phase_index = c.normal_start;
  p.stage = 0;
  return false;
}

Move nextMove(chess& c, board& b, MovePicker& p) {
  for (;;) {
    while (p.read < p.list.count) {
      const Move m = p.list.moves[p.read++];
      switch (p.stage) {
        case 1:
          return m;
        case 3:
          if (isPseudoLegal(b, m)) return m;
          break;
        case 4:
          if (m == p.hash_move) break;
          if (good_capture(b, m)) return m;
          p.deferred[p.deferred_count++] = m;
          break;
        case 5:
          return m;
        case 6:
          if (m == p.hash_move) break;
          if (isPseudoLegal(b, m)) return m;
          break;
        case 7:
          // Deliberate: killer 2 is not excluded and may come twice.
          if (m == p.hash_move || m == p.killer1) break;
          return m;
        default:
          return 0;
      }
    }
    const int phase = p.phase_index < 8 ? c.phase_table[p.phase_index] : 7;
    if (phase < 2 || phase > 6) return 0;  // the end of the sequence stays the end
    ++p.phase_index;
    p.read = 0;
    p.list.count = 0;
    switch (phase) {
      case 2:
        if (p.hash_move) p.list.moves[p.list.count++] = p.hash_move;
        p.stage = 3;
        break;
      case 3:
        generate_captures(b, p.list);
        score_captures(b, p.list);
        sortByScore(p.list);
        p.deferred_count = 0;
        p.stage = 4;
        break;
      case 4:
        std::memcpy(p.list.moves, p.deferred, sizeof(Move) * p.deferred_count);
        p.list.count = p.deferred_count;
        p.stage = 5;
        break;
      case 5:
        if (p.killer1) p.list.moves[p.list.count++] = p.killer1;
        if (p.killer2) p.list.moves[p.list.count++] = p.killer2;
        p.stage = 6;
        break;
      case 6:
        generate_quiets(b, p.list);
        score_quiets(c, b, p.list);
        sortByScore(p.list);
        p.stage = 7;
        break;
    }
  }
}

}  // namespace orvo

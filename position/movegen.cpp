#include "position/movegen.h"

#include "position/tables.h"

namespace orvo {

movegen::movegen() { build_movegen_tables(); }

namespace {

constexpr u64 ROW_0 = 0xFFull;        // rank 8
constexpr u64 ROW_7 = 0xFFull << 56;  // rank 1

// Per-colour geometry: White pawns move towards lower square numbers.
template <int C>
struct PawnDir {
  static constexpr int push = C == WHITE ? -8 : 8;
  // The capture towards the a-file side, then towards the h-file side.
  static constexpr int cap_a = C == WHITE ? -9 : 7;
  static constexpr int cap_h = C == WHITE ? -7 : 9;
  static constexpr u64 last_row = C == WHITE ? ROW_0 : ROW_7;
  static constexpr u64 double_row = C == WHITE ? 0xFFull << 40 : 0xFFull << 16;  // after one push
  static u64 shift(u64 b, int by) { return by > 0 ? b << by : b >> -by; }
};

// A position of a game never has more moves than the list holds (218 at
// most), but one set up from text can: a board full of queens has well over
// 256. What does not fit is left out rather than written past the list.
// The count is held apart from the list while a generator runs: moves and
// count are both 32-bit integers, so a count kept in the list would be
// reloaded after every move written.
struct Appender {
  Move* moves;
  int count;
  void add(int from, int to, int cap, int promo, int piece) {
    if (count < MAX_MOVES) moves[count++] = encode_move(from, to, cap, promo, piece);
  }
};

template <int Piece>
inline u64 piece_attacks(const board& b, int s) {
  if constexpr (Piece == KNIGHT) return knight_attacks[s];
  if constexpr (Piece == BISHOP) return bishop_attacks(b, s);
  if constexpr (Piece == ROOK) return rook_attacks(b, s);
  if constexpr (Piece == QUEEN) return queen_attacks(b, s);
  if constexpr (Piece == KING) return king_attacks[s];
  return 0;
}

enum class Targets { ENEMY, EMPTY };

// Moves of one piece kind onto the target set; captures read the victim
// from the mailbox, moves onto empty squares take nothing.
template <int Piece, Targets T>
inline void piece_moves(const board& b, Appender& l, u64 pieces, u64 targets) {
  while (pieces) {
    int from = pop_lsb(pieces);
    u64 t = piece_attacks<Piece>(b, from) & targets;
    while (t) {
      int to = pop_lsb(t);
      l.add(from, to, T == Targets::ENEMY ? int(b.piece[to]) : int(EMPTY), 0, Piece);
    }
  }
}

template <int C>
int captures(const board& b, MoveList& list) {
  using P = PawnDir<C>;
  const u64* own = b.bb(C);
  const u64* opp = b.bb(C ^ 1);
  // Never generate the capture of a king.
  const u64 targets = opp[BB_ALL] & ~b.kings(C ^ 1);
  Appender l{list.moves, 0};
  piece_moves<KNIGHT, Targets::ENEMY>(b, l, own[BB_KNIGHT], targets);
  piece_moves<BISHOP, Targets::ENEMY>(b, l, own[BB_BISHOP], targets);
  piece_moves<ROOK, Targets::ENEMY>(b, l, own[BB_ROOK], targets);
  piece_moves<QUEEN, Targets::ENEMY>(b, l, own[BB_QUEEN], targets);
  piece_moves<KING, Targets::ENEMY>(b, l, b.kings(C), targets);

  const u64 pawns = own[BB_PAWN];
  const u64 empty = ~b.occupied;
  // Pushes onto the last rank promote to a queen here; the other three
  // promotions come from the quiet generator.
  u64 promo = P::shift(pawns, P::push) & empty & P::last_row;
  while (promo) {
    int to = pop_lsb(promo);
    l.add(to - P::push, to, 0, QUEEN, PAWN);
  }
  if (b.ep != -1) {
    const int ep = b.ep;
    // Only with an enemy pawn behind an empty en-passant square, so that a
    // FEN naming an impossible square can never take a piece that is not
    // there.
    const int victim = ep - P::push;
    if (victim >= 0 && victim < 64 && b.piece[ep] == EMPTY &&
        (opp[BB_PAWN] & (1ull << victim))) {
      // The a-side capturer stands one file towards h, the h-side one one
      // file towards a; the same order as the ordinary pawn captures.
      const int from_a = ep - P::cap_a, from_h = ep - P::cap_h;
      if (file_of(ep) != 7 && from_a >= 0 && from_a < 64 && (pawns & (1ull << from_a)))
        l.add(from_a, ep, PAWN, 0, PAWN);
      if (file_of(ep) != 0 && from_h >= 0 && from_h < 64 && (pawns & (1ull << from_h)))
        l.add(from_h, ep, PAWN, 0, PAWN);
    }
  }
  // Captures towards the a-file side first (pawns on the a-file cannot),
  // then towards the h-file side (pawns on the h-file cannot).
  for (int dir : {P::cap_a, P::cap_h}) {
    const u64 movers = pawns & (dir == P::cap_a ? ~FILE_A : ~FILE_H);
    u64 t = P::shift(movers, dir) & targets;
    while (t) {
      int to = pop_lsb(t);
      int from = to - dir, cap = b.piece[to];
      if ((1ull << to) & P::last_row) {
        l.add(from, to, cap, QUEEN, PAWN);
        l.add(from, to, cap, ROOK, PAWN);
        l.add(from, to, cap, BISHOP, PAWN);
        l.add(from, to, cap, KNIGHT, PAWN);
      } else {
        l.add(from, to, cap, 0, PAWN);
      }
    }
  }
  list.count = l.count;
  return l.count;
}

template <int C>
int quiets(const board& b, MoveList& list) {
  using P = PawnDir<C>;
  Appender l{list.moves, list.count};
  const u64* own = b.bb(C);
  const u64 empty = ~b.occupied;
  // Castling by placement only: rights and attacked squares are make's job.
  constexpr int home = C == WHITE ? E1 : E8;
  if (b.piece[home] == KING && b.color[home] == C) {
    if (b.piece[home + 3] == ROOK && b.color[home + 3] == C && b.piece[home + 1] == EMPTY &&
        b.piece[home + 2] == EMPTY)
      l.add(home, home + 2, 0, 0, KING);
    if (b.piece[home - 4] == ROOK && b.color[home - 4] == C && b.piece[home - 1] == EMPTY &&
        b.piece[home - 2] == EMPTY && b.piece[home - 3] == EMPTY)
      l.add(home, home - 2, 0, 0, KING);
  }
  piece_moves<KNIGHT, Targets::EMPTY>(b, l, own[BB_KNIGHT], empty);
  piece_moves<BISHOP, Targets::EMPTY>(b, l, own[BB_BISHOP], empty);
  piece_moves<ROOK, Targets::EMPTY>(b, l, own[BB_ROOK], empty);
  piece_moves<QUEEN, Targets::EMPTY>(b, l, own[BB_QUEEN], empty);
  piece_moves<KING, Targets::EMPTY>(b, l, b.kings(C), empty);

  const u64 single = P::shift(own[BB_PAWN], P::push) & empty;
  u64 t = single;
  while (t) {
    int to = pop_lsb(t);
    int from = to - P::push;
    if ((1ull << to) & P::last_row) {
      l.add(from, to, 0, ROOK, PAWN);
      l.add(from, to, 0, BISHOP, PAWN);
      l.add(from, to, 0, KNIGHT, PAWN);
    } else {
      l.add(from, to, 0, 0, PAWN);
    }
  }
  u64 dbl = P::shift(single & P::double_row, P::push) & empty;
  while (dbl) {
    int to = pop_lsb(dbl);
    l.add(to - 2 * P::push, to, 0, 0, PAWN);
  }
  list.count = l.count;
  return l.count;
}

}  // namespace

int generate_captures(const board& b, MoveList& list) {
  return b.side == WHITE ? captures<WHITE>(b, list) : captures<BLACK>(b, list);
}

int generate_quiets(const board& b, MoveList& list) {
  return b.side == WHITE ? quiets<WHITE>(b, list) : quiets<BLACK>(b, list);
}

bool is_attacked(const board& b, int sq, int c) {
  if (c == WHITE) return attacked_by<WHITE>(b, sq);
  if (c == BLACK) return attacked_by<BLACK>(b, sq);
  return false;
}

int list_attackers(const board& b, int type, int c, int target, int* out) {
  if ((c != WHITE && c != BLACK) || type < KNIGHT || type > KING) return 0;
  u64 pieces = type == KING ? b.kings(c) : b.bb(c)[type - 1];
  int n = 0;
  while (pieces && n < ATTACKERS_MAX) {
    int from = pop_lsb(pieces);
    u64 att = type == KNIGHT ? knight_attacks[from]
              : type == BISHOP ? bishop_attacks(b, from)
              : type == ROOK   ? rook_attacks(b, from)
              : type == QUEEN  ? queen_attacks(b, from)
                               : king_attacks[from];
    if (att & (1ull << target)) out[n++] = from;
  }
  return n;
}

bool is_generated(const board& b, Move m) {
  MoveList list;
  const int n = generate_all(b, list);
  for (int i = 0; i < n; ++i)
    if (list.moves[i] == m) return true;
  return false;
}

}  // namespace orvo

// The colour-templated bodies of make and unmake, for the callers on the
// hottest paths that know the side to move at compile time (the perft walk)
// and would otherwise pay a call and a colour dispatch for every move, and
// make's form for a position prepared once for all its moves (see
// PreparedPosition). make() and unmake() in makemove.cpp are these same
// bodies.
#pragma once
#include "position/board.h"
#include "position/fen.h"
#include "position/movegen.h"
#include "position/tables.h"

namespace orvo::make_detail {

inline void toggle_rotated(board& b, int sq) {
  const SquareBits r = square_bits(sq);
  b.occ_file ^= r.file();
  b.occ_diag_h1a8 ^= r.h1a8();
  b.occ_diag_a1h8 ^= r.a1h8();
}

inline void toggle_rotated(board& b, SquareBits r1, SquareBits r2) {
  b.occ_file ^= r1.file() ^ r2.file();
  b.occ_diag_h1a8 ^= r1.h1a8() ^ r2.h1a8();
  b.occ_diag_a1h8 ^= r1.a1h8() ^ r2.a1h8();
}

// Per-colour constants of make and unmake.
template <int C>
struct Side {
  static constexpr int home = C == WHITE ? E1 : E8;
  static constexpr int push = C == WHITE ? -8 : 8;
  static constexpr u32 short_right = C == WHITE ? WHITE_SHORT : BLACK_SHORT;
  static constexpr u32 long_right = C == WHITE ? WHITE_LONG : BLACK_LONG;
  static constexpr u32 keep_other_rights = C == WHITE ? 12 : 3;
  static constexpr int short_corner = C == WHITE ? H1 : H8;
  static constexpr int long_corner = C == WHITE ? A1 : A8;
};

// Moves a piece of side C in the mailbox and the rotated boards; returns
// the two squares' bits, for the bitboards the caller updates.
template <int C>
inline u64 relocate(board& b, int from, int to, int piece) {
  const SquareBits sf = square_bits(from), st = square_bits(to);
  toggle_rotated(b, sf, st);
  b.piece[from] = EMPTY;
  b.color[from] = NO_COLOR;
  b.piece[to] = i8(piece);
  b.color[to] = u8(C);
  return sf.square() | st.square();
}

template <int C>
inline void move_rook(board& b, int from, int to) {
  u64* own = b.bb(C);
  const u64 ft = relocate<C>(b, from, to, ROOK);
  own[BB_ROOK] ^= ft;
  own[BB_ALL] ^= ft;
}

// What a caller knows of the moves it makes: any move, or only moves of
// the quiet generator, which take nothing. Knowing it at compile time
// leaves every capture's branch out of make and unmake.
enum class Taking { MAYBE, NEVER };

template <int C, bool Prepared, Taking T = Taking::MAYBE>
void unmake_body(board& b, const undo& u);

// Whether a move other than castling leaves the mover's king attacked,
// decided before the board is touched. It answers the attack test on the
// position make would leave: the enemy's pieces less the one taken, and the
// occupancy and rotated boards with the toggles make applies. In a search
// about half the moves tried are refused, nearly all of them by a side in
// check (orvo bench 8: 19.3 million of 40.2 million, 19.0 million in
// check), and a refusal after the fact costs a whole make and unmake.
template <int C>
bool exposes_king(const board& b, int from, int to, int cap, int pc, int old_ep) {
  using S = Side<C>;
  constexpr int O = C ^ 1;
  const u64* own = b.bb(C);
  const u64* opp = b.bb(O);
  u64 pawns = opp[BB_PAWN], knights = opp[BB_KNIGHT];
  u64 diagonal = opp[BB_BISHOP] | opp[BB_QUEEN], straight = opp[BB_ROOK] | opp[BB_QUEEN];
  // The piece taken leaves its set (one row behind for en passant); the
  // piece sets are disjoint, so the union sets lose it too.
  int victim = to;
  u64 taken = 0;
  if (cap) {
    if (pc == PAWN && to == old_ep && cap == PAWN && b.piece[to] == EMPTY) victim = to - S::push;
    taken = 1ull << victim;
    switch (cap) {
      case PAWN: pawns ^= taken; break;
      case KNIGHT: knights ^= taken; break;
      case BISHOP: diagonal ^= taken; break;
      case ROOK: straight ^= taken; break;
      case QUEEN: diagonal ^= taken; straight ^= taken; break;
      default: break;
    }
  }
  const int king = pc == KING ? to : b.king_sq[C];
  if (knight_attacks[king] & knights) return true;
  if (pawn_attacks[C][king] & pawns) return true;
  if (king_attacks[b.king_sq[O]] & (1ull << king)) return true;
  const u64 rq = straight & rook_lines[king];
  const u64 bq = diagonal & bishop_lines[king];
  if (!(rq | bq)) return false;
  const SquareBits rf = square_bits(from), rt = square_bits(to), rv = square_bits(victim);
  if (rq) {
    const u64 occupied = (own[BB_ALL] ^ (1ull << from) ^ (1ull << to)) | (opp[BB_ALL] ^ taken);
    const u64 occ_file = b.occ_file ^ rf.file() ^ rt.file() ^ (cap ? rv.file() : 0);
    if ((rank_attack(occupied, king) | file_attack(occ_file, king)) & rq) return true;
  }
  if (bq) {
    const u64 h1a8 = b.occ_diag_h1a8 ^ rf.h1a8() ^ rt.h1a8() ^ (cap ? rv.h1a8() : 0);
    const u64 a1h8 = b.occ_diag_a1h8 ^ rf.a1h8() ^ rt.a1h8() ^ (cap ? rv.a1h8() : 0);
    if ((diag_h1a8_attack(h1a8, king) | diag_a1h8_attack(a1h8, king)) & bq) return true;
  }
  return false;
}

// Refused castling: the right is gone, or the king's square, the square it
// crosses or its destination is attacked. The b-file square of a long
// castling may be attacked. Tested on the board before the move: the king
// leaving its square and arriving on the destination changes no line
// through the three squares.
template <int C>
bool castling_refused(const board& b, int to) {
  using S = Side<C>;
  const bool is_short = to == S::home + 2;
  if (!(b.castle & (is_short ? S::short_right : S::long_right))) return true;
  const int step = is_short ? 1 : -1;
  for (int i = 0; i < 3; ++i)
    if (attacked_by<C ^ 1>(b, S::home + i * step)) return true;
  return false;
}

template <int C>
bool is_castling(int from, int to, int pc) {
  using S = Side<C>;
  return pc == KING && from == S::home && (to == S::home + 2 || to == S::home - 2);
}

template <int C>
bool make_accepts_t(const board& b, Move m) {
  const int from = move_from(m), to = move_to(m), pc = move_piece(m);
  if (is_castling<C>(from, to, pc)) return !castling_refused<C>(b, to);
  return !exposes_king<C>(b, from, to, move_captured(m), pc, b.ep);
}

template <int C>
u64 evasion_targets_t(const board& b) {
  constexpr int O = C ^ 1;
  const u64* opp = b.bb(O);
  const int king = b.king_sq[C];
  u64 checkers = (knight_attacks[king] & opp[BB_KNIGHT]) | (pawn_attacks[C][king] & opp[BB_PAWN]);
  if (const u64 rq = (opp[BB_ROOK] | opp[BB_QUEEN]) & rook_lines[king]) checkers |= rook_attacks(b, king) & rq;
  if (const u64 bq = (opp[BB_BISHOP] | opp[BB_QUEEN]) & bishop_lines[king])
    checkers |= bishop_attacks(b, king) & bq;
  if (!checkers) return ~0ull;
  if (checkers & (checkers - 1)) return 0;
  const int checker = __builtin_ctzll(checkers);
  const int d = direction[king][checker];
  if (d < 0) return checkers;  // a knight: only taking it answers
  return ray[d][king] & ~ray[d][checker];
}

// What a caller that makes many moves from one position can work out once
// for all of them (the perft walk does so): the state of the mover's king,
// and the undo record's fields that describe the position, which making and
// taking back a move leave as they found them. make() knows nothing of the
// kind: it fills the record for every move, and the search's in_check mark
// only chooses where the legality test goes.
struct PreparedPosition {
  bool in_check = false;
  // The squares a piece cannot leave without a test for an uncovered king:
  // those on a line from the king on which, further along the same line,
  // an enemy piece stands that moves along lines of that kind, and those
  // from which a pawn can take en passant (the pawn taken leaves its row
  // too). Leaving any other square uncovers nothing.
  u64 uncovering = 0;
  // Filled but for the move; each move made writes its own.
  undo record{};
};

// The undo record's description of the position a move of side C is made
// from: everything but the move.
template <int C>
inline void record_position(const board& b, undo& u) {
  u.key = b.key;
  u.pawn_key = b.pawn_key;
  u.mat_key = b.mat_key;
  u.last_move = b.last_move;
  u.castle = u8(b.castle);
  u.ep = u8(b.ep);
  u.fifty = u8(b.fifty);  // truncated: unmake brings a clock above 127 back negative
  u.king_sq = u8(b.king_sq[C]);
  u.castled = b.castled[C];
  u.in_check = b.in_check;
  u.phase = b.phase;
}

// Also makes, once for all the moves, make's store of the position's key in
// the key history: every move of the position stores the same key in the
// same slot, and the moves below it write only the slots above.
template <int C>
PreparedPosition prepare_position(board& b) {
  constexpr int O = C ^ 1;
  const int king = b.king_sq[C];
  const u64* opp = b.bb(O);
  const u64 straight = opp[BB_ROOK] | opp[BB_QUEEN], diagonal = opp[BB_BISHOP] | opp[BB_QUEEN];
  PreparedPosition p;
  p.in_check = attacked_by<O>(b, king);
  for (int d = 0; d < 8; ++d)  // the directions alternate, north first
    if (ray[d][king] & (d & 1 ? diagonal : straight)) p.uncovering |= ray[d][king];
  if (b.ep != -1) p.uncovering |= pawn_attacks[O][b.ep];
  record_position<C>(b, p.record);
  b.key_history[b.hist_ply & (KEY_HISTORY_SIZE - 1)] = b.key;
  return p;
}

template <int C, bool Prepared, Taking T = Taking::MAYBE>
[[gnu::always_inline]] inline bool make_body(board& b, const Move m, undo& u, const PreparedPosition& prep) {
  using S = Side<C>;
  constexpr int O = C ^ 1;
  const int from = move_from(m), to = move_to(m);
  const int cap = T == Taking::NEVER ? 0 : move_captured(m);
  const int promo = move_promotion(m), pc = move_piece(m);
  const SquareBits sf = square_bits(from), st = square_bits(to);
  u64* own = b.bb(C);
  u64* opp = b.bb(O);

  if constexpr (!Prepared) {
    record_position<C>(b, u);
    b.key_history[b.hist_ply & (KEY_HISTORY_SIZE - 1)] = b.key;
  }
  u.move = m;

  const int old_ep = b.ep;
  // Where a refusal is likely (the side to move is in check, as the search
  // marks it, or the king itself moves), the test comes before the board
  // changes, so that a refused move costs no make and unmake; elsewhere it
  // comes after, on the made move, which is cheaper when the move stands.
  // Both tests give the same answer: the flag only chooses the cheaper one.
  // A castling has had its own test on its three squares.
  bool castling = false;
  bool tested_before = Prepared ? prep.in_check : b.in_check;
  if (pc == KING) {
    castling = is_castling<C>(from, to, pc);
    if (castling && castling_refused<C>(b, to)) return false;
    tested_before = !castling;
  }
  if (tested_before && exposes_king<C>(b, from, to, cap, pc, old_ep)) return false;
  // A king known not to be in check can come under attack through another
  // piece's move only when the piece leaves one of the prepared squares;
  // any other such move stands untested.
  const bool tested_after = !tested_before && !castling && (!Prepared || (prep.uncovering & sf.square()));
  if (old_ep != -1) {
    b.key ^= zobrist_castle_ep[old_ep];
    b.ep = -1;
  }
  // The side's key and the castling rights' key are swapped at the end,
  // the rights' only when they change (a refused move's key comes back
  // from the record).
  const u32 old_castle = b.castle;
  ++b.fifty;
  toggle_rotated(b, sf, st);
  b.piece[from] = EMPTY;
  b.color[from] = NO_COLOR;

  const u64 ft = sf.square() | st.square();
  bool ep_capture = false;
  // A branch per kind of piece rather than a jump table: the pieces that
  // move alike share one, the commonest.
  if (unsigned(pc - KNIGHT) <= unsigned(QUEEN - KNIGHT)) {
    own[pc - 1] ^= ft;
    own[BB_ALL] ^= ft;
    b.key ^= zobrist[C][pc][from] ^ zobrist[C][pc][to];
    if (pc == ROOK) {
      if (from == S::short_corner) b.castle &= ~S::short_right;
      if (from == S::long_corner) b.castle &= ~S::long_right;
    }
  } else if (pc == PAWN) {
    own[BB_PAWN] ^= ft;
    own[BB_ALL] ^= ft;
    const u64 k = zobrist[C][PAWN][from] ^ zobrist[C][PAWN][to];
    b.key ^= k;
    b.pawn_key ^= k;
    if (to == old_ep && cap == PAWN && b.piece[to] == EMPTY) {
      const int victim = to - S::push;
      b.piece[victim] = EMPTY;
      b.color[victim] = NO_COLOR;
      opp[BB_PAWN] ^= 1ull << victim;
      opp[BB_ALL] ^= 1ull << victim;
      toggle_rotated(b, victim);
      b.material[O] -= 100;
      --b.pawn_count[O];
      b.key ^= zobrist[O][PAWN][victim];
      b.pawn_key ^= zobrist[O][PAWN][victim];
      ep_capture = true;
    } else if (promo) {
      own[BB_PAWN] ^= 1ull << to;
      b.material[C] -= 100;
      --b.pawn_count[C];
      b.key ^= zobrist[C][PAWN][to];
      b.pawn_key ^= zobrist[C][PAWN][to];
      own[promo - 1] ^= 1ull << to;
      b.key ^= zobrist[C][promo][to];
      b.material[C] += piece_value[promo];
      b.phase_units[C] += phase_unit[promo];
      ++b.pieces_count[C];
    } else if (to - from == 2 * S::push) {
      // Deliberate: the neighbour test looks at square numbers only, so an
      // enemy pawn across the board's edge (a White pawn on a4 when a Black
      // pawn arrives on h5) also sets the en-passant square. It changes the
      // key, and with it repetition and hash behaviour, so it stays.
      if ((b.piece[to - 1] == PAWN && b.color[to - 1] == O) ||
          (b.piece[to + 1] == PAWN && b.color[to + 1] == O))
        b.ep = from + S::push;
    }
    b.fifty = 0;
  } else if (pc == KING) {
    if (castling) {
      const bool is_short = to == S::home + 2;
      const int step = is_short ? 1 : -1;
      own[BB_ALL] ^= ft;
      b.key ^= zobrist[C][KING][from] ^ zobrist[C][KING][to];
      b.king_sq[C] = to;
      b.castled[C] = 1;
      b.castle &= S::keep_other_rights;
      const int rook_from = is_short ? S::short_corner : S::long_corner;
      const int rook_to = S::home + step;
      move_rook<C>(b, rook_from, rook_to);
      b.key ^= zobrist[C][ROOK][rook_from] ^ zobrist[C][ROOK][rook_to];
    } else {
      own[BB_ALL] ^= ft;
      b.key ^= zobrist[C][KING][from] ^ zobrist[C][KING][to];
      b.king_sq[C] = to;
      b.castle &= S::keep_other_rights;
    }
  }
  b.piece[to] = i8(promo ? promo : pc);
  b.color[to] = u8(C);

  if (cap && !ep_capture) {
    b.fifty = 0;
    toggle_rotated(b, to);  // the first toggle emptied it; the mover stands there
    if (cap != KING) opp[cap - 1] ^= 1ull << to;
    opp[BB_ALL] ^= 1ull << to;
    b.material[O] -= piece_value[cap];
    b.phase_units[O] -= phase_unit[cap];
    if (cap == PAWN) {
      --b.pawn_count[O];
      b.pawn_key ^= zobrist[O][PAWN][to];
    } else {
      --b.pieces_count[O];
    }
    b.key ^= zobrist[O][cap][to];
    if (cap == ROOK) {
      if (to == Side<O>::short_corner) b.castle &= ~Side<O>::short_right;
      if (to == Side<O>::long_corner) b.castle &= ~Side<O>::long_right;
    }
  }

  b.side = O;
  b.xside = C;
  ++b.hist_ply;
  b.occupied = b.white[BB_ALL] | b.black[BB_ALL];

  if (tested_after && attacked_by<O>(b, b.king_sq[C])) {
    unmake_body<C, false, T>(b, u);
    return false;
  }
  if (b.castle != old_castle) b.key ^= zobrist_castle_ep[old_castle] ^ zobrist_castle_ep[b.castle];
  if (b.ep != -1) b.key ^= zobrist_castle_ep[b.ep];
  b.key ^= zobrist_side[C] ^ zobrist_side[O];
  b.last_move = m;
  // Deliberate: phase and mat_key follow captures only. A promotion without
  // a capture leaves both as they were before the move.
  if (cap) {
    b.phase = phase_of(b.material[WHITE] + b.material[BLACK]);
    b.mat_key = compute_mat_key(b);
  }
  return true;
}

// Unmake's body. Prepared: taking back a move made by make_prepared, with
// every move made after it taken back already and nothing else written to
// the board in between (the perft walk). The record's fields that only
// some moves change are then restored only after those moves: in_check
// (make never writes it), castled (castling), pawn_key (a pawn moved or
// taken), phase and mat_key (a capture). Every other caller restores all
// of them, since the search writes in_check for the position it reaches.
template <int C, bool Prepared, Taking T>
[[gnu::always_inline]] inline void unmake_body(board& b, const undo& u) {
  using S = Side<C>;
  constexpr int O = C ^ 1;
  --b.hist_ply;
  b.side = C;
  b.xside = O;
  b.ep = i8(u.ep);
  b.fifty = i8(u.fifty);
  b.castle = u32(i32(i8(u.castle)));
  b.last_move = u.last_move;
  b.key = u.key;
  if constexpr (!Prepared) {
    b.phase = u.phase;
    b.in_check = u.in_check;
    b.castled[C] = u.castled;
    b.pawn_key = u.pawn_key;
    b.mat_key = u.mat_key;
  }

  const Move m = u.move;
  const int from = move_from(m), to = move_to(m);
  const int cap = T == Taking::NEVER ? 0 : move_captured(m);
  const int promo = move_promotion(m), pc = move_piece(m);
  if constexpr (Prepared) {
    if (pc == PAWN || cap == PAWN) b.pawn_key = u.pawn_key;
    if (cap) {
      b.phase = u.phase;
      b.mat_key = u.mat_key;
    }
  }
  u64* own = b.bb(C);
  u64* opp = b.bb(O);
  const u64 ft = relocate<C>(b, to, from, pc);
  if (unsigned(pc - KNIGHT) <= unsigned(QUEEN - KNIGHT)) {
    own[pc - 1] ^= ft;
    own[BB_ALL] ^= ft;
  } else if (pc == PAWN) {
    if (promo) {
      own[promo - 1] ^= 1ull << to;
      b.material[C] += 100 - piece_value[promo];
      b.phase_units[C] -= phase_unit[promo];
      --b.pieces_count[C];
      ++b.pawn_count[C];
      own[BB_PAWN] ^= 1ull << from;
    } else {
      own[BB_PAWN] ^= ft;
    }
    own[BB_ALL] ^= ft;
  } else if (pc == KING) {
    own[BB_ALL] ^= ft;
    b.king_sq[C] = from;
    if (is_castling<C>(from, to, KING)) {
      if constexpr (Prepared) b.castled[C] = u.castled;
      const bool is_short = to == S::home + 2;
      move_rook<C>(b, S::home + (is_short ? 1 : -1), is_short ? S::short_corner : S::long_corner);
    }
  }

  if (cap) {
    if (pc == PAWN && cap == PAWN && to == b.ep) {
      const int victim = to - S::push;
      b.piece[victim] = PAWN;
      b.color[victim] = u8(O);
      opp[BB_PAWN] ^= 1ull << victim;
      opp[BB_ALL] ^= 1ull << victim;
      toggle_rotated(b, victim);
      b.material[O] += 100;
      ++b.pawn_count[O];
    } else {
      b.piece[to] = i8(cap);
      b.color[to] = u8(O);
      if (cap != KING) opp[cap - 1] ^= 1ull << to;
      opp[BB_ALL] ^= 1ull << to;
      toggle_rotated(b, to);
      b.material[O] += piece_value[cap];
      b.phase_units[O] += phase_unit[cap];
      if (cap == PAWN)
        ++b.pawn_count[O];
      else
        ++b.pieces_count[O];
    }
  }
  b.occupied = b.white[BB_ALL] | b.black[BB_ALL];
}

// make's body for a caller that has prepared the position: the record to
// take the move back with is then prep.record.
template <int C, Taking T = Taking::MAYBE>
[[gnu::always_inline]] inline bool make_prepared(board& b, const Move m, PreparedPosition& prep) {
  return make_body<C, true, T>(b, m, prep.record, prep);
}

// Takes back a move make_prepared made (see unmake_body for what the caller
// promises).
template <int C, Taking T = Taking::MAYBE>
[[gnu::always_inline]] inline void unmake_prepared(board& b, const PreparedPosition& prep) {
  unmake_body<C, true, T>(b, prep.record);
}

// make and unmake proper: the compiler decides where these are inlined.
template <int C>
bool make_t(board& b, const Move m, undo& u) {
  return make_body<C, false>(b, m, u, PreparedPosition{});
}

template <int C>
void unmake_t(board& b, const undo& u) {
  unmake_body<C, false>(b, u);
}

}  // namespace orvo::make_detail

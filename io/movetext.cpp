#include "io/movetext.h"

#include <cstdio>
#include <cstring>

#include "io/output.h"
#include "position/makemove.h"
#include "position/movegen.h"

namespace orvo {

namespace {

// Square names in board order, a8 first.
const char square_name[64][3] = {
    "a8", "b8", "c8", "d8", "e8", "f8", "g8", "h8",  //
    "a7", "b7", "c7", "d7", "e7", "f7", "g7", "h7",  //
    "a6", "b6", "c6", "d6", "e6", "f6", "g6", "h6",  //
    "a5", "b5", "c5", "d5", "e5", "f5", "g5", "h5",  //
    "a4", "b4", "c4", "d4", "e4", "f4", "g4", "h4",  //
    "a3", "b3", "c3", "d3", "e3", "f3", "g3", "h3",  //
    "a2", "b2", "c2", "d2", "e2", "f2", "g2", "h2",  //
    "a1", "b1", "c1", "d1", "e1", "f1", "g1", "h1",
};

bool is_file(char c) { return c >= 'a' && c <= 'h'; }
bool is_rank(char c) { return c >= '1' && c <= '8'; }
bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_lower(char c) { return c >= 'a' && c <= 'z'; }
bool is_upper(char c) { return c >= 'A' && c <= 'Z'; }
bool is_letter(char c) { return is_lower(c) || is_upper(c); }
bool is_space(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }


// A generated move that make accepts; the board comes back unchanged.
bool is_legal(board& b, Move m) {
  if (!is_generated(b, m)) return false;
  undo u;
  if (!make(b, m, u)) return false;
  unmake(b, u);
  return true;
}

// "O-O" and "O-O-O" in their accepted spellings; 0 for anything else.
Move parse_castling(const board& b, const char* text) {
  char copy[10];
  std::strncpy(copy, text, 9);
  copy[9] = 0;
  for (char* p = copy; *p; ++p)
    if (*p == '0') *p = 'O';
  char* cut = std::strchr(copy, '+');
  if (!cut) cut = std::strchr(copy, '#');
  if (cut) *cut = 0;
  for (char* p = copy; *p; ++p)
    if (is_lower(*p)) *p = char(*p - 'a' + 'A');
  const int home = b.side == WHITE ? E1 : E8;
  if (std::strcmp(copy, "O-O") == 0) return encode_move(home, home + 2, 0, 0, KING);
  if (std::strcmp(copy, "O-O-O") == 0) return encode_move(home, home - 2, 0, 0, KING);
  return 0;
}

// A promotion after the target square: "=Q" or "Q", either case.
int read_promotion(const char* p) {
  if (*p == '=') ++p;
  return promotion_of(*p);
}

Move parse_pawn_san(board& b, const char* text) {
  const int file = text[0] - 'a';
  const int side = b.side;
  const int behind = side == WHITE ? 8 : -8;  // one row back, seen from the mover
  int from = -1, to = 0;
  bool capture = false;
  const char* p = text;
  if (text[1] == 'x' || is_letter(text[1])) {
    // "exd5". Two characters are skipped whatever they are, so the short
    // form "ed5" is misread and fails.
    capture = true;
    p = text + 2;
    if (!read_square(p, to)) return 0;
  } else if (is_digit(text[1]) && (text[2] == 'x' || text[2] == '-')) {
    // Long algebraic: "e2-e4", "e2xd3".
    if (!read_square(text, from)) return 0;
    p = text + 3;
    if (!read_square(p, to)) return 0;
    capture = file_of(from) != file_of(to);
  } else {
    if (!read_square(text, to)) return 0;
  }
  const int promotion = read_promotion(p + 2);

  const auto own_pawn = [&](int sq) {
    return sq >= 0 && sq < 64 && b.piece[sq] == PAWN && b.color[sq] == side;
  };
  if (from < 0) {
    if (capture) {
      // The capturer stands diagonally behind the target on the named file,
      // which must be a neighbouring file: no wrap over the board's edge.
      const int df = file - file_of(to);
      if (file < 0 || file > 7 || (df != 1 && df != -1)) return 0;
      from = to + behind + df;
      if (!own_pawn(from)) return 0;
    } else {
      const int fourth_row = side == WHITE ? 4 : 3;  // rank 4 / rank 5
      if (own_pawn(to + behind))
        from = to + behind;
      else if (row_of(to) == fourth_row && own_pawn(to + 2 * behind))
        from = to + 2 * behind;
      else
        return 0;
    }
  }

  int captured = b.piece[to];
  const int sixth_row = side == WHITE ? 2 : 5;  // rank 6 / rank 3
  // A capture onto an empty square of the sixth rank can only be en
  // passant; the position's en-passant square is not consulted here.
  if (capture && captured == EMPTY && row_of(to) == sixth_row) captured = PAWN;
  const Move m = encode_move(from, to, captured, promotion, PAWN);
  return is_legal(b, m) ? m : 0;
}

Move parse_piece_san(board& b, const char* text) {
  int piece = 0;
  switch (text[0]) {
    case 'B': piece = BISHOP; break;
    case 'K': piece = KING; break;
    case 'N': piece = KNIGHT; break;
    case 'Q': piece = QUEEN; break;
    case 'R': piece = ROOK; break;
    default: piece = 0; break;  // finds no candidates
  }
  const char* p = text + 1;
  int from = -1, want_file = -1, want_rank = -1;
  if (is_letter(p[0]) && is_digit(p[1]) && std::strpbrk(p + 2, "-x")) {
    // "Ng1-f3", "Nb1xc3": the from-square itself.
    if (!read_square(p, from)) return 0;
    p += 2;
  } else if (is_digit(p[0])) {
    if (!is_rank(p[0])) return 0;
    want_rank = p[0] - '0';
    ++p;
  } else if (p[0] == 'x') {
    // A capture mark; read again below.
  } else if (is_letter(p[0]) && is_letter(p[1])) {
    if (!is_file(p[0])) return 0;
    want_file = p[0] - 'a';
    ++p;
  }
  if (*p == 'x' || *p == '-') ++p;
  int to = 0;
  if (!read_square(p, to)) return 0;
  const int promotion = read_promotion(p + 2);
  const int captured = b.piece[to];

  if (from >= 0) {
    const Move m = encode_move(from, to, captured, promotion, piece);
    return is_legal(b, m) ? m : 0;
  }
  int candidates[ATTACKERS_MAX];
  const int n = list_attackers(b, piece, b.side, to, candidates);
  Move found = 0;
  int legal = 0;
  for (int i = 0; i < n; ++i) {
    const int sq = candidates[i];
    if (want_file >= 0 && file_of(sq) != want_file) continue;
    if (want_rank >= 0 && row_of(sq) != 8 - want_rank) continue;
    const Move m = encode_move(sq, to, captured, promotion, piece);
    if (is_legal(b, m)) {
      found = m;
      ++legal;
    }
  }
  return legal == 1 ? found : 0;  // none, or ambiguous
}

}  // namespace

int promotion_of(char c) {
  switch (c) {
    case 'n': case 'N': return KNIGHT;
    case 'b': case 'B': return BISHOP;
    case 'r': case 'R': return ROOK;
    case 'q': case 'Q': return QUEEN;
    default: return 0;
  }
}

bool read_square(const char* p, int& sq) {
  if (!is_file(p[0]) || !is_rank(p[1])) return false;
  sq = square_of(p[0] - 'a', p[1] - '0');
  return true;
}

void move_to_text(Move m, char* out) {
  static const char promotion_letter[7] = {0, 0, 'n', 'b', 'r', 'q', 0};
  const char* from = square_name[move_from(m)];
  const char* to = square_name[move_to(m)];
  out[0] = from[0];
  out[1] = from[1];
  out[2] = to[0];
  out[3] = to[1];
  const int promotion = move_promotion(m);
  int n = 4;
  if (promotion >= KNIGHT && promotion <= QUEEN) out[n++] = promotion_letter[promotion];
  out[n] = 0;
}

bool is_coordinate_move(const char* text) {
  const size_t len = std::strlen(text);
  if (len != 4 && len != 5) return false;
  if (!is_file(text[0]) || !is_rank(text[1]) || !is_file(text[2]) || !is_rank(text[3]))
    return false;
  return len == 4 || promotion_of(text[4]) != 0;
}

Move apply_coordinate_move(Game& game, const char* text) {
  board& b = game.pos;
  if (std::strlen(text) < 4) return 0;
  int promotion = 0;
  if (text[4]) {
    promotion = promotion_of(text[4]);
    if (!promotion) {
      out("play: illegal promotion\n");
      return 0;
    }
  }
  const int from = (text[0] - 'a') + (8 - (text[1] - '0')) * 8;
  const int to = (text[2] - 'a') + (8 - (text[3] - '0')) * 8;
  if (from < 0 || from > 63 || to < 0 || to > 63) return 0;

  Move m;
  if (b.piece[from] == PAWN && to == b.ep)
    m = encode_move(from, to, PAWN, 0, PAWN);
  else
    m = encode_move(from, to, b.piece[to], promotion, b.piece[from]);
  // The word must be one the generators produce: a garbled or impossible
  // move ("e2e5", a pawn reaching the last rank without a promotion letter)
  // is refused instead of being handed to make, which trusts it.
  if (!is_generated(b, m)) return 0;
  // The game history is a ring, like the key history: a move list of any
  // length is played to its end.
  if (!game.play(m)) return 0;
  return m;
}

Move parse_san(board& b, const char* text) {
  while (is_space(*text)) ++text;
  if (!is_letter(text[0])) return 0;  // also turns away "0-0": keep
  if (text[0] == 'O' || text[0] == 'o') return parse_castling(b, text);
  if (is_lower(text[0])) return parse_pawn_san(b, text);
  return parse_piece_san(b, text);
}

}  // namespace orvo

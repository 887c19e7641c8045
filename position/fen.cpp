#include "position/fen.h"

#include <cstdio>
#include <cstring>

#include "position/movegen.h"
#include "position/tables.h"

namespace orvo {

const char* const start_fen = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1";

fen::fen(const char* text) {
  length_ = int(std::strlen(text));
  text_ = new char[length_ + 1];
  std::memcpy(text_, text, length_ + 1);
}

fen::~fen() { delete[] text_; }

namespace {

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// Copies the next blank-delimited word (leading blanks skipped) into out,
// at most cap - 1 characters; returns the position after the word.
const char* next_word(const char* p, char* out, int cap) {
  while (*p && is_blank(*p)) ++p;
  int n = 0;
  while (*p && !is_blank(*p)) {
    if (n < cap - 1) out[n++] = *p;
    ++p;
  }
  out[n] = 0;
  return p;
}

// The placement walk reads at most this many characters of its field.
constexpr int PLACEMENT_LIMIT = 60;

int piece_of_letter(char c) {
  switch (c | 0x20) {
    case 'p': return PAWN;
    case 'n': return KNIGHT;
    case 'b': return BISHOP;
    case 'r': return ROOK;
    case 'q': return QUEEN;
    case 'k': return KING;
    default: return EMPTY;
  }
}

}  // namespace

void fen::parse(i8* piece, u8* color, i32* side, i32* xside, u32* castle, i32* ep) const {
  char placement[PLACEMENT_LIMIT + 1], side_word[8], castle_word[8], ep_word[8];
  // The placement is cut after 60 characters, however long the field is.
  const char* p = next_word(text_, placement, sizeof placement);
  p = next_word(p, side_word, sizeof side_word);
  p = next_word(p, castle_word, sizeof castle_word);
  next_word(p, ep_word, sizeof ep_word);

  // A missing side field leaves the caller's default (White) in place.
  if (side_word[0]) {
    *side = side_word[0] == 'w' ? WHITE : BLACK;
    *xside = *side ^ 1;
  }
  // Only the first four characters count; order and repeats do not matter.
  for (int i = 0; i < 4 && castle_word[i]; ++i) {
    switch (castle_word[i]) {
      case 'K': *castle |= WHITE_SHORT; break;
      case 'Q': *castle |= WHITE_LONG; break;
      case 'k': *castle |= BLACK_SHORT; break;
      case 'q': *castle |= BLACK_LONG; break;
      default: break;
    }
  }
  *ep = -1;
  if (std::strcmp(ep_word, "-") != 0 && std::strlen(ep_word) == 2) {
    int sq = ep_word[0] - 8 * ep_word[1] + 351;  // (8 - rank) * 8 + file
    *ep = sq >= 0 && sq < 64 ? sq : -1;
  }

  for (int sq = 0; sq < 64; ++sq) {
    piece[sq] = EMPTY;
    color[sq] = NO_COLOR;
  }
  int row_offset = 0, column = 0, slashes = 0;
  for (const char* c = placement; *c; ++c) {
    if (slashes >= 8 && column >= 8) break;
    if (*c == '/') {
      row_offset += 8;
      column = 0;
      ++slashes;
    } else if (*c >= '1' && *c <= '8') {
      column += *c - '0';
    } else if (int type = piece_of_letter(*c); type != EMPTY) {
      // A row with too many pieces runs on into the next row; squares past
      // h1 are dropped rather than written outside the board.
      int sq = row_offset + column;
      if (sq >= 0 && sq < 64) {
        piece[sq] = i8(type);
        color[sq] = (*c >= 'A' && *c <= 'Z') ? WHITE : BLACK;
      }
      ++column;
    }
  }
}

namespace {

// Each colour's, piece's and count's share of mat_key, nothing for a count
// of 0, so that make's recomputation after every capture is ten lookups
// without a branch. Counts run to 64 (a full board); the key of a count is
// the piece-square key of that number, modulo 64.
struct MatKeyShares {
  u64 share[2][QUEEN + 1][65];
};

constexpr MatKeyShares make_mat_key_shares() {
  MatKeyShares t{};
  for (int c : {WHITE, BLACK})
    for (int p = PAWN; p <= QUEEN; ++p)
      for (int n = 1; n <= 64; ++n) t.share[c][p][n] = zobrist[c][p][n & 63];
  return t;
}

constexpr MatKeyShares mat_key_shares = make_mat_key_shares();

}  // namespace

u64 compute_mat_key(const board& b) {
  const auto& s = mat_key_shares.share;
  u64 k = s[WHITE][PAWN][b.pawn_count[WHITE]] ^ s[BLACK][PAWN][b.pawn_count[BLACK]];
  for (int p = KNIGHT; p <= QUEEN; ++p)
    k ^= s[WHITE][p][popcount(b.white[p - 1])] ^ s[BLACK][p][popcount(b.black[p - 1])];
  return k;
}

u64 set_position(board& b, const char* fen_text) {
  for (int sq = 0; sq < 64; ++sq) {
    b.piece[sq] = EMPTY;
    b.color[sq] = NO_COLOR;
  }
  b.side = WHITE;
  b.xside = BLACK;
  b.castle = 0;
  b.ep = -1;
  {
    fen f(fen_text);
    f.parse(b.piece, b.color, &b.side, &b.xside, &b.castle, &b.ep);
  }
  for (int i = 0; i < 6; ++i) b.white[i] = b.black[i] = 0;
  b.occupied = b.occ_file = b.occ_diag_h1a8 = b.occ_diag_a1h8 = 0;
  b.key = b.pawn_key = b.mat_key = 0;
  for (int c = 0; c < 2; ++c) b.material[c] = b.pieces_count[c] = b.pawn_count[c] = b.phase_units[c] = 0;
  b.hist_ply = b.fifty = 0;
  b.last_move = 0;

  for (int sq = 0; sq < 64; ++sq) {
    const int p = b.piece[sq];
    if (p == EMPTY) continue;
    const int c = b.color[sq];
    u64* bb = b.bb(c);
    if (p == KING)
      b.king_sq[c] = sq;  // with two kings the later one counts
    else
      bb[p - 1] |= 1ull << sq;
    bb[BB_ALL] |= 1ull << sq;
    b.material[c] += piece_value[p];
    if (p == PAWN)
      ++b.pawn_count[c];
    else if (p != KING) {
      ++b.pieces_count[c];
      b.phase_units[c] += phase_unit[p];
    }
    b.key ^= zobrist[c][p][sq];
    if (p == PAWN) b.pawn_key ^= zobrist[c][p][sq];
  }
  b.occupied = b.white[BB_ALL] | b.black[BB_ALL];
  for (int i = 0; i < 64; ++i) {
    if (b.piece[rot90_map[i]]) b.occ_file |= 1ull << i;
    if (b.piece[rot_h1a8_map[i]]) b.occ_diag_h1a8 |= 1ull << i;
    if (b.piece[rot_a1h8_map[i]]) b.occ_diag_a1h8 |= 1ull << i;
  }
  // An en-passant square must be empty: a capture landing on an occupied
  // "en-passant square" could not be told apart from en passant when the
  // move is taken back.
  if (b.ep != -1 && b.piece[b.ep] != EMPTY) b.ep = -1;
  b.castled[WHITE] = (b.castle & (WHITE_SHORT | WHITE_LONG)) ? 0 : 1;
  b.castled[BLACK] = (b.castle & (BLACK_SHORT | BLACK_LONG)) ? 0 : 1;
  b.key ^= zobrist_castle_ep[b.castle];
  if (b.ep != -1) b.key ^= zobrist_castle_ep[b.ep];
  b.key ^= zobrist_side[b.side];
  b.in_check = is_attacked(b, b.king_sq[b.side], b.xside) ? 1 : 0;
  b.phase = phase_of(b.material[WHITE] + b.material[BLACK]);
  b.king_attack[0] = b.king_attack[1] = 0;
  b.mat_key = compute_mat_key(b);
  return b.mat_key;
}

void write_fen(const board& b, char* out) {
  static const char letters[] = " PNBRQK";
  char* o = out;
  for (int row = 0; row < 8; ++row) {
    int run = 0;
    for (int f = 0; f < 8; ++f) {
      int sq = row * 8 + f;
      if (b.piece[sq] == EMPTY) {
        ++run;
        continue;
      }
      if (run) *o++ = char('0' + run);
      run = 0;
      char c = letters[b.piece[sq]];
      *o++ = b.color[sq] == WHITE ? c : char(c | 0x20);
    }
    if (run) *o++ = char('0' + run);
    if (row < 7) *o++ = '/';
  }
  *o++ = ' ';
  *o++ = b.side == WHITE ? 'w' : 'b';
  *o++ = ' ';
  if (!b.castle) *o++ = '-';
  if (b.castle & WHITE_SHORT) *o++ = 'K';
  if (b.castle & WHITE_LONG) *o++ = 'Q';
  if (b.castle & BLACK_SHORT) *o++ = 'k';
  if (b.castle & BLACK_LONG) *o++ = 'q';
  *o++ = ' ';
  if (b.ep >= 0 && b.ep < 64) {
    *o++ = char('a' + file_of(b.ep));
    *o++ = char('8' - row_of(b.ep));
  } else {
    *o++ = '-';
  }
  o += std::sprintf(o, " %d ", b.fifty);
  // Moves since setup; from 1000 on the number is left out.
  int move_number = b.hist_ply / 2 + 1;
  if (move_number < 1000) o += std::sprintf(o, "%d", move_number);
  *o = 0;
}

void format_board(const board& b, char* out) {
  static const char* const white_cells[] = {"", " P ", " N ", " B ", " R ", " Q ", " K "};
  static const char* const black_cells[] = {"", "(P)", "(N)", "(B)", "(R)", "(Q)", "(K)"};
  static const char rule[] = "       +---+---+---+---+---+---+---+---+\n";
  char* o = out;
  o += std::sprintf(o, "\n%s", rule);
  for (int row = 0; row < 8; ++row) {
    o += std::sprintf(o, "   %2d  ", 8 - row);
    for (int f = 0; f < 8; ++f) {
      int sq = row * 8 + f;
      int p = b.piece[sq];
      const char* cell;
      if (p >= PAWN && p <= KING)
        cell = b.color[sq] == WHITE ? white_cells[p] : black_cells[p];
      else
        cell = ((f & 1) != (row & 1)) ? " . " : "   ";  // dark squares dotted
      o += std::sprintf(o, "|%s", cell);
    }
    o += std::sprintf(o, "|\n%s", rule);
  }
  std::sprintf(o, "         a   b   c   d   e   f   g   h\n\n");
}

}  // namespace orvo

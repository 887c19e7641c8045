#include "book/builder.h"

#include <cstring>

#include "book/book_path.h"
#include "position/fen.h"
#include "position/makemove.h"
#include "io/movetext.h"
#include "io/output.h"

namespace orvo {

namespace {

constexpr int WRITE_BATCH = 4096;  // records encoded per write

bool is_ascii_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool is_castling(Move m) {
  const int from = move_from(m), to = move_to(m);
  return move_piece(m) == KING && (from == E1 || from == E8) && (to == from + 2 || to == from - 2);
}

// The SAN reader hands out castling without testing it. make refuses a
// castling without the right or through an attacked square, but it looks
// neither at the squares between king and rook nor at what stands on the
// king's square, which its refusal fills with a king.
bool castling_playable(const board& b, Move m) {
  const int from = move_from(m), to = move_to(m);
  if (b.piece[from] != KING || b.color[from] != b.side) return false;
  const int rook = to > from ? from + 3 : from - 4;
  const int low = rook < from ? rook : from, high = rook < from ? from : rook;
  for (int sq = low + 1; sq < high; ++sq)
    if (b.piece[sq] != EMPTY) return false;
  return true;
}

}  // namespace

BookBuilder::BookBuilder(const BookSettings& settings, u32 capacity)
    : settings_(settings), table_(capacity) {}

void BookBuilder::read_games(std::FILE* pgn) {
  PgnReader in(pgn);
  while (!in.at_end()) {
    const GameFlags g = read_header(in, settings_);
    record_game(in, g);
  }
  spinner_.flush();
}

void BookBuilder::record_game(PgnReader& in, const GameFlags& g) {
  set_position(board_, start_fen);
  i64 move_numbers = 0;
  char line[PGN_LINE_SIZE];
  while (in.next_line(line) && line[0]) {
    if (!g.include) continue;
    // Tokens are separated by blanks only.
    char* p = line;
    for (;;) {
      while (*p == ' ') ++p;
      if (!*p) break;
      char* token = p;
      while (*p && *p != ' ') ++p;
      const bool last = !*p;
      *p = 0;
      read_token(token, move_numbers, g);
      if (last) break;
      ++p;
    }
  }
}

void BookBuilder::read_token(const char* token, i64& move_numbers, const GameFlags& g) {
  // Any token with a dot is a move number, so "1..." counts as well, and
  // a move written onto its number ("1.e4") is lost. Deliberate.
  if (std::strchr(token, '.')) {
    spinner_.tick(move_numbers);
    ++move_numbers;
    return;
  }
  // After the token "10." the count is 10: with a depth of 10 both moves
  // of move 10 are still recorded.
  if (move_numbers > settings_.move_depth || !is_ascii_letter(token[0])) return;
  const Move m = parse_san(board_, token);
  if (!m) return;  // skipped; the game goes on from the same position
  count(book_entry_key(board_.key, m), g);
  play(m);
}

void BookBuilder::play(Move m) {
  // An impossible castling is counted (above) but not played, so that the
  // board never holds two pieces on one square; make refuses the other
  // illegal castlings itself.
  if (is_castling(m) && !castling_playable(board_, m)) return;
  undo u;
  make(board_, m, u);
}

void BookBuilder::count(u64 entry_key, const GameFlags& g) {
  if (BookRecord* r = table_.find(entry_key)) {
    // Plain 16-bit counters: they wrap. Deliberate.
    ++r->games;
    r->white_wins = u16(r->white_wins + g.white_won);
    r->black_wins = u16(r->black_wins + g.black_won);
    r->draws = u16(r->draws + g.drawn);
    return;
  }
  if (table_.append(BookRecord{entry_key, 1, g.white_won, g.black_won, g.drawn})) return;
  // Beyond the capacity the pair is dropped without notice. Running out of
  // memory below it drops pairs the same way, but says so once.
  if (table_.size() < table_.capacity() && !out_of_memory_reported_) {
    spinner_.flush();
    out("not enough memory for more book records; %u kept\n", table_.size());
    out_of_memory_reported_ = true;
  }
}

u32 BookBuilder::write(const char* path) const {
  std::FILE* f = open_book_path(path, "wb");
  if (!f) {
    // The missing blank before "for" is part of the message.
    out("error opening file \"%s\"for writing.\n", path);
    return 0;
  }
  static unsigned char raw[WRITE_BATCH * BOOK_RECORD_SIZE];
  u32 written = 0;
  while (written < table_.size()) {
    u32 batch = 0;
    for (; batch < WRITE_BATCH && written + batch < table_.size(); ++batch)
      encode_book_record(table_[written + batch], raw + batch * BOOK_RECORD_SIZE);
    const size_t done = std::fwrite(raw, BOOK_RECORD_SIZE, batch, f);
    written += u32(done);
    if (done < batch) break;  // disk full: the count says what the file holds
  }
  std::fclose(f);
  return written;
}

}  // namespace orvo

#include "tests/book/reference_builder.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "book/record.h"
#include "position/fen.h"
#include "position/makemove.h"
#include "position/movegen.h"
#include "io/movetext.h"
#include "tests/book/book_files.h"

namespace orvo::test {

namespace {

struct Flags {
  int white = 0, black = 0, drawn = 0, include = 1;
};

// fgets of 256 bytes, then the last character of the C string goes.
bool get_line(char* line, std::FILE* f) {
  if (!std::fgets(line, 256, f)) return false;
  const size_t n = std::strlen(line);
  if (n > 0) line[n - 1] = 0;
  return true;
}

Flags header(std::FILE* f, const BookSettings& s) {
  Flags g;
  char line[256];
  while (get_line(line, f) && line[0]) {
    if (std::strstr(line, "1/2-1/2")) {
      if (s.include_draws)
        g.drawn = 1;
      else
        g.include = 0;
    } else if (std::strstr(line, "1-0")) {
      g.white = 1;
    } else if (std::strstr(line, "0-1")) {
      g.black = 1;
    } else if (std::strstr(line, "Elo")) {
      const char* q = std::strchr(line, '"');
      if (q) {
        char four[5] = {};
        std::strncpy(four, q + 1, 4);
        if (std::atoi(four) < s.min_elo) g.include = 0;
      }
    }
  }
  return g;
}

struct Table {
  std::vector<BookRecord> used;  // the slots before the first free one
  unsigned capacity;

  void add(u64 key, const Flags& g) {
    for (unsigned i = 0; i < capacity; ++i) {
      if (i == used.size()) {
        used.push_back(BookRecord{key, 1, u16(g.white), u16(g.black), u16(g.drawn)});
        return;
      }
      BookRecord& r = used[i];
      if (r.key == key) {
        r.games = u16(r.games + 1);
        r.white_wins = u16(r.white_wins + g.white);
        r.black_wins = u16(r.black_wins + g.black);
        r.draws = u16(r.draws + g.drawn);
        return;
      }
    }
    // full: dropped
  }
};

bool generated(const board& b, Move m) {
  MoveList list;
  generate_all(b, list);
  for (int i = 0; i < list.count; ++i)
    if (list.moves[i] == m) return true;
  return false;
}

void game(std::FILE* f, const Flags& g, const BookSettings& s, Table& t, std::string& printed) {
  static const char spin[] = "| / - \\ | / - \\ ";
  board b;
  set_position(b, start_fen);
  long long count = 0;
  char line[256];
  while (get_line(line, f) && line[0]) {
    if (!g.include) continue;
    for (char* tok = std::strtok(line, " "); tok; tok = std::strtok(nullptr, " ")) {
      if (std::strchr(tok, '.')) {
        printed += spin[count % 16];
        printed += '\r';
        ++count;
      } else if (count <= s.move_depth && std::isalpha(static_cast<unsigned char>(tok[0])) &&
                 static_cast<unsigned char>(tok[0]) < 128) {
        const Move m = parse_san(b, tok);
        if (!m) continue;
        t.add(book_entry_key(b.key, m), g);
        const bool castles = move_piece(m) == KING && (move_to(m) - move_from(m) == 2 ||
                                                       move_from(m) - move_to(m) == 2);
        if (castles && !generated(b, m)) continue;
        undo u;
        make(b, m, u);
      }
    }
  }
}

}  // namespace

ReferenceBook reference_book(const std::string& pgn_path, const BookSettings& s,
                             unsigned capacity) {
  build_tables();
  // Carriage returns before line feeds belong to the line end.
  std::string text = read_file(pgn_path), lf;
  for (size_t i = 0; i < text.size(); ++i)
    if (!(text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n')) lf += text[i];
  std::FILE* f = std::tmpfile();
  std::fwrite(lf.data(), 1, lf.size(), f);
  std::rewind(f);

  ReferenceBook out;
  Table t{{}, capacity};
  while (!std::feof(f)) {
    const Flags g = header(f, s);
    game(f, g, s, t, out.printed);
  }
  std::fclose(f);
  for (const BookRecord& r : t.used) {
    unsigned char raw[16];
    encode_book_record(r, raw);
    out.bytes.append(reinterpret_cast<const char*>(raw), 16);
  }
  return out;
}

}  // namespace orvo::test

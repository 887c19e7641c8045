#include "protocol/xboard.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "book/book.h"
#include "engine/chess.h"
#include "eval/eval.h"
#include "position/fen.h"
#include "position/perft.h"
#include "protocol/input.h"
#include "search/hash.h"
#include "search/search.h"
#include "tools/egbb.h"
#include "tools/ini.h"

namespace orvo {

namespace {

constexpr int LINE_SIZE = 256;
constexpr int MAX_TOKENS = LINE_SIZE / 2 + 1;

// The tokens of one line, split in place at blanks, tabs and newlines. A
// command that wants an argument past the end gets an empty string.
struct Tokens {
  char* word[MAX_TOKENS];
  int count = 0;
  int next = 0;

  explicit Tokens(char* line) {
    char* save = nullptr;
    for (char* p = strtok_r(line, " \t\n", &save); p && count < MAX_TOKENS;
         p = strtok_r(nullptr, " \t\n", &save))
      word[count++] = p;
  }
  const char* take() { return next < count ? word[next++] : (++next, ""); }
};

void cmd_protover(chess&, Tokens& t) {
  t.take();
  std::printf(
      "feature ping=0 playother=0 san=0 usermove=1 time=1 draw=0 sigint=0 sigterm=0 reuse=0 "
      "analyze=1 myname=\"Orvo v%s\" variants=\"normal\" setboard=1 colors=0 ics=0 name=0 "
      "pause=0 done=1\n",
      ORVO_VERSION);
}

void cmd_skip_one(chess&, Tokens& t) { t.take(); }
void cmd_nothing(chess&, Tokens&) {}

void cmd_ping(chess&, Tokens& t) { std::printf("pong %d\n", std::atoi(t.take())); }

void cmd_d(chess& c, Tokens&) {
  c.show_board = 1;
  print_board(c.pos);
}

void cmd_force(chess& c, Tokens&) {
  c.force_mode = 1;
  c.computer_side = -1;
}

void cmd_quit(chess&, Tokens&) {
  std::printf("Orvo is leaving.\n");
  std::exit(0);
}

void cmd_setboard(chess& c, Tokens& t) {
  const char* f[4];
  for (auto& field : f) field = t.take();
  if (!*f[0] && !*f[1] && !*f[2] && !*f[3]) return;
  // The four fields joined with single blanks and a trailing blank; the
  // clock fields of a full FEN stay on the line and are skipped as unknown
  // words, so the position starts with counters 0 and move 1.
  char text[4 * LINE_SIZE + 8];
  std::snprintf(text, sizeof text, "%s %s %s %s ", f[0], f[1], f[2], f[3]);
  xboard_init(c);
  set_position(c.pos, text);
  tt_clear();
  // Reset as for UCI, so that every limit is cleared too.
  const u8 uci = c.uci_mode;
  c.uci_mode = 1;
  resetSearch(c);
  c.uci_mode = uci;
  // After a setboard the engine deliberately waits in force mode for "go"
  // or a move.
  c.force_mode = 1;
  c.game_over = 0;
  print_board(c.pos);
}

void cmd_fen(chess& c, Tokens&) {
  char text[128];
  write_fen(c.pos, text);
  std::printf("%s\n", text);
}

void cmd_perft(chess& c, Tokens& t) { perft_command(c.pos, t.take()); }

// The static score of the game position. The castling terms are judged
// from this position's rights, as a search started here would, and the
// window is open so that the full evaluation runs.
void cmd_eval(chess& c, Tokens&) {
  root_castle = c.pos.castle;
  std::printf("%d\n", Evaluate(c.pos, NO_SCORE, -NO_SCORE));
}

struct Command {
  const char* name;
  void (*run)(chess&, Tokens&);
};

// Tried in this order; a word that names no command is skipped.
const Command commands[] = {
    {"protover", cmd_protover},
    {"accepted", cmd_skip_one},
    {"black", cmd_skip_one},
    {"white", cmd_skip_one},
    {"random", cmd_nothing},
    {"computer", cmd_nothing},
    {"otim", cmd_skip_one},
    {"ping", cmd_ping},
    {"d", cmd_d},
    {"force", cmd_force},
    {"quit", cmd_quit},
    {"sb", cmd_setboard},
    {"setboard", cmd_setboard},
    {"fen", cmd_fen},
    {"perft", cmd_perft},
    {"eval", cmd_eval},
};

}  // namespace

void xboard_init(chess& c) {
  static bool first = true;
  if (first) {
    first = false;
    read_ini();
    c.book_on = open_book(c);
    tt_resize(hash_size);
    egbb_load();
    eval_allocate_caches();
  }
  c.computer_side = -1;
  c.quit_requested = 0;
  c.post_on = 1;
  c.searching = c.ponder_search = c.force_mode = 0;
  clear_material_cache();
  tt_clear();
}

void xboard_execute(chess& c, char* line) {
  Tokens t(line);
  while (t.next < t.count) {
    const char* word = t.word[t.next++];
    for (const Command& cmd : commands) {
      if (std::strcmp(word, cmd.name) == 0) {
        cmd.run(c, t);
        break;
      }
    }
  }
}

void xboard_loop(chess& c) {
  char line[LINE_SIZE];
  while (read_line(line, LINE_SIZE)) {
    size_t len = std::strlen(line);
    if (len == 0) return;  // a line starting with a NUL byte
    line[len - 1] = 0;     // the newline, or the last character of a cut line
    if (len == 1) return;  // an empty line ends the loop
    xboard_execute(c, line);
  }
}

}  // namespace orvo

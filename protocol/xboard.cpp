// The xboard command loop: the line reader and tokenizer, the command
// table, and what a command does when it arrives while a search runs.
#include "protocol/xboard.h"

#include <cstdlib>
#include <cstring>

#include "book/book.h"
#include "eval/eval.h"
#include "position/fen.h"
#include "position/perft.h"
#include "protocol/input.h"
#include "protocol/numbers.h"
#include "protocol/output.h"
#include "protocol/xboard_internal.h"
#include "search/hash.h"
#include "search/search.h"
#include "tools/egbb.h"
#include "tools/epd.h"
#include "tools/ini.h"

// Nothing here owns an object with a destructor: the search's input hook
// runs these commands from deep inside a search that may be unwound by a
// jump.

namespace orvo {

Tokens::Tokens(char* line) {
  char* save = nullptr;
  for (char* p = strtok_r(line, " \t\n", &save); p && count < XBOARD_MAX_TOKENS;
       p = strtok_r(nullptr, " \t\n", &save))
    word[count++] = p;
}

namespace {

// The last piece read ended without a newline: the line goes on.
bool in_long_line = false;

void cmd_protover(chess&, Tokens& t) {
  t.take();
  out("feature ping=0 playother=0 san=0 usermove=1 time=1 draw=0 sigint=0 sigterm=0 reuse=0 "
      "analyze=1 myname=\"Orvo v%s\" variants=\"normal\" setboard=1 colors=0 ics=0 name=0 "
      "pause=0 done=1\n",
      ORVO_VERSION);
}

void cmd_skip_one(chess&, Tokens& t) { t.take(); }
void cmd_nothing(chess&, Tokens&) {}

// Answered although the feature line announces ping=0.
void cmd_ping(chess&, Tokens& t) { out("pong %d\n", read_int(t.take())); }

void cmd_d(chess& c, Tokens&) {
  c.show_board = 1;
  print_board(c.pos);
}

void cmd_force(chess& c, Tokens&) {
  c.force_mode = 1;
  c.computer_side = -1;
}

void cmd_hard(chess& c, Tokens&) { c.ponder_on = 1; }
void cmd_easy(chess& c, Tokens&) { c.ponder_on = 0; }
void cmd_post(chess& c, Tokens&) { c.post_on = 1; }
void cmd_nopost(chess& c, Tokens&) { c.post_on = 0; }

void cmd_quit(chess&, Tokens&) {
  out("Orvo is leaving.\n");
  std::exit(0);
}

void cmd_fen(chess& c, Tokens&) {
  char text[128];
  write_fen(c.pos, text);
  out("%s\n", text);
}

void cmd_test(chess& c, Tokens& t) {
  const int n = read_int(t.take());
  if (n < 1 || n > EPD_SUITE_COUNT) return;
  epd_read(epd_suite_path(n));
  c.searching = c.running_suite = 1;
  epd_run(c);
  c.searching = c.running_suite = 0;
}

void cmd_perft(chess& c, Tokens& t) { perft_command(c.pos, t.take()); }

// The static score of the game position. The castling terms are judged
// from this position's rights, as a search started here would, and the
// window is open so that the full evaluation runs.
void cmd_eval(chess& c, Tokens&) {
  root_castle = c.pos.castle;
  out("%d\n", Evaluate(c.pos, NO_SCORE, -NO_SCORE));
}

using enum DuringSearch;

// Tried in this order; a word that names no command is skipped.
const Command commands[] = {
    {"protover", cmd_protover, obey, false},
    {"accepted", cmd_skip_one, obey, false},
    // Not in the original set: tournament managers answer every feature
    // they do not know with "rejected NAME" (cutechess-cli: "rejected
    // analyze"), and the name must not be run as a command.
    {"rejected", cmd_skip_one, obey, false},
    {"black", cmd_skip_one, obey, false},
    {"white", cmd_skip_one, obey, false},
    {"new", cmd_new, take_over, true},
    {"random", cmd_nothing, obey, false},
    {"computer", cmd_nothing, obey, false},
    {"otim", cmd_skip_one, obey, false},
    {"ping", cmd_ping, obey, false},
    {"d", cmd_d, obey, false},
    {"force", cmd_force, take_over, true},
    {"hard", cmd_hard, obey, false},
    {"easy", cmd_easy, obey, true},
    {"analyze", cmd_analyze, take_over, true},
    {"exit", cmd_exit, obey, false},
    {"post", cmd_post, obey, false},
    {"nopost", cmd_nopost, obey, false},
    {"go", cmd_go, take_over, true},
    {"quit", cmd_quit, obey, false},
    {"undo", cmd_undo, take_over, true},
    {"level", cmd_level, obey, false},
    {"usermove", cmd_usermove, take_over, false},
    {"time", cmd_time, obey, false},
    {"sd", cmd_sd, obey, false},
    {"st", cmd_st, obey, false},
    {"sb", cmd_setboard, take_over, true},
    {"setboard", cmd_setboard, take_over, true},
    {"fen", cmd_fen, obey, false},
    // Ignored while pondering, as every word the ponder reader does not
    // know: no front end sends them then.
    {"test", cmd_test, take_over, false},
    {"perft", cmd_perft, take_over, false},
    {"eval", cmd_eval, obey, false},
    // Not in the original set: "?" asks for the move now. Front ends send it
    // to end the engine's thinking and expect the best move found so far.
    {"?", cmd_move_now, obey, false},
    // Not in the original set, where "result" is an unknown word: the game
    // is over, so a search of the engine's own move ends without a move.
    // Outside a search it changes nothing, and the words after it are read
    // as commands like those after any other command.
    {"result", cmd_nothing, take_over, false},
};

// Obeys the commands of a line that arrived while a search runs. True
// when a command takes over: the search is then given up, and the line
// from that command on is kept for the command loop.
bool execute_during_search(chess& c, char* line) {
  Tokens t(line);
  while (t.next < t.count) {
    const int at = t.next++;
    const Command* cmd = find_command(t.word[at]);
    if (!cmd) continue;
    if (cmd->during_search == take_over) {
      defer_tokens(c, t, at);
      return true;
    }
    cmd->run(c, t);
  }
  return false;
}

// The search's input hook. While pondering, the ponder reader serves;
// otherwise each waiting line is obeyed in place. The original design ran
// the whole command loop here, nested inside the search, and never came
// back to it; commands that change the game now end the search instead, so
// loops and searches never nest.
bool xboard_poll_input(chess& c) {
  if (c.pondering) return ponder_reader(c, false);
  // A line that took over is already waiting for the loop: give up again.
  if (c.has_deferred) return true;
  char line[XBOARD_LINE_SIZE];
  if (!read_command_line(line)) {
    // End of input: the front end has gone, and nobody is left to read a
    // move or to stop a search. Every search is given up at once, and the
    // command loop then meets the end of input too and returns. A test
    // suite is the exception while a depth or time limit bounds each of its
    // searches: it is a batch job, typically piped in ("sd 6", "test 1"),
    // and runs to its summary.
    return !(c.running_suite && (limits.fixedDepth || limits.timed));
  }
  return execute_during_search(c, line);
}

}  // namespace

const Command* find_command(const char* name) {
  for (const Command& cmd : commands)
    if (std::strcmp(name, cmd.name) == 0) return &cmd;
  return nullptr;
}

bool read_command_line(char* line) {
  for (;;) {
    if (!read_line(line, XBOARD_LINE_SIZE)) return false;
    const size_t len = std::strlen(line);
    const bool whole = len > 0 && line[len - 1] == '\n';
    const bool tail_newline = in_long_line && len == 1 && whole;
    in_long_line = !whole;
    // The newline that ends a line of exactly 255 characters arrives as a
    // piece of its own; it is not an empty line.
    if (tail_newline) continue;
    if (len > 0) line[len - 1] = 0;
    return true;
  }
}

void defer_tokens(chess& c, const Tokens& t, int from) {
  size_t n = 0;
  for (int i = from; i < t.count; ++i) {
    const size_t len = std::strlen(t.word[i]);
    if (n + len + 2 > sizeof c.deferred) break;  // cannot happen: the words came from one line
    if (n) c.deferred[n++] = ' ';
    std::memcpy(c.deferred + n, t.word[i], len);
    n += len;
  }
  c.deferred[n] = 0;
  c.has_deferred = 1;
}

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
  c.poll_input = xboard_poll_input;
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
    const Command* cmd = find_command(t.word[t.next++]);
    if (cmd) cmd->run(c, t);
  }
}

void xboard_loop(chess& c) {
  char line[XBOARD_LINE_SIZE];
  for (;;) {
    if (c.has_deferred) {
      // The rest of a line that ended a search or the ponder phase.
      std::memcpy(line, c.deferred, sizeof line);
      c.has_deferred = 0;
    } else {
      if (!read_command_line(line)) return;
      if (!line[0]) return;  // an empty line ends the loop
    }
    xboard_execute(c, line);
    restart_analysis(c);
  }
}

}  // namespace orvo

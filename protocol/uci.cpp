#include "protocol/uci.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "book/book.h"
#include "engine/chess.h"
#include "eval/eval.h"
#include "position/fen.h"
#include "protocol/input.h"
#include "protocol/movetext.h"
#include "protocol/numbers.h"
#include "protocol/output.h"
#include "search/hash.h"
#include "search/search.h"
#include "tools/egbb.h"
#include "tools/ini.h"


// Nothing here owns an object with a destructor: the search's input poll
// calls the line handler from deep inside a search that may be unwound by
// a jump.

namespace orvo {

namespace {

constexpr const char* AUTHOR = "Erwan Tollis Quenby";
constexpr int OPTION_VALUE_SIZE = 256;

struct UciOption {
  const char* name;  // nullptr ends the table
  int visible;
  const char* default_value;
  const char* type;
  const char* range;  // may be empty
  char value[OPTION_VALUE_SIZE];
};

UciOption options[] = {
    // Hash is read once, when the engine is first set up.
    {"Hash", 1, "32", "spin", "min 1 max 128", ""},
    // When true the time for a move is stretched by 1.25.
    {"Ponder", 1, "false", "check", "", ""},
    // OwnBook and BookFile are kept but never read: the book comes from
    // the ini file.
    {"OwnBook", 1, "true", "check", "", ""},
    {"BookFile", 1, "Orvo.bin", "string", "", ""},
    {nullptr, 0, nullptr, nullptr, nullptr, ""},
};

bool engine_ready = false;

UciOption* find_option(const char* name) {
  for (UciOption* o = options; o->name; ++o)
    if (std::strcmp(o->name, name) == 0) return o;
  return nullptr;
}

void copy_bounded(char* dst, const char* src, int size) {
  int n = 0;
  while (src[n] && n < size - 1) {
    dst[n] = src[n];
    ++n;
  }
  dst[n] = 0;
}

// The search's input hook: obey one waiting line. "stop" and "quit" act
// through the flags and the exit; the poll itself decides when to unwind.
bool uci_poll_input(chess& c) {
  uci_handle_line(c);
  return false;
}

bool busy(const chess& c) { return c.searching || c.force_mode; }

// Words of a "go" line, split at blanks.
struct WordReader {
  const char* p;
  // The next word and its length; false when there is none.
  bool next(const char*& word, int& len) {
    while (*p == ' ') ++p;
    if (!*p) return false;
    word = p;
    while (*p && *p != ' ') ++p;
    len = int(p - word);
    return true;
  }
  // The value after a word that takes one. A missing value leaves the
  // setting as it was.
  bool value(int& out) {
    const char* word;
    int len;
    if (!next(word, len)) return false;
    out = read_int(word);
    return true;
  }
};

}  // namespace

bool option_set(const char* name, const char* value) {
  UciOption* o = find_option(name);
  if (!o) return false;
  copy_bounded(o->value, value, OPTION_VALUE_SIZE);
  return true;
}

bool option_is_true(const char* name) {
  const UciOption* o = find_option(name);
  if (!o) return false;
  return std::strcmp(o->value, "true") == 0 || std::strcmp(o->value, "yes") == 0 ||
         std::strcmp(o->value, "1") == 0;
}

const char* option_value(const char* name) {
  const UciOption* o = find_option(name);
  return o ? o->value : nullptr;
}

void options_reset() {
  for (UciOption* o = options; o->name; ++o) copy_bounded(o->value, o->default_value, OPTION_VALUE_SIZE);
}

bool uci_engine_ready() { return engine_ready; }

void uci_handshake(chess& c) {
  c.uci_mode = 1;
  c.xboard_mode = 0;
  c.searching = c.ponder_search = c.force_mode = 0;
  c.poll_input = uci_poll_input;
  resetSearch(c);
  set_position(c.pos, start_fen);
  send_line("id name Orvo v%s", ORVO_VERSION);
  send_line("id author %s", AUTHOR);
  options_reset();
  for (const UciOption* o = options; o->name; ++o) {
    if (!o->visible) continue;
    if (o->range[0])
      send_line("option name %s type %s default %s %s", o->name, o->type, o->value, o->range);
    else
      send_line("option name %s type %s default %s", o->name, o->type, o->value);
  }
  send_line("uciok");
}

void uci_start(chess& c) {
  uci_handshake(c);
  for (;;) uci_handle_line(c);
}

void uci_engine_init(chess& c) {
  if (engine_ready) return;
  engine_ready = true;
  read_ini();
  c.book_on = open_book(c) ? 1 : 0;
  tt_resize(read_int(option_value("Hash")));
  egbb_load();
  resetSearch(c);
  // Deliberate: a "position" sent before the first "isready" or "go" is
  // lost here.
  set_position(c.pos, start_fen);
  tt_clear();
  eval_allocate_caches();
  // Deliberate second load: it releases the first and reports again.
  egbb_load();
}

void uci_handle_line(chess& c) {
  char line[UCI_LINE_SIZE];
  if (!read_line(line, UCI_LINE_SIZE)) {
    const int error = errno;
    if (input_error()) fatal("my_file_read_line(): fgets(): %s\n", std::strerror(error));
    std::exit(0);
  }
  if (char* nl = std::strchr(line, '\n')) *nl = 0;
  uci_execute(c, line);
}

namespace {

void cmd_isready(chess& c, char*) {
  if (!busy(c)) uci_engine_init(c);
  // Answered at once, also while a search runs.
  out("readyok\n");
}

void cmd_go(chess& c, char* line) {
  if (busy(c)) return;
  uci_engine_init(c);
  uci_go(c, line);
}

void cmd_ponderhit(chess& c, char*) {
  if (c.searching) {
    // The search goes on under the time limits that came with "go ponder".
    limits.infinite = false;
    c.ponder_search = 0;
  } else if (c.force_mode) {
    uci_send_bestmove(c);
    c.force_mode = 0;
  }
}

void cmd_position(chess& c, char* line) {
  if (!busy(c)) uci_position(c, line);
}

void cmd_quit(chess&, char*) { std::exit(0); }

void cmd_setoption(chess& c, char* line) {
  if (busy(c)) return;
  char* name = std::strstr(line, "name ");
  char* value = std::strstr(line, "value ");
  // Options without a value (buttons) can therefore not be set.
  if (!name || !value || value < name) return;
  value[-1] = 0;
  option_set(name + 5, value + 6);  // an unknown name is ignored
}

void cmd_stop(chess& c, char*) {
  if (c.searching) {
    state.stop_command = true;
    c.ponder_search = 0;  // the move goes out as soon as the search unwinds
  } else if (c.force_mode) {
    uci_send_bestmove(c);
    c.force_mode = 0;
  }
}

void cmd_ucinewgame(chess& c, char*) {
  if (!busy(c) && engine_ready) {
    tt_clear();
    c.book_failures = 0;
  }
}

struct UciCommand {
  const char* name;
  bool prefix;  // the line only has to begin with the name
  void (*run)(chess&, char* line);
};

// Tried in this order. Anything else, "uci", "debug" and "register"
// included, is ignored.
const UciCommand uci_commands[] = {
    {"isready", false, cmd_isready},
    {"go", true, cmd_go},
    {"ponderhit", false, cmd_ponderhit},
    {"position", true, cmd_position},
    {"quit", false, cmd_quit},
    {"setoption", true, cmd_setoption},
    {"stop", false, cmd_stop},
    {"ucinewgame", false, cmd_ucinewgame},
};

// The values a "go" line gives; times in seconds, -1 (or false) when the
// word is missing.
struct GoWords {
  double wtime = -1.0, btime = -1.0, winc = -1.0, binc = -1.0, movetime = -1.0;
  int depth = -1, mate = -1, movestogo = -1;
  bool infinite = false, ponder = false;
};

constexpr double MILLISECONDS = 1000.0;

struct GoWord {
  const char* keyword;  // matched by this prefix
  double GoWords::*seconds;  // a time in milliseconds, stored in seconds
  int GoWords::*count;       // a number
  bool GoWords::*flag;       // a word without a value
  bool clock;                // a time left (or to use): below zero is zero
};

// Tried in this order. "nodes" reads its value and ignores it;
// "searchmoves" and its moves, like any other word, change nothing.
const GoWord go_words[] = {
    {"binc", &GoWords::binc, nullptr, nullptr, false},
    {"winc", &GoWords::winc, nullptr, nullptr, false},
    {"btime", &GoWords::btime, nullptr, nullptr, true},
    {"wtime", &GoWords::wtime, nullptr, nullptr, true},
    {"depth", nullptr, &GoWords::depth, nullptr, false},
    {"infinite", nullptr, nullptr, &GoWords::infinite, false},
    {"mate", nullptr, &GoWords::mate, nullptr, false},
    {"movestogo", nullptr, &GoWords::movestogo, nullptr, false},
    {"movetime", &GoWords::movetime, nullptr, nullptr, true},
    {"nodes", nullptr, nullptr, nullptr, false},
    {"ponder", nullptr, nullptr, &GoWords::ponder, false},
};

GoWords read_go_words(const char* line) {
  GoWords g;
  WordReader words{line};
  const char* word;
  int len;
  words.next(word, len);  // "go"
  while (words.next(word, len)) {
    for (const GoWord& w : go_words) {
      const size_t n = std::strlen(w.keyword);
      if (size_t(len) < n || std::strncmp(word, w.keyword, n) != 0) continue;
      int v;
      if (w.flag) {
        g.*w.flag = true;
      } else if (words.value(v)) {  // a missing value leaves the setting
        // Not in the original design: a clock or move time below zero (a
        // manager that lets an engine overstep its time by a margin reports
        // what is left of it) is an empty clock, and the engine moves at
        // once. Taken as it is, it would be no limit at all, and the search
        // would run until "stop".
        if (w.clock && v < 0) v = 0;
        if (w.seconds) g.*w.seconds = v / MILLISECONDS;
        if (w.count) g.*w.count = v;
      }
      break;
    }
  }
  return g;
}

}  // namespace

void uci_execute(chess& c, char* line) {
  for (const UciCommand& cmd : uci_commands) {
    const size_t n = std::strlen(cmd.name);
    const bool match = cmd.prefix ? std::strncmp(line, cmd.name, n) == 0 : std::strcmp(line, cmd.name) == 0;
    if (match) {
      cmd.run(c, line);
      return;
    }
  }
}

bool uci_set_limits(chess& c, const char* line) {
  const GoWords g = read_go_words(line);
  const double wtime = g.wtime, btime = g.btime, winc = g.winc, binc = g.binc, movetime = g.movetime;
  const int depth = g.depth, mate = g.mate, movestogo = g.movestogo;
  const bool infinite = g.infinite, ponder = g.ponder;

  resetSearch(c);  // in UCI mode this clears every limit
  if (depth >= 0) {
    limits.depthLimit = depth;
    limits.fixedDepth = true;
  } else if (mate >= 0) {
    const long long plies = 2LL * mate - 1;
    limits.depthLimit = plies > INT_MAX ? INT_MAX : int(plies);
    limits.fixedDepth = true;
  }
  const double time = c.pos.side == WHITE ? wtime : btime;
  double inc = c.pos.side == WHITE ? winc : binc;
  const int togo = movestogo < 1 ? 30 : movestogo;
  if (inc < 0) inc = 0;
  if (movetime >= 0) {
    // The target lies far beyond the hard limit, so only the hard limit
    // ends the search.
    limits.hardLimit = movetime;
    limits.timed = true;
    limits.targetTime = movetime * 5.0;
  } else if (time >= 0) {
    const double factor = option_is_true("Ponder") ? 1.25 : 1.0;
    const TimeAllocation a = allocate_time(time, inc, togo, factor);
    limits.timed = true;
    limits.targetTime = a.target;
    limits.hardLimit = a.hard;
  }
  if (infinite || ponder) limits.infinite = true;
  return infinite || ponder;
}

void uci_go(chess& c, const char* line) {
  const bool wait_for_command = uci_set_limits(c, line);
  c.searching = 1;
  c.ponder_search = wait_for_command ? 1 : 0;
  c.force_mode = 0;
  think(c);
  c.searching = 0;
  // After "go infinite" or "go ponder" the move is held back until "stop"
  // or "ponderhit", even when the search ended by itself.
  c.force_mode = c.ponder_search;
  if (!c.force_mode) uci_send_bestmove(c);
}

void uci_position(chess& c, char* line) {
  char* fen = std::strstr(line, "fen");
  char* moves = std::strstr(line, "moves");
  const char* move_text = nullptr;
  // The moves start six characters after "moves", whatever stands there:
  // a second blank becomes part of the first move, which is then refused.
  if (moves) move_text = moves[5] ? moves + 6 : moves + 5;
  if (fen && moves) *moves = 0;
  // The FEN starts four characters after "fen"; the word "startpos" is
  // never looked at.
  if (fen)
    set_position(c.pos, fen[3] ? fen + 4 : fen + 3);
  else
    set_position(c.pos, start_fen);
  if (!move_text) return;
  const char* p = move_text;
  while (*p) {
    // Four characters, and a fifth unless a blank or the end follows.
    char move[6];
    int n = 0;
    while (n < 4 && p[n]) {
      move[n] = p[n];
      ++n;
    }
    if (n == 4 && p[4] && p[4] != ' ') {
      move[4] = p[4];
      n = 5;
    }
    move[n] = 0;
    p += n;
    apply_coordinate_move(c, move);  // a move that cannot be played is skipped
    while (*p == ' ') ++p;
  }
}

void uci_send_bestmove(chess& c) {
  (void)c;
  send_line("info time %.0f nodes %lld nps %.0f cpuload %.0f", search_clock.elapsed * 1000.0, (long long)nodes,
            search_clock.nps, search_clock.cpu_load * 1000.0);
  char best[6], reply[6];
  move_to_text(state.best_move, best);
  move_to_text(state.expected_reply, reply);
  if (state.expected_reply > 0 && is_coordinate_move(reply))
    send_line("bestmove %s ponder %s", best, reply);
  else
    send_line("bestmove %s", best);
}

}  // namespace orvo

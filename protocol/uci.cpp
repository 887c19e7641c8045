#include "protocol/uci.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "io/input.h"
#include "io/movetext.h"
#include "io/numbers.h"
#include "io/output.h"
#include "position/fen.h"
#include "search/helpers.h"

// Nothing here owns an object with a destructor while a search runs: the
// search's poll calls the line handler from deep inside a search that may
// be unwound by a jump once it returns.

namespace orvo {

namespace {

constexpr const char* AUTHOR = "Erwan Tollis Quenby";

// The options in the order of the handshake: the original four first,
// then the additions, which with their defaults change nothing.
const Uci::Option DEFAULT_OPTIONS[Uci::OPTION_COUNT] = {
    // Hash is read once, when the engine is first set up.
    {"Hash", 1, "32", "spin", "min 1 max 128", "", false, 0, 0},
    // When true the time for a move is stretched by 1.25.
    {"Ponder", 1, "false", "check", "", "", false, 0, 0},
    // OwnBook and BookFile are kept but never read: the book comes from
    // the ini file.
    {"OwnBook", 1, "true", "check", "", "", false, 0, 0},
    {"BookFile", 1, "Orvo.bin", "string", "", "", false, 0, 0},
    // Additions: search threads, lines of analysis, and the milliseconds
    // kept back from the clock (the original engine's fixed second).
    {"Threads", 1, "1", "spin", "min 1 max 256", "", true, 1, MAX_THREADS},
    {"MultiPV", 1, "1", "spin", "min 1 max 256", "", true, 1, MAX_MOVES},
    {"Move Overhead", 1, "1000", "spin", "min 0 max 5000", "", true, 0, MAX_MOVE_OVERHEAD_MS},
};

void copy_bounded(char* dst, const char* src, int size) {
  int n = 0;
  while (src[n] && n < size - 1) {
    dst[n] = src[n];
    ++n;
  }
  dst[n] = 0;
}

// The periodic "info" line comes at most once a second; "info currmove"
// only once the search has run a second.
constexpr double INFO_INTERVAL = 1.0;
constexpr double CURRMOVE_AFTER = 1.0;
constexpr double MILLISECONDS = 1000.0;
// CPU load is printed in thousandths.
constexpr double PER_MILLE = 1000.0;

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

Uci::Uci(Core& c) : core(c), search(c.search) {
  for (int i = 0; i < OPTION_COUNT; ++i) options[i] = DEFAULT_OPTIONS[i];
}

Uci::~Uci() { search.set_listener(nullptr); }

Uci::Option* Uci::find_option(const char* name) {
  for (Option& o : options)
    if (std::strcmp(o.name, name) == 0) return &o;
  return nullptr;
}

const Uci::Option* Uci::find_option(const char* name) const {
  for (const Option& o : options)
    if (std::strcmp(o.name, name) == 0) return &o;
  return nullptr;
}

bool Uci::option_set(const char* name, const char* value) {
  Option* o = find_option(name);
  if (!o) return false;
  if (!o->bounded) {
    copy_bounded(o->value, value, UCI_OPTION_VALUE_SIZE);
    return true;
  }
  int n;
  if (!scan_ints(value, &n, 1)) return true;  // no number: the value stays
  n = n < o->min ? o->min : n > o->max ? o->max : n;
  std::snprintf(o->value, sizeof o->value, "%d", n);
  return true;
}

int Uci::option_number(const char* name) const {
  const char* v = option_value(name);
  return v ? read_int(v) : 0;
}

bool Uci::option_is_true(const char* name) const {
  const Option* o = find_option(name);
  if (!o) return false;
  return std::strcmp(o->value, "true") == 0 || std::strcmp(o->value, "yes") == 0 ||
         std::strcmp(o->value, "1") == 0;
}

const char* Uci::option_value(const char* name) const {
  const Option* o = find_option(name);
  return o ? o->value : nullptr;
}

void Uci::options_reset() {
  for (Option& o : options) copy_bounded(o.value, o.default_value, UCI_OPTION_VALUE_SIZE);
}

void Uci::handshake() {
  searching = ponder_search = bestmove_owed = 0;
  search.set_listener(this);
  search.reset(true);
  set_position(core.game.pos, start_fen);
  send_line("id name Orvo v%s", ORVO_VERSION);
  send_line("id author %s", AUTHOR);
  options_reset();
  for (const Option& o : options) {
    if (!o.visible) continue;
    if (o.range[0])
      send_line("option name %s type %s default %s %s", o.name, o.type, o.value, o.range);
    else
      send_line("option name %s type %s default %s", o.name, o.type, o.value);
  }
  send_line("uciok");
}

LoopEnd Uci::run() {
  handshake();
  while (!quitting) handle_line();
  return LoopEnd{exit_status, true};
}

void Uci::engine_init() {
  if (engine_ready_) return;
  engine_ready_ = true;
  read_ini(core.settings);
  book_on = core.book.open(core.settings.book_path) ? 1 : 0;
  core.tt.resize(read_int(option_value("Hash")));
  core.bitbases.load(core.settings.egbb_path);
  search.reset(true);
  // Deliberate: a "position" sent before the first "isready" or "go" is
  // lost here.
  set_position(core.game.pos, start_fen);
  core.tt.clear();
  // Deliberate second load: it releases the first and reports again.
  core.bitbases.load(core.settings.egbb_path);
}

void Uci::handle_line() {
  char line[UCI_LINE_SIZE];
  if (!read_line(line, UCI_LINE_SIZE)) {
    const int error = errno;
    if (input_error()) {
      fatal("my_file_read_line(): fgets(): %s\n", std::strerror(error));
      exit_status = 1;
    }
    quitting = true;
    return;
  }
  if (char* nl = std::strchr(line, '\n')) *nl = 0;
  execute(line);
}

// The commands, with access to the side's state.
struct UciCommands {
  static void isready(Uci& u, char*) {
    if (!u.busy()) u.engine_init();
    // Answered at once, also while a search runs.
    out("readyok\n");
  }

  static void go(Uci& u, char* line) {
    if (u.busy()) return;
    u.engine_init();
    u.go(line);
  }

  static void ponderhit(Uci& u, char*) {
    if (u.searching) {
      // The search goes on under the time limits that came with "go ponder".
      u.search.limits.infinite = false;
      u.ponder_search = 0;
    } else if (u.bestmove_owed) {
      u.send_bestmove();
      u.bestmove_owed = 0;
    }
  }

  static void position(Uci& u, char* line) {
    if (!u.busy()) u.position(line);
  }

  static void quit(Uci& u, char*) { u.quitting = true; }

  static void setoption(Uci& u, char* line) {
    if (u.busy()) return;
    char* name = std::strstr(line, "name ");
    char* value = std::strstr(line, "value ");
    // Options without a value (buttons) can therefore not be set.
    if (!name || !value || value < name) return;
    value[-1] = 0;
    u.option_set(name + 5, value + 6);  // an unknown name is ignored
  }

  static void stop(Uci& u, char*) {
    if (u.searching) {
      u.search.state.stop_command = true;
      u.ponder_search = 0;  // the move goes out as soon as the search unwinds
    } else if (u.bestmove_owed) {
      u.send_bestmove();
      u.bestmove_owed = 0;
    }
  }

  static void ucinewgame(Uci& u, char*) {
    if (!u.busy() && u.engine_ready_) {
      u.core.tt.clear();
      u.core.book.new_game();
    }
  }
};

namespace {

struct UciCommand {
  const char* name;
  bool prefix;  // the line only has to begin with the name
  void (*run)(Uci&, char* line);
};

// Tried in this order. Anything else, "uci", "debug" and "register"
// included, is ignored.
const UciCommand uci_commands[] = {
    {"isready", false, UciCommands::isready},
    {"go", true, UciCommands::go},
    {"ponderhit", false, UciCommands::ponderhit},
    {"position", true, UciCommands::position},
    {"quit", false, UciCommands::quit},
    {"setoption", true, UciCommands::setoption},
    {"stop", false, UciCommands::stop},
    {"ucinewgame", false, UciCommands::ucinewgame},
};

// The values a "go" line gives; times in seconds, -1 (or false) when the
// word is missing.
struct GoWords {
  double wtime = -1.0, btime = -1.0, winc = -1.0, binc = -1.0, movetime = -1.0;
  int depth = -1, mate = -1, movestogo = -1;
  bool infinite = false, ponder = false;
};

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

void Uci::execute(char* line) {
  for (const UciCommand& cmd : uci_commands) {
    const size_t n = std::strlen(cmd.name);
    const bool match = cmd.prefix ? std::strncmp(line, cmd.name, n) == 0 : std::strcmp(line, cmd.name) == 0;
    if (match) {
      cmd.run(*this, line);
      return;
    }
  }
}

bool Uci::set_limits(const char* line) {
  const GoWords g = read_go_words(line);
  SearchLimits& limits = search.limits;
  search.reset(true);  // every limit cleared
  if (g.depth >= 0) {
    limits.depth_limit = g.depth;
    limits.fixed_depth = true;
  } else if (g.mate >= 0) {
    const long long plies = 2LL * g.mate - 1;
    limits.depth_limit = plies > INT_MAX ? INT_MAX : int(plies);
    limits.fixed_depth = true;
  }
  const bool white = core.game.pos.side == WHITE;
  const double time = white ? g.wtime : g.btime;
  double inc = white ? g.winc : g.binc;
  const int togo = g.movestogo < 1 ? DEFAULT_MOVES_TO_GO : g.movestogo;
  if (inc < 0) inc = 0;
  if (g.movetime >= 0) {
    // The target lies far beyond the hard limit, so only the hard limit
    // ends the search.
    limits.hard_limit = g.movetime;
    limits.timed = true;
    limits.target_time = g.movetime * MOVE_TIME_TARGET_FACTOR;
  } else if (time >= 0) {
    const double factor = option_is_true("Ponder") ? PONDER_TIME_FACTOR : 1.0;
    const double reserve = option_number("Move Overhead") / MILLISECONDS;
    const TimeAllocation a = allocate_time(time, inc, togo, factor, reserve);
    limits.timed = true;
    limits.target_time = a.target;
    limits.hard_limit = a.hard;
  }
  if (g.infinite || g.ponder) limits.infinite = true;
  return g.infinite || g.ponder;
}

void Uci::go(const char* line) {
  search.set_threads(option_number("Threads"));
  search.set_multi_pv(option_number("MultiPV"));
  const bool wait_for_command = set_limits(line);
  searching = 1;
  ponder_search = wait_for_command ? 1 : 0;
  bestmove_owed = 0;
  search.think(core.game.pos);
  searching = 0;
  // "quit" or the end of input during the search: nobody waits for a move.
  if (quitting) return;
  // After "go infinite" or "go ponder" the move is held back until "stop"
  // or "ponderhit", even when the search ended by itself.
  bestmove_owed = ponder_search;
  if (!bestmove_owed) send_bestmove();
}

void Uci::position(char* line) {
  char* fen = std::strstr(line, "fen");
  char* moves = std::strstr(line, "moves");
  const char* move_text = nullptr;
  // The moves start six characters after "moves", whatever stands there:
  // a second blank becomes part of the first move, which is then refused.
  if (moves) move_text = moves[5] ? moves + 6 : moves + 5;
  if (fen && moves) *moves = 0;
  // The FEN starts four characters after "fen"; the word "startpos" is
  // never looked at.
  board& b = core.game.pos;
  if (fen)
    set_position(b, fen[3] ? fen + 4 : fen + 3);
  else
    set_position(b, start_fen);
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
    apply_coordinate_move(core.game, move);  // a move that cannot be played is skipped
    while (*p == ' ') ++p;
  }
}

void Uci::send_bestmove() {
  const SearchClock& k = search.clock;
  send_line("info time %.0f nodes %lld nps %.0f cpuload %.0f", k.elapsed * MILLISECONDS,
            static_cast<long long>(search.total_nodes()), k.nps, k.cpu_load * PER_MILLE);
  const Move best_move = search.state.best_move, reply_move = search.state.expected_reply;
  char best[6], reply[6];
  move_to_text(best_move, best);
  move_to_text(reply_move, reply);
  if (reply_move > 0 && is_coordinate_move(reply))
    send_line("bestmove %s ponder %s", best, reply);
  else
    send_line("bestmove %s", best);
}

void Uci::search_started(const Search&) { last_info_ = 0; }

bool Uci::book_move(const Search&, const Move* moves, int count, Move& out) {
  if (!book_on || !core.book.worth_asking()) return false;
  return core.book.probe(core.game.pos, core.settings.book_path, moves, count, out);
}

void Uci::root_move(const Search& s) {
  if (s.elapsed_now() < CURRMOVE_AFTER) return;
  char m[8];
  // Deliberate: names the best move so far, not the move being searched.
  move_to_text(s.state.best_move, m);
  send_line("info currmove %s currmovenumber %d", m, s.state.current_move_index + 1);
}

void Uci::send_pv(const Search& s, int depth, int score, int bound, const Move* pv, int multipv) {
  char text[1024];
  size_t n = 0;
  text[0] = 0;
  for (int i = 0; i < MAX_PLY + 1 && pv[i] && n + 8 < sizeof text; ++i) {
    char m[8];
    move_to_text(pv[i], m);
    n += std::snprintf(text + n, sizeof text - n, n ? " %s" : "%s", m);
  }
  const char* bound_text = bound == BOUND_LOWER ? " lowerbound" : bound == BOUND_UPPER ? " upperbound" : "";
  // The line's number only when there are several.
  char line_number[24] = "";
  if (multipv > 0) std::snprintf(line_number, sizeof line_number, " multipv %d", multipv);
  const double ms = s.clock.elapsed * MILLISECONDS;
  const long long nodes = static_cast<long long>(s.total_nodes());
  if (score < -MATE_BOUND || score > MATE_BOUND) {
    // Moves to mate: the mated side's count is negative.
    const int mate = score < -MATE_BOUND ? -((score + MATE) / 2) : (MATE + 1 - score) / 2;
    send_line("info depth %d seldepth %d%s score mate %d%s time %.0f nodes %lld pv %s", depth, s.seldepth,
              line_number, mate, bound_text, ms, nodes, text);
  } else {
    send_line("info depth %d seldepth %d%s score cp %d%s time %.0f nodes %lld pv %s", depth, s.seldepth, line_number,
              score, bound_text, ms, nodes, text);
  }
}

void Uci::new_best(const Search& s) {
  const SearchState& st = s.state;
  send_pv(s, st.best_depth, st.best_score, st.best_bound, s.pv, 0);
}

void Uci::lines_done(const Search& s, int) {
  for (int i = 0; i < s.line_count(); ++i) {
    const Search::RootLine& l = s.line(i);
    send_pv(s, l.depth, l.score, l.bound, l.pv, i + 1);
  }
}

void Uci::iteration_done(const Search& s, int depth) {
  send_line("info depth %d seldepth %d time %.0f nodes %lld", depth, s.seldepth, s.clock.elapsed * MILLISECONDS,
            static_cast<long long>(s.total_nodes()));
}

void Uci::progress(const Search& s) {
  const SearchClock& k = s.clock;
  if (k.elapsed < last_info_ + INFO_INTERVAL) return;
  last_info_ = k.elapsed;
  send_line("info time %.0f nodes %lld nps %.0f cpuload %.0f", k.elapsed * MILLISECONDS,
            static_cast<long long>(s.total_nodes()), k.nps, k.cpu_load * PER_MILLE);
}

// Each waiting line is obeyed in turn: "stop" and "ponderhit" act through
// the search's state and limits, "isready" is answered at once, and "go",
// "position", "setoption" and "ucinewgame" are ignored while the search
// runs. "quit", the end of input and a read error give the search up.
bool Uci::keep_searching(Search& s) {
  while (input_available()) {
    handle_line();
    if (quitting) return false;
    if (s.state.stop_command || input_at_eof()) break;
  }
  return true;
}

}  // namespace orvo

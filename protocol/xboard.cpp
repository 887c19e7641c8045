// The xboard command loop: the line reader and tokenizer, the command
// table, what a command does when it arrives while a search runs, and the
// thinking lines.
#include "protocol/xboard.h"

#include <chrono>
#include <cstdio>
#include <cstring>

#include "io/input.h"
#include "io/movetext.h"
#include "io/numbers.h"
#include "io/output.h"
#include "position/fen.h"
#include "position/perft.h"
#include "protocol/epd.h"
#include "protocol/xboard_internal.h"

// Nothing here owns an object with a destructor while a search runs: the
// search's poll calls keep_searching from deep inside a search that may be
// unwound by a jump once it returns.

namespace orvo {

Tokens::Tokens(char* line) {
  char* save = nullptr;
  for (char* p = strtok_r(line, " \t\n", &save); p && count < XBOARD_MAX_TOKENS;
       p = strtok_r(nullptr, " \t\n", &save))
    word[count++] = p;
}

namespace {

void cmd_protover(Xboard&, Tokens& t) {
  t.take();
  out("feature ping=0 playother=0 san=0 usermove=1 time=1 draw=0 sigint=0 sigterm=0 reuse=0 "
      "analyze=1 myname=\"Orvo v%s\" variants=\"normal\" setboard=1 colors=0 ics=0 name=0 "
      "pause=0 done=1\n",
      ORVO_VERSION);
}

void cmd_skip_one(Xboard&, Tokens& t) { t.take(); }
void cmd_nothing(Xboard&, Tokens&) {}

// Answered although the feature line announces ping=0.
void cmd_ping(Xboard&, Tokens& t) { out("pong %d\n", read_int(t.take())); }

void cmd_d(Xboard& x, Tokens&) {
  x.show_board = 1;
  print_board(x.game.pos);
}

void cmd_force(Xboard& x, Tokens&) {
  x.force_mode = 1;
  x.computer_side = -1;
}

void cmd_hard(Xboard& x, Tokens&) { x.ponder_on = 1; }
void cmd_easy(Xboard& x, Tokens&) { x.ponder_on = 0; }
void cmd_post(Xboard& x, Tokens&) { x.post_on = 1; }
void cmd_nopost(Xboard& x, Tokens&) { x.post_on = 0; }

void cmd_quit(Xboard& x, Tokens&) {
  out("Orvo is leaving.\n");
  x.quitting = true;
}

void cmd_fen(Xboard& x, Tokens&) {
  char text[128];
  write_fen(x.game.pos, text);
  out("%s\n", text);
}

void cmd_test(Xboard& x, Tokens& t) {
  const int n = read_int(t.take());
  if (n < 1 || n > EPD_SUITE_COUNT) return;
  if (!x.epd) x.epd = std::make_unique<EpdRunner>();
  if (x.epd->read(epd_suite_path(n)) < 0) {
    // A suite that cannot be read ends the program, as it always has.
    x.quit_requested = 1;
    x.quitting = true;
    return;
  }
  x.searching = x.running_suite = 1;
  x.epd->run(x);
  x.searching = x.running_suite = 0;
}

// perft N: the table of counts by level and the milliseconds it took.
void cmd_perft(Xboard& x, Tokens& t) {
  const int depth = read_int(t.take());
  if (depth <= 0) return;
  if (depth > x.perft_limit) {
    out("perft: depth %d is too deep, the largest is %d\n", depth, x.perft_limit);
    return;
  }
  const auto start = std::chrono::steady_clock::now();
  const PerftCounts counts = perft_run(x.game.pos, depth);
  out("depth          moves   captures en_passant  promotion     castle\n");
  for (int k = 1; k <= depth; ++k) {
    const int l = k - 1;
    out("perft(%d): %10lld %10lld %10lld %10lld %10lld\n", k, static_cast<long long>(counts.moves[l]),
        static_cast<long long>(counts.captures[l]), static_cast<long long>(counts.ep[l]),
        static_cast<long long>(counts.promotions[l]), static_cast<long long>(counts.castles[l]));
  }
  const auto ms =
      std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count();
  out("\n%u ms\n", static_cast<unsigned>(ms));
}

// The static score of the game position. The castling terms are judged
// from this position's rights, as a search started here would, and the
// window is open so that the full evaluation runs.
void cmd_eval(Xboard& x, Tokens&) {
  hash& tt = x.core.tt;
  if (tt.eval_tables[BLACK] && tt.eval_tables[WHITE])
    x.evaluator.use_pawn_tables(tt.eval_tables[BLACK], tt.eval_tables[WHITE]);
  x.evaluator.set_root_castle(x.game.pos.castle);
  out("%d\n", x.evaluator.evaluate(x.game.pos, NO_SCORE, -NO_SCORE));
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
// when the search must be given up: a command takes over (the line from
// that command on is kept for the command loop), or "quit".
bool execute_during_search(Xboard& x, char* line) {
  Tokens t(line);
  while (t.next < t.count) {
    const int at = t.next++;
    const Command* cmd = find_command(t.word[at]);
    if (!cmd) continue;
    if (cmd->during_search == take_over) {
      defer_tokens(x, t, at);
      return true;
    }
    cmd->run(x, t);
    if (x.quitting) return true;
  }
  return false;
}

// The PV as coordinate text, with the move being pondered on in front.
void pv_text(const Xboard& x, const Search& s, char* text, size_t cap) {
  size_t n = 0;
  text[0] = 0;
  if (x.pondering && x.ponder_move_text[0]) n += std::snprintf(text, cap, "(%s)", x.ponder_move_text);
  for (int i = 0; i < MAX_PLY + 1 && s.pv[i] && n + 8 < cap; ++i) {
    char m[8];
    move_to_text(s.pv[i], m);
    n += std::snprintf(text + n, cap - n, n ? " %s" : "%s", m);
  }
}

// Thinking output in centiseconds.
constexpr double CENTISECONDS_PER_SECOND = 100.0;

}  // namespace

const Command* find_command(const char* name) {
  for (const Command& cmd : commands)
    if (std::strcmp(name, cmd.name) == 0) return &cmd;
  return nullptr;
}

bool read_command_line(Xboard& x, char* line) {
  for (;;) {
    if (!read_line(line, XBOARD_LINE_SIZE)) return false;
    const size_t len = std::strlen(line);
    const bool whole = len > 0 && line[len - 1] == '\n';
    const bool tail_newline = x.in_long_line && len == 1 && whole;
    x.in_long_line = !whole;
    // The newline that ends a line of exactly 255 characters arrives as a
    // piece of its own; it is not an empty line.
    if (tail_newline) continue;
    if (len > 0) line[len - 1] = 0;
    return true;
  }
}

void defer_tokens(Xboard& x, const Tokens& t, int from) {
  size_t n = 0;
  for (int i = from; i < t.count; ++i) {
    const size_t len = std::strlen(t.word[i]);
    if (n + len + 2 > sizeof x.deferred) break;  // cannot happen: the words came from one line
    if (n) x.deferred[n++] = ' ';
    std::memcpy(x.deferred + n, t.word[i], len);
    n += len;
  }
  x.deferred[n] = 0;
  x.has_deferred = 1;
}

Xboard::Xboard(Core& c) : core(c), game(c.game), search(c.search), perft_limit(PERFT_MAX_DEPTH) {}

Xboard::~Xboard() { search.set_listener(nullptr); }

void Xboard::init() {
  if (!initialised_) {
    initialised_ = true;
    read_ini(core.settings);
    book_on = core.book.open(core.settings.book_path);
    core.tt.resize(core.settings.hash_size);
    core.bitbases.load(core.settings.egbb_path);
    // An addition: the threads come from the settings file (UCI has its
    // option); the feature line stays as it is.
    search.set_threads(core.settings.threads);
  }
  search.set_listener(this);
  computer_side = -1;
  quit_requested = 0;
  post_on = 1;
  searching = ponder_search = force_mode = 0;
  search.eval.clear_material_cache();
  core.tt.clear();
}

void Xboard::execute(char* line) {
  Tokens t(line);
  while (t.next < t.count && !quitting) {
    const Command* cmd = find_command(t.word[t.next++]);
    if (cmd) cmd->run(*this, t);
  }
}

LoopEnd Xboard::loop() {
  char line[XBOARD_LINE_SIZE];
  while (!quitting) {
    if (has_deferred) {
      // The rest of a line that ended a search or the ponder phase.
      std::memcpy(line, deferred, sizeof line);
      has_deferred = 0;
    } else {
      if (!read_command_line(*this, line)) break;
      if (!line[0]) break;  // an empty line ends the loop
    }
    execute(line);
    restart_analysis(*this);
  }
  return LoopEnd{0, quitting};
}

void Xboard::search_started(const Search&) {}

bool Xboard::book_move(const Search&, const Move* moves, int count, Move& out) {
  if (!book_on || !core.book.worth_asking()) return false;
  return core.book.probe(game.pos, core.settings.book_path, moves, count, out);
}

void Xboard::new_best(const Search& s) {
  if (!post_on) return;
  char text[1024];
  pv_text(*this, s, text, sizeof text);
  send_line("%4d %6d %8.0f %12lld %s", s.state.best_depth, s.state.best_score,
            s.clock.elapsed * CENTISECONDS_PER_SECOND, static_cast<long long>(s.total_nodes()), text);
}

// While pondering, the ponder reader serves; otherwise each waiting line is
// obeyed in place. The original design ran the whole command loop here,
// nested inside the search, and never came back to it; commands that
// change the game now end the search instead, so loops and searches never
// nest.
bool Xboard::keep_searching(Search& s) {
  while (input_available()) {
    bool give_up;
    if (pondering) {
      give_up = ponder_reader(false);
    } else if (has_deferred) {
      // A line that took over is already waiting for the loop: give up again.
      give_up = true;
    } else {
      char line[XBOARD_LINE_SIZE];
      if (!read_command_line(*this, line)) {
        // End of input: the front end has gone, and nobody is left to read
        // a move or to stop a search. Every search is given up at once, and
        // the command loop then meets the end of input too and returns. A
        // test suite is the exception while a depth or time limit bounds
        // each of its searches: it is a batch job, typically piped in ("sd
        // 6", "test 1"), and runs to its summary.
        give_up = !(running_suite && (s.limits.fixed_depth || s.limits.timed));
      } else {
        give_up = execute_during_search(*this, line);
      }
    }
    if (give_up) return false;
    // At the end of input there is nothing more to read, ever.
    if (s.state.stop_command || input_at_eof()) break;
  }
  return true;
}

}  // namespace orvo

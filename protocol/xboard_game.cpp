// The game flow of the xboard side: new game, set position, the engine's
// move, the opponent's move, take-back, analysis and the end of the game.
#include <cstdio>
#include <cstring>

#include "io/input.h"
#include "io/movetext.h"
#include "io/output.h"
#include "position/fen.h"
#include "position/makemove.h"
#include "position/movegen.h"
#include "protocol/xboard.h"
#include "protocol/xboard_internal.h"
#include "search/draws.h"

namespace orvo {

namespace {

// The engine gives up when the last search saw itself this far behind,
// after this many plies, and not right after a capture or pawn move.
constexpr int RESIGN_SCORE = -900;
constexpr int RESIGN_MIN_PLY = 20;
constexpr int RESIGN_MIN_FIFTY = 1;

// A new position: the one-time set-up if not done yet, a clear table, and
// a reset with every limit cleared, as a new game or a set-up position
// wants; the xboard side otherwise keeps its limits from move to move.
void start_position(Xboard& x, const char* fen_text) {
  x.init();
  set_position(x.game.pos, fen_text);
  x.core.tt.clear();
  x.search.reset(true);
}

// A move given as coordinate text, matched against the generated moves and
// made into the game history. No letter matches any promotion (the first
// one generated).
bool play_text_move(Xboard& x, const char* text) {
  board& b = x.game.pos;
  int promotion = 0;
  if (std::strlen(text) >= 5) {
    promotion = promotion_of(text[4]);
    if (!promotion) {
      out("play: illegal promotion\n");
      return false;
    }
  }
  int from, to;
  if (!read_square(text, from) || !read_square(text + 2, to)) return false;  // silently
  MoveList list;
  const int n = generate_all(b, list);
  for (int i = 0; i < n; ++i) {
    const Move m = list.moves[i];
    if (move_from(m) != from || move_to(m) != to) continue;
    if (promotion && move_promotion(m) != promotion) continue;
    if (x.game.play(m)) return true;
    break;  // only the first match is tried
  }
  out("play move failed.\n");
  return false;
}

void run_analysis(Xboard& x) {
  Search& s = x.search;
  x.force_mode = 1;
  x.init();
  s.reset(false);
  s.limits.infinite = true;
  s.limits.analysis = true;
  x.analysed_key = x.game.pos.key;
  x.analysed_ply = x.game.pos.hist_ply;
  x.searching = 1;
  s.think(x.game.pos);
  x.searching = 0;
  x.analysis_complete = !s.state.abandoned;
  s.limits.infinite = false;
  s.limits.analysis = false;
  x.force_mode = 0;
}

}  // namespace

bool play_engine_move(Xboard& x, Move m) {
  if (!m || !is_generated(x.game.pos, m)) return false;
  if (!x.game.play(m)) return false;
  char text[8];
  move_to_text(m, text);
  send_line("move %s", text);
  return true;
}

bool check_game_end(Xboard& x) {
  if (x.game_over) return true;
  // The result lines go straight to standard output.
  switch (game_end(x.game.pos)) {
    case GameEnd::none:
      return false;
    case GameEnd::fifty_moves:
      out("1/2-1/2 {Orvo: draw by fifty-move-rule}\n");
      break;
    case GameEnd::repetition:
      out("1/2-1/2 {Orvo: draw by 3-fold repetition}\n");
      break;
    case GameEnd::insufficient_material:
      out("1/2-1/2 {Orvo: insufficient material}\n");
      break;
    case GameEnd::stalemate:
      out("1/2-1/2 {Stalemate}\n");
      break;
    case GameEnd::white_mated:
      out("0-1 {Orvo says Black mates}\n");
      break;
    case GameEnd::black_mated:
      out("1-0 {Orvo says White mates}\n");
      break;
  }
  return true;
}

void cmd_new(Xboard& x, Tokens&) {
  start_position(x, start_fen);
  x.ponder_on = 0;
  x.game_over = 0;
  x.search.limits.analysis = false;
  x.searching = x.pondering = x.force_mode = x.ponder_search = 0;
  x.computer_side = BLACK;  // the engine plays Black
  x.move_number = -1;
  x.core.book.new_game();
  if (!x.book_on) out("mBookOn_flag false\n");
}

void cmd_setboard(Xboard& x, Tokens& t) {
  const char* f[4];
  for (auto& field : f) field = t.take();
  if (!*f[0] && !*f[1] && !*f[2] && !*f[3]) return;
  // The four fields joined with single blanks and a trailing blank; the
  // clock fields of a full FEN stay on the line and are skipped as unknown
  // words, so the position starts with counters 0 and move 1.
  char text[4 * XBOARD_LINE_SIZE + 8];
  std::snprintf(text, sizeof text, "%s %s %s %s ", f[0], f[1], f[2], f[3]);
  start_position(x, text);
  // Deliberate: after a setboard the engine waits in force mode for "go"
  // or a move.
  x.force_mode = 1;
  x.game_over = 0;
  print_board(x.game.pos);
}

void cmd_go(Xboard& x, Tokens&) {
  Search& s = x.search;
  x.analyzing = 0;  // playing ends analysis mode
  x.computer_side = x.game.pos.side;
  s.reset(false);
  x.searching = 1;
  x.force_mode = 0;
  const Move m = s.think(x.game.pos);
  x.searching = 0;
  if (s.state.abandoned) return;  // a command took over: no move
  // Deliberate: "go" neither tests for the end of the game nor ponders.
  if (!m) return;
  play_engine_move(x, m);
  if (x.show_board) print_board(x.game.pos);
}

bool opponent_move(Xboard& x, const char* text) {
  Search& s = x.search;
  const board& b = x.game.pos;
  // The outcome is deliberately not checked: after a refused move the
  // engine still answers, in the unchanged position.
  play_text_move(x, text);
  x.pondering = 0;
  if (x.force_mode || x.analyzing) return true;
  if (s.state.best_score <= RESIGN_SCORE && b.hist_ply > RESIGN_MIN_PLY && b.fifty > RESIGN_MIN_FIFTY) {
    out(b.side == WHITE ? "0-1 {White resigns}\n" : "1-0 {Black resigns}\n");
    x.game_over = 1;
    return true;
  }
  x.game_over = check_game_end(x);
  if (x.game_over) return true;
  s.reset(false);
  x.searching = 1;
  x.force_mode = 1;
  const Move m = s.think(x.game.pos);
  x.searching = 0;
  // A command took over: no move. Force mode stays raised, as it was for
  // the whole search: a move that arrived meanwhile is played without an
  // answer, like every move after it until "go" or "new".
  if (s.state.abandoned) return false;
  x.force_mode = 0;
  if (play_engine_move(x, m)) x.game_over = check_game_end(x);
  return true;
}

void cmd_usermove(Xboard& x, Tokens& t) {
  const char* text = t.take();
  if (x.game_over) return;
  if (!opponent_move(x, text) || x.analyzing) return;
  // Deliberate: the engine ponders in force mode too, between the moves it
  // is given, when "hard" is in force.
  ponder_cycle(x);
}

void cmd_undo(Xboard& x, Tokens&) {
  if (!x.game.take_back()) return;
  if (x.show_board) print_board(x.game.pos);
  x.computer_side = -1;
}

void cmd_analyze(Xboard& x, Tokens&) {
  x.analyzing = 1;
  run_analysis(x);
}

void cmd_exit(Xboard& x, Tokens&) {
  x.search.state.stop_command = true;
  x.force_mode = 0;
  x.analyzing = 0;
  out("Analyze stopped\n");
}

// Only the search of the engine's own move ends for "?"; analysis, a test
// suite and pondering go on.
void cmd_move_now(Xboard& x, Tokens&) {
  if (x.searching && !x.pondering && !x.search.limits.analysis) x.search.state.stop_command = true;
}

void restart_analysis(Xboard& x) {
  // At the end of input the analysis is over: the loop returns next.
  if (!x.analyzing || x.has_deferred || x.quitting || input_at_eof()) return;
  if (x.analysis_complete && x.game.pos.key == x.analysed_key && x.game.pos.hist_ply == x.analysed_ply) return;
  run_analysis(x);
}

}  // namespace orvo

// The game flow of the xboard side: new game, set position, the engine's
// move, the opponent's move, take-back and analysis.
#include <cstdio>
#include <cstring>

#include "position/fen.h"
#include "position/makemove.h"
#include "position/movegen.h"
#include "protocol/input.h"
#include "protocol/movetext.h"
#include "protocol/output.h"
#include "protocol/xboard.h"
#include "protocol/xboard_internal.h"
#include "search/draws.h"
#include "search/hash.h"
#include "search/search.h"

namespace orvo {

namespace {

// The engine gives up when the last search saw itself this far behind,
// after this many plies, and not right after a capture or pawn move.
constexpr int RESIGN_SCORE = -900;
constexpr int RESIGN_MIN_PLY = 20;
constexpr int RESIGN_MIN_FIFTY = 1;

// The position the last analysis search ran on, and whether it ran to its
// end; analysis mode starts it again only when either changed.
u64 analysed_key = 0;
int analysed_ply = -1;
bool analysis_complete = false;

// A new position: the one-time set-up if not done yet, a clear table, and
// resetSearch with every limit cleared (as in UCI mode), as a new game or a
// set-up position wants; the xboard side otherwise keeps its limits from
// move to move.
void start_position(chess& c, const char* fen_text) {
  xboard_init(c);
  set_position(c.pos, fen_text);
  tt_clear();
  const u8 uci = c.uci_mode;
  c.uci_mode = 1;
  resetSearch(c);
  c.uci_mode = uci;
}

// A move given as coordinate text, matched against the generated moves and
// made into the game history. No letter matches any promotion (the first
// one generated).
bool play_text_move(chess& c, const char* text) {
  board& b = c.pos;
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
    if (make(b, m, c.history_slot(b.hist_ply))) return true;
    break;  // only the first match is tried
  }
  out("play move failed.\n");
  return false;
}

// Makes the engine's move on the game board and sends it; false when there
// is none or make refuses it.
bool play_engine_move(chess& c, Move m) {
  if (!m || !is_generated(c.pos, m)) return false;
  if (!make(c.pos, m, c.history_slot(c.pos.hist_ply))) return false;
  char text[8];
  move_to_text(m, text);
  send_line("move %s", text);
  return true;
}

void run_analysis(chess& c) {
  c.force_mode = 1;
  xboard_init(c);
  resetSearch(c);
  limits.infinite = true;
  limits.analysis = true;
  analysed_key = c.pos.key;
  analysed_ply = c.pos.hist_ply;
  c.searching = 1;
  think(c);
  c.searching = 0;
  analysis_complete = !state.abandoned;
  limits.infinite = false;
  limits.analysis = false;
  c.force_mode = 0;
}

}  // namespace

void cmd_new(chess& c, Tokens&) {
  start_position(c, start_fen);
  c.ponder_on = 0;
  c.game_over = 0;
  limits.analysis = false;
  c.searching = c.pondering = c.force_mode = c.ponder_search = 0;
  c.computer_side = BLACK;  // the engine plays Black
  c.move_number = -1;
  c.book_failures = 0;
  if (!c.book_on) out("mBookOn_flag false\n");
}

void cmd_setboard(chess& c, Tokens& t) {
  const char* f[4];
  for (auto& field : f) field = t.take();
  if (!*f[0] && !*f[1] && !*f[2] && !*f[3]) return;
  // The four fields joined with single blanks and a trailing blank; the
  // clock fields of a full FEN stay on the line and are skipped as unknown
  // words, so the position starts with counters 0 and move 1.
  char text[4 * XBOARD_LINE_SIZE + 8];
  std::snprintf(text, sizeof text, "%s %s %s %s ", f[0], f[1], f[2], f[3]);
  start_position(c, text);
  // Deliberate: after a setboard the engine waits in force mode for "go"
  // or a move.
  c.force_mode = 1;
  c.game_over = 0;
  print_board(c.pos);
}

void cmd_go(chess& c, Tokens&) {
  c.analyzing = 0;  // playing ends analysis mode
  c.computer_side = c.pos.side;
  resetSearch(c);
  c.searching = 1;
  c.force_mode = 0;
  const Move m = think(c);
  c.searching = 0;
  if (state.abandoned) return;  // a command took over: no move
  // Deliberate: "go" neither tests for the end of the game nor ponders.
  if (!m) return;
  play_engine_move(c, m);
  if (c.show_board) print_board(c.pos);
}

bool opponent_move(chess& c, const char* text) {
  board& b = c.pos;
  // The outcome is deliberately not checked: after a refused move the
  // engine still answers, in the unchanged position.
  play_text_move(c, text);
  c.pondering = 0;
  if (c.force_mode || c.analyzing) return true;
  if (state.best_score <= RESIGN_SCORE && b.hist_ply > RESIGN_MIN_PLY && b.fifty > RESIGN_MIN_FIFTY) {
    out(b.side == WHITE ? "0-1 {White resigns}\n" : "1-0 {Black resigns}\n");
    c.game_over = 1;
    return true;
  }
  c.game_over = checkGameEnd(c);
  if (c.game_over) return true;
  resetSearch(c);
  // Force mode for the length of the search: a move obeyed meanwhile is
  // played without starting another search.
  c.searching = 1;
  c.force_mode = 1;
  const Move m = think(c);
  c.searching = 0;
  // A command took over: no move. Force mode stays raised, as it was for
  // the whole search: a move that arrived meanwhile is played without an
  // answer, like every move after it until "go" or "new".
  if (state.abandoned) return false;
  c.force_mode = 0;
  if (play_engine_move(c, m)) c.game_over = checkGameEnd(c);
  return true;
}

void cmd_usermove(chess& c, Tokens& t) {
  const char* text = t.take();
  if (c.game_over) return;
  if (!opponent_move(c, text) || c.analyzing) return;
  // Deliberate: the engine ponders in force mode too, between the moves it
  // is given, when "hard" is in force.
  ponder_cycle(c);
}

void cmd_undo(chess& c, Tokens&) {
  board& b = c.pos;
  if (b.hist_ply <= 0) return;
  unmake(b, c.history_slot(b.hist_ply - 1));
  if (c.show_board) print_board(b);
  c.computer_side = -1;
}

void cmd_analyze(chess& c, Tokens&) {
  c.analyzing = 1;
  run_analysis(c);
}

void cmd_exit(chess& c, Tokens&) {
  state.stop_command = true;
  c.force_mode = 0;
  c.analyzing = 0;
  out("Analyze stopped\n");
}

// Only the search of the engine's own move ends for "?"; analysis, a test
// suite and pondering go on.
void cmd_move_now(chess& c, Tokens&) {
  if (c.searching && !c.pondering && !limits.analysis) state.stop_command = true;
}

void restart_analysis(chess& c) {
  // At the end of input the analysis is over: the loop returns next.
  if (!c.analyzing || c.has_deferred || input_at_eof()) return;
  if (analysis_complete && c.pos.key == analysed_key && c.pos.hist_ply == analysed_ply) return;
  run_analysis(c);
}

}  // namespace orvo

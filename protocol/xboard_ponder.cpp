// Pondering on the xboard side: after its move the engine searches the
// reply it expects, on the opponent's time. The ponder reader serves the
// input meanwhile; a hit turns the ponder search into the search for the
// engine's next move.
#include <cstdlib>
#include <cstring>

#include "position/makemove.h"
#include "position/movegen.h"
#include "protocol/input.h"
#include "protocol/movetext.h"
#include "protocol/output.h"
#include "protocol/xboard.h"
#include "protocol/xboard_internal.h"
#include "search/draws.h"
#include "search/search.h"

namespace orvo {

namespace {

// No pondering before the third ply of the game.
constexpr int PONDER_MIN_PLY = 3;

void copy_token(char* dst, const char* src) {
  size_t n = 0;
  for (; src[n] && n < XBOARD_LINE_SIZE - 1; ++n) dst[n] = src[n];
  dst[n] = 0;
}

bool same(const char* a, const char* b) { return std::strcmp(a, b) == 0; }

// Ends the ponder phase because the game ended.
void game_ended(chess& c) { c.ponder_on = 0; }

void ponder_phase(chess& c) {
  board& b = c.pos;
  if (b.hist_ply < PONDER_MIN_PLY) return;
  c.pondering = c.ponder_hit = 0;
  c.ponder_cancelled = 0;
  // The force mode the phase began in; the ponder search raises it.
  const u8 forced = c.force_mode;
  Move reply = state.expected_reply;
  while (reply) {
    // The expected reply comes from the last search, which may have been
    // in another position (an earlier game, a set-up): make trusts its move
    // word, so only a move generated here may reach it.
    if (!is_generated(b, reply)) return;
    // Made into the game-history slot of its ply: on a hit it stays as the
    // opponent's move, and "undo" can take it back like any other.
    undo& u = c.history_slot(b.hist_ply);
    if (!make(b, reply, u)) return;
    move_to_text(reply, c.ponder_move_text);
    // A "time" or move caught now belongs to this reply only.
    c.pending_time[0] = c.pending_move[0] = 0;

    resetSearch(c);
    c.force_mode = 1;
    limits.infinite = true;
    c.ponder_search = c.pondering = c.searching = 1;
    c.ponder_hit = c.ponder_interrupted = 0;
    const Move best = think(c);
    c.searching = c.ponder_search = 0;
    limits.infinite = false;
    // Restored rather than cleared: a phase that began in force mode must
    // not leave the engine answering the moves it is given.
    c.force_mode = forced;

    // The search ended by itself: wait for the line that decides. (Also
    // when input is waiting already: that input is the opponent's move.)
    if (!c.ponder_interrupted && !c.ponder_cancelled && !c.game_over) ponder_reader(c, true);
    if (!c.ponder_hit || c.game_over || c.ponder_cancelled) {
      // The opponent did not play the reply (or no move came at all): take
      // it back, so that the game board holds the real game.
      unmake(b, u);
      if (c.game_over) game_ended(c);
      if (c.ponder_cancelled) c.pondering = 0;
      return;
    }

    // A hit. The reply stays on the board as the opponent's move.
    if (state.abandoned || forced) {
      // A command took the search over after the hit; or the engine is in
      // force mode, where it plays no move of its own.
      c.pondering = 0;
      return;
    }
    c.game_over = checkGameEnd(c);
    if (c.game_over) return game_ended(c);
    if (best && is_generated(b, best) && make(b, best, c.history_slot(b.hist_ply))) {
      char text[8];
      move_to_text(best, text);
      send_line("move %s", text);
    }
    c.game_over = checkGameEnd(c);
    if (c.game_over) return game_ended(c);
    reply = state.expected_reply;
    c.pondering = c.ponder_hit = c.ponder_interrupted = 0;
  }
}

}  // namespace

bool ponder_reader(chess& c, bool wait) {
  char line[XBOARD_LINE_SIZE];
  while (wait || input_available()) {
    if (!read_command_line(line)) {
      // The front end has gone: end as "quit" does.
      c.game_over = c.quit_requested = 1;
      return true;
    }
    if (!line[0]) return false;
    Tokens t(line);
    while (t.next < t.count) {
      const int at = t.next;
      const char* word = t.word[t.next++];
      if (same(word, "result")) {
        c.game_over = 1;
        return true;
      }
      if (same(word, "quit")) {
        c.game_over = c.quit_requested = 1;
        return true;
      }
      if (same(word, "time")) {
        copy_token(c.pending_time, t.take());
        // Deliberate: the scan goes on two tokens further, so the token
        // after the argument is skipped as well.
        t.take();
        continue;
      }
      if (same(word, "usermove")) {
        copy_token(c.pending_move, t.take());
        limits.infinite = false;  // from now on the search runs on the clock
        if (!same(c.pending_move, c.ponder_move_text)) {
          c.ponder_interrupted = 1;
          return true;
        }
        c.ponder_hit = 1;
        c.pondering = 0;
        c.ponder_interrupted = 1;
        // Not in the original design: the clock that came with the move
        // sets the limits of the search that now goes on; the limits of the
        // move before would let a run of hits spend more than the clock.
        if (c.pending_time[0]) {
          apply_time(c, c.pending_time, c.pos.hist_ply - 1);
          // The stop the old limits may have called while the search was
          // pondering (where it could not end it) is theirs: the new limits
          // decide afresh, counting the time pondered as time spent.
          state.stop = false;
        }
        return false;
      }
      // Not in the original design, where every other word was ignored: a
      // command that changes the game or stops pondering ends the phase,
      // and the command loop obeys it.
      const Command* cmd = find_command(word);
      if (cmd && cmd->ends_ponder) {
        defer_tokens(c, t, at);
        c.ponder_cancelled = 1;
        return true;
      }
    }
  }
  return false;
}

void ponder_cycle(chess& c) {
  while (!c.game_over && c.ponder_on) {
    ponder_phase(c);
    if (c.quit_requested) std::exit(0);
    if (!c.ponder_on || !c.pondering) return;
    // The opponent played another move than the reply pondered on (the
    // book-move flag does not matter here: that move must be played
    // whatever the last search was). No move at all: nothing to play.
    if (c.ponder_hit || !c.pending_move[0]) return;
    if (c.pending_time[0]) apply_time(c, c.pending_time, c.pos.hist_ply);
    if (c.game_over) return;
    char move[XBOARD_LINE_SIZE];
    copy_token(move, c.pending_move);
    if (!opponent_move(c, move)) return;
  }
}

}  // namespace orvo

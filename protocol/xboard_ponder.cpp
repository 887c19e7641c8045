// Pondering on the xboard side: after its move the engine searches the
// reply it expects, on the opponent's time. The ponder reader serves the
// input meanwhile; a hit turns the ponder search into the search for the
// engine's next move.
#include <cstring>

#include "io/input.h"
#include "io/movetext.h"
#include "io/output.h"
#include "position/makemove.h"
#include "position/movegen.h"
#include "protocol/xboard.h"
#include "protocol/xboard_internal.h"

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
void game_ended(Xboard& x) { x.ponder_on = 0; }

void ponder_phase(Xboard& x) {
  board& b = x.game.pos;
  Search& s = x.search;
  if (b.hist_ply < PONDER_MIN_PLY) return;
  x.pondering = x.ponder_hit = 0;
  x.ponder_cancelled = 0;
  // The force mode the phase began in; the ponder search raises it.
  const u8 forced = x.force_mode;
  Move reply = s.state.expected_reply;
  while (reply) {
    // The expected reply comes from the last search, which may have been
    // in another position (an earlier game, a set-up): make trusts its move
    // word, so only a move generated here may reach it.
    if (!is_generated(b, reply)) return;
    // Made into the game-history slot of its ply: on a hit it stays as the
    // opponent's move, and "undo" can take it back like any other.
    undo& u = x.game.history_slot(b.hist_ply);
    if (!make(b, reply, u)) return;
    move_to_text(reply, x.ponder_move_text);
    // A "time" or move caught now belongs to this reply only.
    x.pending_time[0] = x.pending_move[0] = 0;

    s.reset(false);
    x.force_mode = 1;
    s.limits.infinite = true;
    x.ponder_search = x.pondering = x.searching = 1;
    x.ponder_hit = x.ponder_interrupted = 0;
    const Move best = s.think(b);
    x.searching = x.ponder_search = 0;
    s.limits.infinite = false;
    // Restored rather than cleared: a phase that began in force mode must
    // not leave the engine answering the moves it is given.
    x.force_mode = forced;

    // The search ended by itself: wait for the line that decides. (Also
    // when input is waiting already: that input is the opponent's move.)
    if (!x.ponder_interrupted && !x.ponder_cancelled && !x.game_over) x.ponder_reader(true);
    if (!x.ponder_hit || x.game_over || x.ponder_cancelled) {
      // The opponent did not play the reply (or no move came at all): take
      // it back, so that the game board holds the real game.
      unmake(b, u);
      if (x.game_over) game_ended(x);
      if (x.ponder_cancelled) x.pondering = 0;
      return;
    }

    // A hit. The reply stays on the board as the opponent's move.
    if (s.state.abandoned || forced) {
      // A command took the search over after the hit; or the engine is in
      // force mode, where it plays no move of its own.
      x.pondering = 0;
      return;
    }
    x.game_over = check_game_end(x);
    if (x.game_over) return game_ended(x);
    if (best) play_engine_move(x, best);
    x.game_over = check_game_end(x);
    if (x.game_over) return game_ended(x);
    reply = s.state.expected_reply;
    x.pondering = x.ponder_hit = x.ponder_interrupted = 0;
  }
}

}  // namespace

bool Xboard::ponder_reader(bool wait) {
  char line[XBOARD_LINE_SIZE];
  while (wait || input_available()) {
    if (!read_command_line(*this, line)) {
      // The front end has gone: end as "quit" does.
      game_over = quit_requested = 1;
      return true;
    }
    if (!line[0]) return false;
    Tokens t(line);
    while (t.next < t.count) {
      const int at = t.next;
      const char* word = t.word[t.next++];
      if (same(word, "result")) {
        game_over = 1;
        return true;
      }
      if (same(word, "quit")) {
        game_over = quit_requested = 1;
        return true;
      }
      if (same(word, "time")) {
        copy_token(pending_time, t.take());
        // Deliberate: the scan goes on two tokens further, so the token
        // after the argument is skipped as well.
        t.take();
        continue;
      }
      if (same(word, "usermove")) {
        copy_token(pending_move, t.take());
        search.limits.infinite = false;  // from now on the search runs on the clock
        if (!same(pending_move, ponder_move_text)) {
          ponder_interrupted = 1;
          return true;
        }
        ponder_hit = 1;
        pondering = 0;
        ponder_interrupted = 1;
        // Not in the original design: the clock that came with the move
        // sets the limits of the search that now goes on; the limits of the
        // move before would let a run of hits spend more than the clock.
        if (pending_time[0]) {
          apply_time(*this, pending_time, game.pos.hist_ply - 1);
          // The stop the old limits may have called while the search was
          // pondering (where it could not end it) is theirs: the new limits
          // decide afresh, counting the time pondered as time spent.
          search.state.stop = false;
        }
        return false;
      }
      // Not in the original design, where every other word was ignored: a
      // command that changes the game or stops pondering ends the phase,
      // and the command loop obeys it.
      const Command* cmd = find_command(word);
      if (cmd && cmd->ends_ponder) {
        defer_tokens(*this, t, at);
        ponder_cancelled = 1;
        return true;
      }
    }
  }
  return false;
}

void ponder_cycle(Xboard& x) {
  while (!x.game_over && x.ponder_on) {
    ponder_phase(x);
    if (x.quit_requested) {
      // "quit" or the end of the input while pondering: the program ends
      // without a word.
      x.quitting = true;
      return;
    }
    if (!x.ponder_on || !x.pondering) return;
    // The opponent played another move than the reply pondered on (the
    // book-move flag does not matter here: that move must be played
    // whatever the last search was). No move at all: nothing to play.
    if (x.ponder_hit || !x.pending_move[0]) return;
    if (x.pending_time[0]) apply_time(x, x.pending_time, x.game.pos.hist_ply);
    if (x.game_over) return;
    char move[XBOARD_LINE_SIZE];
    copy_token(move, x.pending_move);
    if (!opponent_move(x, move)) return;
  }
}

}  // namespace orvo

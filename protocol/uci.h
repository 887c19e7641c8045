// The UCI side: handshake, options, the line handler that serves both the
// idle engine and the running search (it is the search's listener), and
// the "go", "position" and "bestmove" work.
#pragma once
#include "protocol/core.h"
#include "search/listener.h"

namespace orvo {

// Longest line read at once; the rest of a longer line arrives as a line
// of its own.
constexpr int UCI_LINE_SIZE = 65536;
constexpr int UCI_OPTION_VALUE_SIZE = 256;

class Uci final : public SearchListener {
 public:
  explicit Uci(Core& core);
  ~Uci() override;

  // Handshake ("id", "option" lines, "uciok"), then one line after another
  // until "quit" or the end of input.
  LoopEnd run();
  // Everything of the handshake: flags, limits, the start position, option
  // defaults and the reply lines.
  void handshake();
  // Reads one line and obeys it. The end of input ends the loop (status
  // 0); a read error too, with its message and status 1.
  void handle_line();
  // Obeys one line (newline already removed). The line may be changed.
  void execute(char* line);

  // The once-only engine set-up, run at the first "isready" or "go".
  void engine_init();
  bool engine_ready() const { return engine_ready_; }

  // "go": limits, search, and the move (held back after "go infinite" and
  // "go ponder" until "stop" or "ponderhit").
  void go(const char* line);
  // The limits part of "go": reads the words, resets the search and fills
  // its limits. Returns true when "infinite" or "ponder" was given.
  bool set_limits(const char* line);
  // "position [startpos | fen <fen>] [moves <m1> ...]". The line may be cut.
  void position(char* line);
  // The final "info time ..." line and "bestmove <move> [ponder <move>]".
  void send_bestmove();

  // Options: false for an unknown name. The value is copied (at most 255
  // characters).
  bool option_set(const char* name, const char* value);
  // "true", "yes" and "1" are true; anything else, or an unknown name, false.
  bool option_is_true(const char* name) const;
  // The current value, or nullptr for an unknown name.
  const char* option_value(const char* name) const;
  // Every option back to its default.
  void options_reset();

  // What the search says, as UCI wants it.
  void search_started(const Search& s) override;
  bool book_move(const Search& s, const Move* moves, int count, Move& out) override;
  void root_move(const Search& s) override;
  void new_best(const Search& s) override;
  void lines_done(const Search& s, int depth) override;
  void iteration_done(const Search& s, int depth) override;
  void progress(const Search& s) override;
  bool keep_searching(Search& s) override;

  Core& core;
  Search& search;

  // A search started by "go" runs; it was "go infinite" or "go ponder";
  // such a search has ended and its move waits for "stop" or "ponderhit".
  u8 searching = 0, ponder_search = 0, bestmove_owed = 0;
  u8 book_on = 0;
  // The loop ends: "quit", the end of input or a read error.
  bool quitting = false;
  int exit_status = 0;

  struct Option {
    const char* name;
    int visible;
    const char* default_value;
    const char* type;
    const char* range;  // may be empty
    char value[UCI_OPTION_VALUE_SIZE];
    // The additions' numbers are held to their range when set, and text
    // that is no number leaves the value as it was; the original four keep
    // whatever text they are given.
    bool bounded;
    int min, max;
  };
  static constexpr int OPTION_COUNT = 7;
  Option options[OPTION_COUNT];
  // The value of a bounded option as a number.
  int option_number(const char* name) const;

 private:
  // One "info ... pv" line; multipv 0 leaves the line's number out.
  void send_pv(const Search& s, int depth, int score, int bound, const Move* pv, int multipv);
  Option* find_option(const char* name);
  const Option* find_option(const char* name) const;
  bool busy() const { return searching || bestmove_owed; }

  bool engine_ready_ = false;
  // Elapsed time of the last periodic "info" line of the running search.
  double last_info_ = 0;

  friend struct UciCommands;
};

}  // namespace orvo

// The xboard (CECP) side: its state, the command loop, and what it says of
// a search (it is the search's listener while it runs).
#pragma once
#include <memory>

#include "eval/eval.h"
#include "protocol/core.h"
#include "search/listener.h"

namespace orvo {

class EpdRunner;

// Longest xboard command line read at once, terminator included; a longer
// line arrives in pieces.
constexpr int XBOARD_LINE_SIZE = 256;

class Xboard final : public SearchListener {
 public:
  explicit Xboard(Core& core);
  ~Xboard() override;

  // Reads the settings, opens the book, sizes the table and loads the
  // bitbases the first time; resets the protocol state every time.
  void init();
  // Reads and obeys lines until the input ends, an empty line arrives or
  // "quit" ends the program.
  LoopEnd loop();
  // Obeys the commands of one line (without its newline); the line is
  // split in place.
  void execute(char* line);
  // Reads input while the engine ponders: true when the ponder search must
  // be given up at once. Without `wait` it reads only what is waiting; with
  // it, it waits for the line that decides.
  bool ponder_reader(bool wait);

  // What the search says, as xboard wants it.
  void search_started(const Search& s) override;
  bool book_move(const Search& s, const Move* moves, int count, Move& out) override;
  void new_best(const Search& s) override;
  bool keep_searching(Search& s) override;

  Core& core;
  Game& game;
  Search& search;
  // The "eval" command's own evaluator: it may run while a search runs.
  Evaluator evaluator;
  // Test suites ("test N"); made when first used.
  std::unique_ptr<EpdRunner> epd;
  // The deepest perft the command walks (a fuzz target lowers it).
  int perft_limit;

  // Engine flags. force_mode is also raised while the engine's own search
  // runs (a move obeyed meanwhile is played without starting another one).
  u8 searching = 0, force_mode = 0, ponder_search = 0, pondering = 0, ponder_hit = 0, ponder_interrupted = 0;
  // The expected reply being pondered on, in coordinate notation.
  char ponder_move_text[8] = {};
  i32 computer_side = -1;
  i32 move_number = -1;  // full-move number computed by "time"; -1 after "new"
  u8 ponder_on = 0, post_on = 1, show_board = 0, game_over = 0, quit_requested = 0, book_on = 0;
  // What the ponder reader caught: the last "usermove" and "time" arguments.
  char pending_move[XBOARD_LINE_SIZE] = {};
  char pending_time[XBOARD_LINE_SIZE] = {};
  // Analysis mode lasts from "analyze" to "exit"; moves, "undo", "new" and
  // "setboard" given meanwhile restart the analysis in the new position.
  u8 analyzing = 0;
  // The position the last analysis search ran on, and whether it ran to
  // its end; analysis mode starts it again only when either changed.
  u64 analysed_key = 0;
  int analysed_ply = -1;
  bool analysis_complete = false;
  // The rest of a line whose command ended a running search or the ponder
  // phase; the command loop obeys it before it reads on.
  u8 has_deferred = 0;
  char deferred[XBOARD_LINE_SIZE] = {};
  // The ponder reader met a command that ends the ponder phase.
  u8 ponder_cancelled = 0;
  // The "test" command is running an EPD suite.
  u8 running_suite = 0;
  // "quit" arrived (or the ponder reader met it): the loop returns.
  bool quitting = false;
  // The last piece of input read ended without a newline: the line goes on.
  bool in_long_line = false;

 private:
  bool initialised_ = false;
};

}  // namespace orvo

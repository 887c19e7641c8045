// The one engine object: the game position and its history, the search's
// ordering tables and principal variation, and the protocols' state. It
// lives from start-up to exit.
#pragma once
#include <memory>

#include "book/record_table.h"
#include "position/board.h"
#include "position/makemove.h"
#include "position/movegen.h"

namespace orvo {

constexpr const char* ORVO_VERSION = "2.14a_x64";

// Longest xboard command line read at once, terminator included; a longer
// line arrives in pieces.
constexpr int XBOARD_LINE_SIZE = 256;

class chess {
 public:
  chess();
  virtual ~chess();
  chess(const chess&) = delete;
  chess& operator=(const chess&) = delete;

  board pos;
  movegen gen;
  undo game_history[KEY_HISTORY_SIZE];

  // Search: killers and history (move ordering), the picker's phase table,
  // the root depth in plies and the principal variation (0-terminated; the
  // slot past the last usable one stays 0).
  Move killers[64][2];
  i32 history[2][64][64];
  i32 phase_table[8];
  i32 evasion_start, normal_start;
  i32 root_depth;
  Move pv[65];

  // Protocol mode: set together by main_loop.
  u8 uci_mode, xboard_mode;

  // Engine flags shared by the protocols and the search's input poll.
  // force_mode doubles as UCI's "bestmove owed" flag.
  u8 searching, force_mode, ponder_search, pondering, ponder_hit, ponder_interrupted;

  // Installed by the protocol in charge: obeys one waiting command while a
  // search runs (or, for xboard, enters the command loop in place). Returns
  // true when the search must be abandoned at once. None: input is left
  // alone during a search.
  bool (*poll_input)(chess&) = nullptr;

  // xboard state. ponder_move_text: the expected reply being pondered on,
  // in coordinate notation.
  char ponder_move_text[8];
  i32 computer_side;
  i32 move_number;  // full-move number computed by "time"; -1 after "new"
  u8 ponder_on, post_on, show_board, game_over, quit_requested, book_on;
  // What the ponder reader caught: the last "usermove" and "time" arguments.
  char pending_move[XBOARD_LINE_SIZE];
  char pending_time[XBOARD_LINE_SIZE];
  // Analysis mode lasts from "analyze" to "exit"; moves, "undo", "new" and
  // "setboard" given meanwhile restart the analysis in the new position.
  u8 analyzing;
  // The rest of a line whose command ended a running search or the ponder
  // phase; the command loop obeys it before it reads on.
  u8 has_deferred;
  char deferred[XBOARD_LINE_SIZE];
  // The ponder reader met a command that ends the ponder phase.
  u8 ponder_cancelled;
  // The "test" command is running an EPD suite.
  u8 running_suite;

  // The game history slot of a ply. Indexed modulo its size like the key
  // history, so a game of any length stays inside it.
  undo& history_slot(int ply) { return game_history[ply & (KEY_HISTORY_SIZE - 1)]; }

  // Opening book: the first record of every key of the book file, null
  // while no book is open; the file's whole records; failed probes since
  // the last new game.
  std::unique_ptr<RecordTable> book_table;
  u32 book_records;
  u32 book_failures;
};

}  // namespace orvo

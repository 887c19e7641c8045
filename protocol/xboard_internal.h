// Shared by the xboard side's files: the tokens of a command line, the
// line reader, and the commands that the game flow and the ponder cycle
// run on their own.
#pragma once
#include "protocol/xboard.h"

namespace orvo {

constexpr int XBOARD_MAX_TOKENS = XBOARD_LINE_SIZE / 2 + 1;

// The tokens of one line, split in place at blanks, tabs and newlines. A
// command that wants an argument past the end gets an empty string.
struct Tokens {
  char* word[XBOARD_MAX_TOKENS];
  int count = 0;
  int next = 0;

  explicit Tokens(char* line);
  const char* take() { return next < count ? word[next++] : (++next, ""); }
};

// Reads one command line into line (XBOARD_LINE_SIZE bytes): at most 255
// characters, of which the last is removed (the newline, or the last
// character of a piece of a longer line). False at end of input.
bool read_command_line(Xboard& x, char* line);

// Keeps the tokens of t from index `from` on, to be obeyed by the command
// loop once the running search has been given up.
void defer_tokens(Xboard& x, const Tokens& t, int from);

// What a command does while a search of the engine runs.
enum class DuringSearch {
  obey,       // at once; the search goes on
  take_over,  // the search is given up without a move, then the command runs
};

struct Command {
  const char* name;
  void (*run)(Xboard&, Tokens&);
  DuringSearch during_search;
  bool ends_ponder;  // the ponder phase ends for it (the ponder reader knows
                     // only "usermove", "time", "result" and "quit" itself)
};
// The command of that name, or nullptr.
const Command* find_command(const char* name);

// Game flow (xboard_game.cpp).
void cmd_new(Xboard& x, Tokens& t);
void cmd_setboard(Xboard& x, Tokens& t);
void cmd_go(Xboard& x, Tokens& t);
void cmd_usermove(Xboard& x, Tokens& t);
void cmd_undo(Xboard& x, Tokens& t);
void cmd_analyze(Xboard& x, Tokens& t);
void cmd_exit(Xboard& x, Tokens& t);
void cmd_move_now(Xboard& x, Tokens& t);
// Starts the analysis search again after the position changed (or a command
// cut the last one short). Runs only while analysis mode lasts.
void restart_analysis(Xboard& x);
// The opponent's move and the engine's answer: play the text, then resign,
// detect the end of the game or search and answer with "move". False when
// a command took the search over (no move was sent).
bool opponent_move(Xboard& x, const char* text);

// Game end (xboard_game.cpp): the result line of a finished game, printed;
// true when the game is over (also when it was already).
bool check_game_end(Xboard& x);
// Makes the engine's move on the game board and sends it; false when there
// is none or make refuses it.
bool play_engine_move(Xboard& x, Move m);

// Clock commands (xboard_clock.cpp).
void cmd_level(Xboard& x, Tokens& t);
void cmd_time(Xboard& x, Tokens& t);
void cmd_sd(Xboard& x, Tokens& t);
void cmd_st(Xboard& x, Tokens& t);
// "time" with the engine's clock in centiseconds, for the game at ply.
void apply_time(Xboard& x, const char* centiseconds, int ply);

// Pondering (xboard_ponder.cpp): the cycle that follows the engine's move
// while "hard" is in force.
void ponder_cycle(Xboard& x);

}  // namespace orvo

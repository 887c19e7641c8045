// The UCI side: handshake, options, the line handler that serves both the
// idle engine and the search's input poll, and the "go", "position" and
// "bestmove" work.
#pragma once

namespace orvo {

class chess;

// Longest line read at once; the rest of a longer line arrives as a line
// of its own.
constexpr int UCI_LINE_SIZE = 65536;

// Handshake ("id", "option" lines, "uciok"), then one line after another
// for ever.
[[noreturn]] void uci_start(chess& c);
// Everything of the handshake except the endless loop: flags, limits, the
// start position, option defaults and the reply lines. Installs the input
// hook of the search.
void uci_handshake(chess& c);

// Reads one line from standard input and obeys it. End of input ends the
// process with status 0; a read error is fatal.
void uci_handle_line(chess& c);
// Obeys one line (newline already removed). The line may be changed.
void uci_execute(chess& c, char* line);

// The once-only engine set-up, run at the first "isready" or "go".
void uci_engine_init(chess& c);
bool uci_engine_ready();

// "go": limits, search, and the move (held back after "go infinite" and
// "go ponder" until "stop" or "ponderhit").
void uci_go(chess& c, const char* line);
// The limits part of "go": reads the words, resets the search and fills
// its limits. Returns true when "infinite" or "ponder" was given.
bool uci_set_limits(chess& c, const char* line);
// "position [startpos | fen <fen>] [moves <m1> ...]". The line may be cut.
void uci_position(chess& c, char* line);
// The final "info time ..." line and "bestmove <move> [ponder <move>]".
void uci_send_bestmove(chess& c);

// Options: false for an unknown name. The value is copied (at most 255
// characters).
bool option_set(const char* name, const char* value);
// "true", "yes" and "1" are true; anything else, or an unknown name, false.
bool option_is_true(const char* name);
// The current value, or nullptr for an unknown name.
const char* option_value(const char* name);
// Every option back to its default.
void options_reset();

}  // namespace orvo

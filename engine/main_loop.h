// Start-up's command front end: the first lines choose the protocol.
#pragma once
#include "protocol/core.h"

namespace orvo {

class chess;

// Reads lines until the input ends, a protocol loop has run, or the book
// builder has; returns the program's exit status.
int main_loop(chess& c);
// Handles one line (without its newline). Returns true when the program
// is to end (a protocol loop ended, the book was built, "quit"), with the
// status in `status`.
bool do_command(chess& c, const char* line, int& status);

}  // namespace orvo

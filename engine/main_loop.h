// Start-up's command front end: the first lines choose the protocol.
#pragma once

namespace orvo {

class chess;

// Reads lines until the input ends; never returns.
[[noreturn]] void main_loop(chess& c);
// Handles one line (without its newline).
void do_command(chess& c, const char* line);

}  // namespace orvo

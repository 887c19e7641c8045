// The xboard (CECP) side: initialisation and the command loop.
#pragma once

namespace orvo {

class chess;

void xboard_init(chess& c);
// Reads and obeys lines until the input ends or an empty line arrives.
void xboard_loop(chess& c);
// Obeys the commands of one line (without its newline); the line is split
// in place.
void xboard_execute(chess& c, char* line);

}  // namespace orvo

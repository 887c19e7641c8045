// Output. Every text leaves through the channel in use (io/channel.h) in
// one write, so a front end that reads the pipe without buffering never
// sees half a line.
#pragma once
#include <cstddef>

namespace orvo {

class board;

// Largest text of one call, terminator included; longer text is cut.
constexpr int OUTPUT_BUFFER_SIZE = 4096;

// Formats into a 4096-character buffer (longer text is cut) and writes it
// with one newline to standard output.
void send_line(const char* format, ...) __attribute__((format(printf, 1, 2)));
// printf to standard output, the text written at once; the caller supplies
// any newline.
void out(const char* format, ...) __attribute__((format(printf, 1, 2)));
// Writes n bytes to standard output in one write.
void write_stdout(const char* text, size_t n);
// printf to standard error.
void err(const char* format, ...) __attribute__((format(printf, 1, 2)));
// Writes the message of an error that ends the engine to standard error.
// The caller then returns to main with exit status 1: only main ends the
// process.
void fatal(const char* format, ...) __attribute__((format(printf, 1, 2)));

// True when standard error is a channel of its own: anything but the very
// pipe or socket that standard output writes to. A terminal or a log file
// shared by both still counts as its own channel.
bool stderr_is_own_channel();

// The board diagram of position/fen.h, on standard output.
void print_board(const board& b);

}  // namespace orvo

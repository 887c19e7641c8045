// Protocol output: one formatted line with its newline, and the fatal-error
// exit.
#pragma once

namespace orvo {

// Formats into a 4096-character buffer (longer text is cut) and writes it
// with one newline to standard output.
void send_line(const char* format, ...) __attribute__((format(printf, 1, 2)));
// Writes the message to standard error and ends the process with status 1.
[[noreturn]] void fatal(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace orvo

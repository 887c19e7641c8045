#include "io/output.h"

#include <cstdarg>
#include <cstdio>

#include "io/channel.h"
#include "position/fen.h"

namespace orvo {

namespace {

// vsnprintf into buf; the length written, bounded by the buffer.
size_t format_into(char* buf, size_t cap, const char* format, va_list args) {
  const int n = std::vsnprintf(buf, cap, format, args);
  if (n < 0) return 0;
  return size_t(n) < cap ? size_t(n) : cap - 1;
}

}  // namespace

void write_stdout(const char* text, size_t n) { channel().write_out(text, n); }

void send_line(const char* format, ...) {
  char text[OUTPUT_BUFFER_SIZE + 1];
  va_list args;
  va_start(args, format);
  size_t n = format_into(text, OUTPUT_BUFFER_SIZE, format, args);
  va_end(args);
  text[n++] = '\n';
  write_stdout(text, n);
}

void out(const char* format, ...) {
  char text[OUTPUT_BUFFER_SIZE];
  va_list args;
  va_start(args, format);
  const size_t n = format_into(text, sizeof text, format, args);
  va_end(args);
  write_stdout(text, n);
}

void err(const char* format, ...) {
  char text[OUTPUT_BUFFER_SIZE];
  va_list args;
  va_start(args, format);
  const size_t n = format_into(text, sizeof text, format, args);
  va_end(args);
  channel().write_err(text, n);
}

void fatal(const char* format, ...) {
  char text[OUTPUT_BUFFER_SIZE];
  va_list args;
  va_start(args, format);
  const size_t n = format_into(text, sizeof text, format, args);
  va_end(args);
  channel().write_err(text, n);
}

bool stderr_is_own_channel() { return channel().err_is_own_channel(); }

void print_board(const board& b) {
  char text[BOARD_TEXT_SIZE];
  format_board(b, text);
  out("%s", text);
}

}  // namespace orvo

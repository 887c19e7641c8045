#include "protocol/output.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace orvo {

void send_line(const char* format, ...) {
  char text[4096];
  va_list args;
  va_start(args, format);
  std::vsnprintf(text, sizeof text, format, args);
  va_end(args);
  std::printf("%s\n", text);
}

void fatal(const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::vfprintf(stderr, format, args);
  va_end(args);
  std::fflush(stderr);
  std::exit(1);
}

}  // namespace orvo

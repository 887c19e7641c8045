#include "io/numbers.h"

#include <climits>

namespace orvo {

namespace {

bool is_space(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }
bool is_digit(char c) { return c >= '0' && c <= '9'; }

// One integer at p; advances p past it. False (p unchanged) without digits.
bool read_one(const char*& p, int& value) {
  const char* q = p;
  while (is_space(*q)) ++q;
  bool negative = false;
  if (*q == '+' || *q == '-') negative = *q++ == '-';
  if (!is_digit(*q)) return false;
  long long v = 0;
  for (; is_digit(*q); ++q)
    if (v <= INT_MAX) v = v * 10 + (*q - '0');  // beyond the range: stays clamped
  if (negative) v = -v;
  value = v > INT_MAX ? INT_MAX : v < INT_MIN ? INT_MIN : int(v);
  p = q;
  return true;
}

}  // namespace

int read_int(const char* text) {
  int value = 0;
  return read_one(text, value) ? value : 0;
}

int scan_ints(const char* text, int* out, int count) {
  int n = 0;
  while (n < count && read_one(text, out[n])) ++n;
  return n;
}

}  // namespace orvo

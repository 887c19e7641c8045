#include "tools/ini.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "io/numbers.h"
#include "io/output.h"

namespace orvo {

namespace {

constexpr int LINE_SIZE = 128;
constexpr int KEY_LENGTH = 9;
constexpr int VALUE_OFFSET = 10;  // one separator character after the key

// Copies the first white-space-delimited word of value into path, at most
// PATH_SIZE - 1 characters. No word leaves the path as it was.
void copy_first_word(char* path, const char* value) {
  while (*value == ' ' || *value == '\t' || *value == '\n' || *value == '\r' ||
         *value == '\v' || *value == '\f')
    ++value;
  if (!*value) return;
  int n = 0;
  while (value[n] && value[n] != ' ' && value[n] != '\t' && value[n] != '\n' &&
         value[n] != '\r' && value[n] != '\v' && value[n] != '\f' && n < PATH_SIZE - 1) {
    path[n] = value[n];
    ++n;
  }
  path[n] = 0;
}

// A value that starts with a number (after blanks and a sign).
bool has_number(const char* value) {
  while (*value == ' ' || *value == '\t') ++value;
  if (*value == '+' || *value == '-') ++value;
  return *value >= '0' && *value <= '9';
}

int clamp(int v, int low, int high) { return v < low ? low : v > high ? high : v; }

}  // namespace

bool read_ini(Settings& settings) {
  settings.hash_size = HASH_SIZE_DEFAULT;
  settings.threads = THREADS_DEFAULT;
  settings.move_overhead_ms = MOVE_OVERHEAD_DEFAULT_MS;
  std::FILE* f = std::fopen(INI_FILE_NAME, "r");
  if (!f) {
    // Deliberately left out when standard error is the pipe of standard
    // output: front ends that read both on one pipe (xboard among them)
    // take any line with "not found" for a failed engine start.
    if (stderr_is_own_channel()) err("\"%s\" not found.\n\n", INI_FILE_NAME);
    return false;
  }
  char line[LINE_SIZE];
  // A line longer than 127 characters comes in pieces, each read as a line.
  while (std::fgets(line, sizeof line, f)) {
    if (line[0] == '#') continue;
    // Key and value are told apart by position: nine key characters, one
    // separator of any kind, then the value.
    const char* value = std::strlen(line) >= size_t(VALUE_OFFSET) ? line + VALUE_OFFSET : "";
    if (std::strncmp(line, "hash_size", KEY_LENGTH) == 0) {
      const int mb = std::atoi(value);
      if (mb >= 8 && mb <= 512) settings.hash_size = mb;
    } else if (std::strncmp(line, "egbb_path", KEY_LENGTH) == 0) {
      copy_first_word(settings.egbb_path, value);
      out("egbb: %s\n", settings.egbb_path);
    } else if (std::strncmp(line, "n_threads", KEY_LENGTH) == 0) {
      // Not in the original file: an addition, held to its range.
      if (has_number(value)) settings.threads = clamp(read_int(value), THREADS_DEFAULT, THREADS_MAX);
    } else if (std::strncmp(line, "overheads", KEY_LENGTH) == 0) {
      if (has_number(value)) settings.move_overhead_ms = clamp(read_int(value), 0, MOVE_OVERHEAD_MAX_MS);
    } else if (std::strncmp(line, "book_path", KEY_LENGTH) == 0) {
      copy_first_word(settings.book_path, value);
      out("opening database: %s\n", settings.book_path);
    }
  }
  std::fclose(f);
  return true;
}

}  // namespace orvo

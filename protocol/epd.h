// The EPD test-suite runner behind the xboard command "test N": reads one
// of nine suites, searches every position with the limits in force ("st",
// "sd"), and counts the positions where the engine found a best move
// ("bm") or kept clear of the moves to avoid ("am").
#pragma once

namespace orvo {

class Xboard;

constexpr int EPD_SUITE_COUNT = 9;
constexpr int EPD_MAX_LINES = 1025;
constexpr int EPD_LINE_SIZE = 256;
constexpr int EPD_MAX_MOVES = 32;

// The path of suite n (1..9): <suite directory>/suite<n>.epd, the
// directory being fixed when Orvo is built.
const char* epd_suite_path(int n);

class EpdRunner {
 public:
  // Reads the file's lines (echoing each); returns how many were stored,
  // or -1 when the file cannot be read (after its message: the program
  // then ends).
  int read(const char* path);
  // Runs the stored lines on the xboard side's game and search, and prints
  // the summary. Stops early when a command takes a search over.
  void run(Xboard& x);

 private:
  // The lines of the last suite read; the last one stored is the empty
  // read that met the end of the file.
  char lines_[EPD_MAX_LINES][EPD_LINE_SIZE];
  int line_count_ = 0;
};

}  // namespace orvo

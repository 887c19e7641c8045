#include "protocol/epd.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "io/movetext.h"
#include "io/output.h"
#include "position/fen.h"
#include "protocol/xboard.h"

#ifndef ORVO_EPD_DIR
#define ORVO_EPD_DIR "/usr/local/share/orvo/epd"
#endif

namespace orvo {

namespace {

constexpr int EPD_WORD_SIZE = 81;      // at most 80 characters a word
constexpr int EPD_FEN_FIELDS = 4;      // the position ends at its fourth blank

// Copies up to (not including) the n-th blank of text, at most cap - 1
// characters; returns where the copy stopped in text.
const char* copy_fields(const char* text, int n, char* out, int cap) {
  int blanks = 0, k = 0;
  const char* p = text;
  for (; *p; ++p) {
    if (*p == ' ' && ++blanks == n) break;
    if (k < cap - 1) out[k++] = *p;
  }
  out[k] = 0;
  return p;
}

// The next word of p (ends at a blank; runs of blanks are skipped), at most
// 80 characters; false at the end of the line.
bool next_word(const char*& p, char* word) {
  while (*p == ' ') ++p;
  if (!*p) return false;
  int k = 0;
  for (; *p && *p != ' '; ++p)
    if (k < EPD_WORD_SIZE - 1) word[k++] = *p;
  word[k] = 0;
  return true;
}

}  // namespace

const char* epd_suite_path(int n) {
  // Built once, before any thread could ask; the names never change.
  static char path[EPD_SUITE_COUNT][512];
  static bool built = false;
  if (!built) {
    for (int i = 0; i < EPD_SUITE_COUNT; ++i)
      std::snprintf(path[i], sizeof path[i], "%s/suite%d.epd", ORVO_EPD_DIR, i + 1);
    built = true;
  }
  if (n < 1 || n > EPD_SUITE_COUNT) return "";
  return path[n - 1];
}

int EpdRunner::read(const char* path) {
  out("%s\n", path);
  std::FILE* f = std::fopen(path, "r");
  if (!f) {
    out("cannot open file: %s\n", path);
    return -1;
  }
  line_count_ = 0;
  // The end of the file is noticed only after a read has failed, so the
  // last line stored is the empty one of that read; the runner leaves it.
  while (!std::feof(f) && line_count_ < EPD_MAX_LINES) {
    char* line = lines_[line_count_];
    line[0] = 0;
    if (!std::fgets(line, EPD_LINE_SIZE, f)) line[0] = 0;
    out("%s", line);
    const size_t len = std::strlen(line);
    if (len > 0) line[len - 1] = 0;
    ++line_count_;
  }
  std::fclose(f);
  out("%d lines where read\n", line_count_);  // the wording is the program's own
  return line_count_;
}

void EpdRunner::run(Xboard& x) {
  Search& s = x.search;
  board& pos = x.game.pos;
  const int tests = line_count_ - 1;
  int solved = 0, run = 0;
  for (int i = 0; i < tests; ++i) {
    const char* line = lines_[i];
    char position[EPD_WORD_SIZE];
    const char* p = copy_fields(line, EPD_FEN_FIELDS, position, sizeof position);
    out("%s  <%d>\n", position, i + 1);
    set_position(pos, position);

    Move expected[EPD_MAX_MOVES];
    int count = 0;
    bool avoid = false, moves_done = false;
    char word[EPD_WORD_SIZE];
    while (next_word(p, word)) {
      if (std::string_view(word).starts_with("bm")) {
        avoid = false;
      } else if (std::string_view(word).starts_with("am")) {
        avoid = true;
      } else if (!moves_done) {
        // Moves up to the one that ends in ";"; what follows (an "id", say)
        // is not read.
        const size_t len = std::strlen(word);
        if (len > 0 && word[len - 1] == ';') {
          word[len - 1] = 0;
          moves_done = true;
        }
        out("%s\n", word);
        const Move m = parse_san(pos, word);
        if (m && count < EPD_MAX_MOVES) expected[count++] = m;
      }
    }

    print_board(pos);
    x.core.tt.clear();
    s.reset(false);
    s.limits.analysis = true;
    const Move best = s.think(pos);
    s.update_clock();
    if (s.state.abandoned) {
      if (x.quitting) return;  // "quit": the program ends at once
      break;                   // a command took the run over
    }
    ++run;
    bool found = false;
    for (int k = 0; k < count; ++k) found = found || expected[k] == best;
    if (found != avoid) {
      out("solved\n");
      ++solved;
    } else {
      out("not solved\n");
    }
  }
  // An empty suite reports 0 percent rather than a division by zero.
  const float percent = run > 0 ? float(solved) / float(run) * 100.0f : 0.0f;
  out("total test: %d solved: %d percent: %.1f%%\n", run, solved, double(percent));
}

}  // namespace orvo

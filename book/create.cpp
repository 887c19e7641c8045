#include "book/create.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "book/book.h"
#include "book/builder.h"
#include "io/input.h"
#include "io/output.h"

namespace orvo {

namespace {

constexpr int ANSWER_SIZE = 256;

// Prints the question without a line end and reads one line of answer,
// whose last character (the line end) goes. False at the end of input.
bool ask(const char* question, char* answer) {
  out("%s", question);
  if (!read_line(answer, ANSWER_SIZE)) return false;
  const size_t length = std::strlen(answer);
  if (length > 0) answer[length - 1] = 0;
  return true;
}

// The input ended at a question: nothing is read or written.
bool close_unread(std::FILE* pgn) {
  std::fclose(pgn);
  return false;
}

}  // namespace

bool create_book(const Book& open_book, const char* book_path) {
  out("book creation.\n\nGive filename with full path.\n");
  out("Give number of moves deep, not plies,\nto records for each games in the PGN file.\n\n");
  char answer[ANSWER_SIZE];
  if (!ask("1) PGN file name with full path: ", answer)) return false;
  out("%s\n", answer);
  std::FILE* pgn = std::fopen(answer, "r");
  if (!pgn) {
    out("cannot open file: %s\n", answer);
    return false;
  }

  BookSettings settings;
  if (!ask("2) Number of moves to consider:  ", answer)) return close_unread(pgn);
  settings.move_depth = leading_int(answer);  // no bounds: deliberate
  out("move_deep: %d\n", settings.move_depth);
  if (!ask("3) Minimum Elo for both players:  ", answer)) return close_unread(pgn);
  settings.min_elo = leading_int(answer);
  if (settings.min_elo < LOWEST_MIN_ELO) settings.min_elo = LOWEST_MIN_ELO;
  out("minimum elo: %d\n", settings.min_elo);
  // The question number 3 comes twice on purpose.
  if (!ask("3) Include draw games ( 1 = yes, 0 = no):  ", answer)) return close_unread(pgn);
  settings.include_draws = answer[0] != '0';
  out("Draw games %s included.\n", settings.include_draws ? "are" : "are not");

  auto builder = std::make_unique<BookBuilder>(settings);
  out("New opening datafile.\nProcessing PGN file...\n");
  builder->read_games(pgn);
  std::fclose(pgn);
  // A book already open in this process is never overwritten.
  const u32 written = open_book.is_open() ? 0 : builder->write(book_path);
  out("\n\"%s\"\nmoves = %d\n", book_path, int(written));
  return true;
}

}  // namespace orvo

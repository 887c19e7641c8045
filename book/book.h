// Playing from the opening book. The book file is read once, when it is
// opened, into a table that holds the first record of every entry key; a
// probe then looks each root move up there. The choice among the moves
// found is random, weighted by the side to move's wins and draws.
#pragma once
#include <memory>

#include "book/record.h"
#include "book/record_table.h"
#include "position/board.h"

namespace orvo {

// After this many probes that find nothing, a game leaves the book alone.
constexpr u32 BOOK_FAILURE_LIMIT = 3;

class Book {
 public:
  // Reads the file once for the rest of the process; true when a book is
  // open. Prints "Opening database: %u moves" with the file's whole
  // records, or "error opening database: %s".
  bool open(const char* path);
  bool is_open() const { return table_ != nullptr; }

  // Picks a book move among the given moves of the position (the root
  // moves of the search, in their order); counts a failed probe when none
  // of them is in the book. A book not open yet is opened from path, and a
  // failure to open it is reported again for every move.
  bool probe(const board& pos, const char* path, const Move* moves, int count, Move& out);
  // Whether the game should still ask the book: fewer failed probes than
  // the limit since the last new game.
  bool worth_asking() const { return failures_ < BOOK_FAILURE_LIMIT; }
  // A new game: the failed probes are forgotten.
  void new_game() { failures_ = 0; }
  u32 failures() const { return failures_; }
  // The file's whole records, and the table of the first record of every
  // key kept from them (null while no book is open).
  u32 records() const { return records_; }
  const RecordTable* table() const { return table_.get(); }

 private:
  std::unique_ptr<RecordTable> table_;
  u32 records_ = 0;
  u32 failures_ = 0;
};

}  // namespace orvo

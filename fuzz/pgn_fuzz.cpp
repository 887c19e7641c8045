// A PGN collection as the book builder reads it. The first byte chooses the
// builder's answers (moves to record, minimum rating, draws); the rest is
// the file. The records must keep one entry per key within the table's
// capacity, and the written book must hold exactly those records.
#include <cstdio>
#include <memory>
#include <string>

#include "book/builder.h"
#include "book/record.h"
#include "position/tables.h"
#include "fuzz/support/check.h"
#include "fuzz/support/sandbox.h"
#include "fuzz/support/target.h"

using namespace orvo;
using namespace orvo::fuzz;

namespace {

// Small, so that inputs can fill it.
constexpr u32 CAPACITY = 512;
constexpr int DEPTHS[4] = {0, 3, 10, 1000};

BookSettings settings_of(uint8_t b) {
  BookSettings s;
  s.move_depth = DEPTHS[b & 3];
  s.min_elo = (b >> 2) & 1 ? 2400 : LOWEST_MIN_ELO;
  s.include_draws = (b >> 3) & 1 ? 0 : 1;
  return s;
}

long file_size(const std::string& path) {
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) return -1;
  std::fseek(f, 0, SEEK_END);
  const long n = std::ftell(f);
  std::fclose(f);
  return n;
}

}  // namespace

ORVO_FUZZ_SETUP(pgn) { init_tables(); }

ORVO_FUZZ_TARGET_WITH_SETUP(pgn) {
  if (size == 0) return 0;
  const std::string pgn = write_scratch_file("games.pgn", data + 1, size - 1);
  const std::string book = scratch_dir() + "/games.bin";
  BookBuilder builder(settings_of(data[0]), CAPACITY);
  u32 written;
  {
    QuietOutput quiet;  // the spinner
    std::FILE* f = std::fopen(pgn.c_str(), "r");
    ORVO_FUZZ_CHECK(f != nullptr);
    builder.read_games(f);
    std::fclose(f);
    written = builder.write(book.c_str());
  }
  const RecordTable& t = builder.records();
  ORVO_FUZZ_CHECK(t.size() <= CAPACITY);
  ORVO_FUZZ_CHECK(written == t.size());
  ORVO_FUZZ_CHECK(file_size(book) == long(written) * BOOK_RECORD_SIZE);
  for (u32 i = 0; i < t.size(); ++i) {
    const BookRecord& r = t[i];
    ORVO_FUZZ_CHECK(r.key != 0);
    ORVO_FUZZ_CHECK(const_cast<RecordTable&>(t).find(r.key) == &r);
  }
  return 0;
}

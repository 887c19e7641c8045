#include "book/book.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "book/book_path.h"
#include "book/record_table.h"
#include "io/output.h"

namespace orvo {

namespace {

constexpr int READ_BATCH = 4096;  // records read per call
constexpr int MAX_ROOT_MOVES = 256;

// The file's size in whole records, or 0 for a stream without a size. A
// trailing part record is never read.
u64 whole_records(std::FILE* f) {
  long size = -1;
  if (std::fseek(f, 0, SEEK_END) == 0) size = std::ftell(f);
  if (size < 0 || std::fseek(f, 0, SEEK_SET) != 0) return 0;
  return u64(size) / BOOK_RECORD_SIZE;
}

// Keeps the first record of every key, in file order. A read that comes
// short ends the book there, as the end of the file would.
void read_records(std::FILE* f, u64 records, RecordTable& table) {
  static unsigned char raw[READ_BATCH * BOOK_RECORD_SIZE];
  u64 done = 0;
  while (done < records) {
    const u64 want = records - done < READ_BATCH ? records - done : READ_BATCH;
    const size_t got = std::fread(raw, BOOK_RECORD_SIZE, size_t(want), f);
    for (size_t i = 0; i < got; ++i) {
      const BookRecord r = decode_book_record(raw + i * BOOK_RECORD_SIZE);
      // A table that cannot grow keeps what it has: the book ends there.
      if (!table.find(r.key) && !table.append(r)) return;
    }
    if (got < want) return;
    done += got;
  }
}

}  // namespace

bool Book::open(const char* path) {
  if (table_) return true;
  std::FILE* f = open_book_path(path, "rb");
  if (!f) {
    out("error opening database: %s\n", path);
    return false;
  }
  const u64 records = whole_records(f);
  records_ = u32(records);
  table_ = std::make_unique<RecordTable>(records < RecordTable::MAX_CAPACITY ? u32(records)
                                                                           : RecordTable::MAX_CAPACITY);
  read_records(f, records, *table_);
  // Everything is in memory now: the file is not needed again.
  std::fclose(f);
  out("Opening database: %u moves\n", records_);
  return true;
}

bool Book::probe(const board& pos, const char* path, const Move* moves, int count, Move& out) {
  const u64 position_key = pos.key & BOOK_POSITION_BITS;
  const bool white_to_move = pos.side == WHITE;
  int found_index[MAX_ROOT_MOVES], weight[MAX_ROOT_MOVES];
  u64 found_key[MAX_ROOT_MOVES];
  int found = 0;
  if (count > MAX_ROOT_MOVES) count = MAX_ROOT_MOVES;
  for (int i = 0; i < count; ++i) {
    const u64 key = book_entry_key(position_key, moves[i]);
    // The promotions of one pawn to one square share a record; it belongs
    // to the first of them in the list, and is counted once.
    bool shared = false;
    for (int j = 0; j < found && !shared; ++j) shared = found_key[j] == key;
    if (shared) continue;
    // A book that would not open is tried, and reported, again for every
    // root move: deliberate, the probe has no memory of the failure.
    if (!table_ && !open(path)) continue;
    const BookRecord* r = table_->find(key);
    if (!r) continue;
    found_index[found] = i;
    found_key[found] = key;
    // Only the side to move's successes count: its wins and the draws.
    weight[found] = white_to_move ? r->white_wins + r->draws : r->black_wins + r->draws;
    ++found;
  }
  if (found == 0) {
    ++failures_;
    return false;
  }
  int total = 0;
  for (int i = 0; i < found; ++i) total += weight[i];
  if (total == 0) return false;  // not a failed probe: the position is known
  int share[MAX_ROOT_MOVES];
  int sum = 0;
  for (int i = 0; i < found; ++i) {
    // Truncated: a move below one percent can never be chosen.
    share[i] = int(weight[i] * 100.0 / total);
    sum += share[i];
  }
  if (sum < 1) return false;
  int r = std::rand() % sum;
  for (int i = 0; i < found; ++i) {
    r -= share[i];
    if (r < 0) {
      out = moves[found_index[i]];
      return true;
    }
  }
  return false;  // not reached: the shares add up to sum
}

}  // namespace orvo

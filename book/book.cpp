#include "book/book.h"

#include <cstdio>
#include <cstdlib>

#include "engine/chess.h"
#include "tools/ini.h"

namespace orvo {

namespace {

u64 read_le(const unsigned char* p, int bytes) {
  u64 v = 0;
  for (int i = bytes - 1; i >= 0; --i) v = v << 8 | p[i];
  return v;
}

void write_le(unsigned char* p, u64 v, int bytes) {
  for (int i = 0; i < bytes; ++i, v >>= 8) p[i] = static_cast<unsigned char>(v & 0xFF);
}

// Scans the whole file from its start for the first record with this key.
bool find_record(chess& c, u64 key, BookRecord& found) {
  if (std::fseek(c.book_file, 0, SEEK_SET) != 0) return false;
  unsigned char raw[BOOK_RECORD_SIZE];
  for (u32 i = 0; i < c.book_records; ++i) {
    // A short read ends the scan as if the end had been reached.
    if (std::fread(raw, BOOK_RECORD_SIZE, 1, c.book_file) != 1) return false;
    if (read_le(raw, 8) == key) {
      found = decode_book_record(raw);
      return true;
    }
  }
  return false;
}

}  // namespace

void encode_book_record(const BookRecord& r, unsigned char out[BOOK_RECORD_SIZE]) {
  write_le(out, r.key, 8);
  write_le(out + 8, r.games, 2);
  write_le(out + 10, r.white_wins, 2);
  write_le(out + 12, r.black_wins, 2);
  write_le(out + 14, r.draws, 2);
}

BookRecord decode_book_record(const unsigned char in[BOOK_RECORD_SIZE]) {
  BookRecord r;
  r.key = read_le(in, 8);
  r.games = u16(read_le(in + 8, 2));
  r.white_wins = u16(read_le(in + 10, 2));
  r.black_wins = u16(read_le(in + 12, 2));
  r.draws = u16(read_le(in + 14, 2));
  return r;
}

bool open_book(chess& c) {
  if (c.book_file) return true;
  std::FILE* f = std::fopen(book_path, "rb");
  if (!f) {
    std::printf("error opening database: %s\n", book_path);
    return false;
  }
  long size = -1;
  if (std::fseek(f, 0, SEEK_END) == 0) size = std::ftell(f);
  if (size < 0 || std::fseek(f, 0, SEEK_SET) != 0) size = 0;  // a stream without a size
  c.book_file = f;
  // A trailing part record is never read.
  c.book_records = u32(size / BOOK_RECORD_SIZE);
  std::printf("Opening database: %u moves\n", c.book_records);
  return true;
}

bool probe_book_moves(chess& c, const Move* moves, int count, Move& out) {
  const u64 position_key = c.pos.key & BOOK_POSITION_BITS;
  const bool white_to_move = c.pos.side == WHITE;
  int found_index[256], weight[256];
  u64 found_key[256];
  int found = 0;
  if (count > 256) count = 256;
  for (int i = 0; i < count; ++i) {
    const u64 key = book_entry_key(position_key, moves[i]);
    // The promotions of one pawn to one square share a record; it belongs
    // to the first of them in the list, and is counted once.
    bool shared = false;
    for (int j = 0; j < found && !shared; ++j) shared = found_key[j] == key;
    if (shared) continue;
    // A book that would not open is tried, and reported, again for every
    // root move: deliberate, the probe has no memory of the failure.
    if (!c.book_file && !open_book(c)) continue;
    BookRecord r;
    if (!find_record(c, key, r)) continue;
    found_index[found] = i;
    found_key[found] = key;
    // Only the side to move's successes count: its wins and the draws.
    weight[found] = white_to_move ? r.white_wins + r.draws : r.black_wins + r.draws;
    ++found;
  }
  if (found == 0) {
    ++c.book_failures;
    return false;
  }
  int total = 0;
  for (int i = 0; i < found; ++i) total += weight[i];
  if (total == 0) return false;  // not a failed probe: the position is known
  int share[256];
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

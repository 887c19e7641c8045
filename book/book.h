// The opening book: a flat file of 16-byte little-endian records, one per
// position and move, each with the results of the games that played it.
// Probing picks among the root moves found in the book at random, weighted
// by the side to move's wins and draws.
#pragma once
#include "position/types.h"
#include "search/search.h"

namespace orvo {

class chess;

// One record as it lies in the file: the entry key (bits 0-51 of the
// position key, the move's from- and to-square in bits 52-63), then the
// games, White wins, Black wins and draws counters.
struct BookRecord {
  u64 key;
  u16 games;
  u16 white_wins;
  u16 black_wins;
  u16 draws;
};
constexpr int BOOK_RECORD_SIZE = 16;
constexpr u64 BOOK_POSITION_BITS = 0xFFFFFFFFFFFFFull;  // 2^52 - 1

// The entry key of a move played in a position with this key.
constexpr u64 book_entry_key(u64 position_key, Move m) {
  return (u64(m & 0xFFF) << 52) | (position_key & BOOK_POSITION_BITS);
}

// Record layout in the file.
void encode_book_record(const BookRecord& r, unsigned char out[BOOK_RECORD_SIZE]);
BookRecord decode_book_record(const unsigned char in[BOOK_RECORD_SIZE]);

// Opens book_path once for the rest of the process; true when it is open.
bool open_book(chess& c);

// Picks a book move among the given moves of the game position; counts a
// failed probe in c.book_failures when none of them is in the book.
bool probe_book_moves(chess& c, const Move* moves, int count, Move& out);

// The same over the root move list that the search has built.
inline bool probe_book(chess& c, Move& out) {
  return probe_book_moves(c, state.root_moves, state.root_count, out);
}

}  // namespace orvo

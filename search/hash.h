// The transposition table: a depth-preferred primary table and an
// always-replace secondary table of 16-byte entries. The evaluation's two
// pawn-structure tables are sized and cleared along with it.
#pragma once
#include <atomic>

#include "eval/pawns.h"
#include "position/types.h"

namespace orvo {

// What an entry holds.
struct TTSlot {
  u64 key;
  i16 score;  // after the mate adjustment
  i16 depth;  // search depth units
  u32 info;   // age << 28 | bound << 24 | low 24 bits of the move
};

// An entry as it is kept: two 64-bit words, each read and written whole,
// so that searches running side by side on the table never see half a
// word. The first word is the key XORed with the second, so that an entry
// whose words come from two different writes matches no key: a reader
// takes it for an entry of another position. With one search it holds
// exactly what the plain fields would.
struct TTEntry {
  u64 check;  // key ^ data
  u64 data;   // score, depth and info

  TTSlot read() const {
    const u64 d = std::atomic_ref<const u64>(data).load(std::memory_order_relaxed);
    const u64 c = std::atomic_ref<const u64>(check).load(std::memory_order_relaxed);
    return {c ^ d, i16(d & 0xFFFF), i16((d >> 16) & 0xFFFF), u32(d >> 32)};
  }
  void write(const TTSlot& s) {
    const u64 d = u64(u16(s.score)) | u64(u16(s.depth)) << 16 | u64(s.info) << 32;
    std::atomic_ref<u64>(data).store(d, std::memory_order_relaxed);
    std::atomic_ref<u64>(check).store(s.key ^ d, std::memory_order_relaxed);
  }
};
static_assert(sizeof(TTEntry) == 16);

constexpr int TT_UPPER = 2, TT_LOWER = 4, TT_EXACT = 8;
constexpr int TT_MISS = -77777;
// Scores beyond this are mate scores, which the table moves by the ply.
constexpr int TT_MATE_THRESHOLD = 3000;
// Table sizes in megabytes: the smallest, the largest, and what a request
// beyond the largest gets.
constexpr int TT_MIN_MB = 8, TT_MAX_MB = 512, TT_FALLBACK_MB = 32;

class hash {
 public:
  hash() = default;
  virtual ~hash();
  hash(const hash&) = delete;
  hash& operator=(const hash&) = delete;

  // Sizes all tables from a budget in MB (below 8 means 8; above 512 falls
  // back to 32) and clears them.
  void resize(int megabytes);
  // Zero-fills the tables and sets the age to 0.
  void allocate();
  void clear() { allocate(); }
  void store(u64 key, int ply, int depth, int bound, int score, Move move);
  // Returns the bound code of a usable entry (TT_UPPER/TT_LOWER/TT_EXACT)
  // or TT_MISS; the entry's move, if the key is found, is always given.
  int probe(u64 key, int ply, int depth, int alpha, int beta, int& score, Move& move) const;
  // Starts loading the slots of a key that a probe will soon read: the
  // search calls it right after making a move, so that the lines arrive
  // while it decides how deep to search the child.
  void prefetch(u64 key) const {
    if (!primary) return;
    __builtin_prefetch(&primary[key & primary_mask]);
    __builtin_prefetch(&secondary[key & secondary_mask]);
  }
  // Advances the age at the start of a search: 1..15, never 0.
  void new_search();

  u32 primary_count = 0, secondary_count = 0, eval_count = 0;
  TTEntry* primary = nullptr;
  TTEntry* secondary = nullptr;
  // The evaluation's pawn-structure tables, Black to move and White to move.
  eval::pawn_record* eval_tables[2] = {nullptr, nullptr};
  u64 primary_mask = 0, secondary_mask = 0;
  u8 age = 0;
};

}  // namespace orvo

#include "search/hash.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#if defined(__linux__)
#include <sys/mman.h>
#endif


namespace orvo {

namespace {

// Every probe lands on a random line of tables of tens of megabytes: with
// the usual 4 KB pages nearly each one also misses the TLB. The tables are
// therefore aligned to the 2 MB of a huge page and, on Linux, offered to
// the kernel as huge pages (it may decline; nothing else changes).
constexpr std::size_t HUGE_PAGE = std::size_t(2) << 20;

template <typename T>
T* allocate_table(std::size_t count) {
  const std::size_t bytes = count * sizeof(T);
  const std::size_t align = bytes >= HUGE_PAGE ? HUGE_PAGE : alignof(std::max_align_t);
  void* p = std::aligned_alloc(align, (bytes + align - 1) / align * align);
  if (!p) return nullptr;
#if defined(__linux__) && defined(MADV_HUGEPAGE)
  if (align == HUGE_PAGE) madvise(p, bytes, MADV_HUGEPAGE);
#endif
  // The records are plain data: allocate() zero-fills them, as every
  // resize ends by calling it.
  return static_cast<T*>(p);
}

// The tables hold trivially destructible records.
void release_table(void* p) { std::free(p); }

}  // namespace

hash::~hash() {
  release_table(primary);
  release_table(secondary);
  release_table(eval_tables[0]);
  release_table(eval_tables[1]);
}

void hash::resize(int megabytes) {
  // Deliberate: a request above the maximum falls back to 32 MB, not 512.
  if (megabytes < TT_MIN_MB)
    megabytes = TT_MIN_MB;
  else if (megabytes > TT_MAX_MB)
    megabytes = TT_FALLBACK_MB;
  constexpr u64 BYTES_PER_MB = 1048576;
  const u64 n = u64(megabytes) * BYTES_PER_MB / sizeof(TTEntry);
  // About two thirds of the budget for the primary table, a sixth (rounded
  // up to a power of two) for the secondary.
  u64 p = 1;
  while (p * 2 <= n - n / 3) p *= 2;
  u64 s = 1;
  while (s <= n / 6) s *= 2;
  // The previous tables are released: nothing else holds them.
  release_table(primary);
  release_table(secondary);
  primary_count = u32(p);
  secondary_count = u32(s);
  // The pawn tables have a fixed size whatever the budget.
  eval_count = u32(eval::PAWN_TABLE_SIZE);
  primary = allocate_table<TTEntry>(p);
  secondary = allocate_table<TTEntry>(s);
  if (!primary || !secondary) {
    // Out of memory: no table rather than half of one (store and probe
    // then do nothing).
    release_table(primary);
    release_table(secondary);
    primary = secondary = nullptr;
    primary_count = secondary_count = 0;
    p = s = 1;
  }
  // Allocated once: a search's evaluator keeps pointing at them.
  for (auto& t : eval_tables)
    if (!t) t = allocate_table<eval::pawn_record>(eval::PAWN_TABLE_SIZE);
  primary_mask = p - 1;
  secondary_mask = s - 1;
  allocate();
}

void hash::allocate() {
  if (primary && secondary) {
    std::memset(static_cast<void*>(primary), 0, sizeof(TTEntry) * primary_count);
    std::memset(static_cast<void*>(secondary), 0, sizeof(TTEntry) * secondary_count);
  }
  for (auto* t : eval_tables)
    if (t) std::memset(static_cast<void*>(t), 0, sizeof(eval::pawn_record) * eval::PAWN_TABLE_SIZE);
  age = 0;
}

namespace {

// The same correction when storing and when reading back (not opposite
// ones): a mate score loses the ply both ways. Deliberate; kept.
inline int mate_adjust(int score, int ply) {
  if (score > TT_MATE_THRESHOLD) return score - ply;
  if (score < -TT_MATE_THRESHOLD) return score + ply;
  return score;
}

}  // namespace

void hash::store(u64 key, int ply, int depth, int bound, int score, Move move) {
  if (!primary) return;
  score = mate_adjust(score, ply);
  const u32 info = u32(age & 15) << 28 | u32(bound & 15) << 24 | (move & 0xFFFFFF);
  const TTSlot entry{key, i16(score), i16(depth), info};
  TTEntry& slot = primary[key & primary_mask];
  const TTSlot p = slot.read();
  if ((p.info >> 28) == age) {
    if (depth < p.depth) {
      secondary[key & secondary_mask].write(entry);
      return;
    }
    // The displaced entry goes to the newcomer's secondary slot.
    if (p.key != key) secondary[key & secondary_mask].write(p);
  }
  slot.write(entry);
}

int hash::probe(u64 key, int ply, int depth, int alpha, int beta, int& score, Move& move) const {
  move = 0;
  if (!primary) return TT_MISS;
  const TTSlot p = primary[key & primary_mask].read();
  if (p.key == key) {
    move = p.info & 0xFFFFFF;
    if (p.depth >= depth) {
      score = mate_adjust(p.score, ply);
      const int bound = (p.info >> 24) & 15;
      if (bound == TT_UPPER && score <= alpha) return TT_UPPER;
      if (bound == TT_LOWER && score >= beta) return TT_LOWER;
      if (bound == TT_EXACT) return TT_EXACT;
    }
  }
  // A primary hit without a cut-off still looks at the secondary slot.
  const TTSlot s = secondary[key & secondary_mask].read();
  if (s.key != key) return TT_MISS;
  move = s.info & 0xFFFFFF;
  if (s.depth < depth) return TT_MISS;
  score = mate_adjust(s.score, ply);
  const int bound = (s.info >> 24) & 15;
  if (bound == TT_UPPER && score <= alpha) return TT_UPPER;
  if (bound == TT_LOWER && score >= beta) return TT_LOWER;
  if (bound == TT_EXACT) return TT_EXACT;
  return TT_MISS;
}

void hash::new_search() {
  age = u8((age + 1) & 15);
  if (age == 0) age = 1;
}

}  // namespace orvo

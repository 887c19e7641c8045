#include <gtest/gtest.h>

#include "search/hash.h"

using namespace orvo;

TEST(Hash, Sizing) {
  hash h;
  h.resize(4);
  const u32 p8 = h.primary_count, s8 = h.secondary_count;
  h.resize(8);
  EXPECT_EQ(h.primary_count, p8);
  EXPECT_EQ(h.secondary_count, s8);
  h.resize(600);
  const u32 p600 = h.primary_count, s600 = h.secondary_count;
  h.resize(32);
  EXPECT_EQ(h.primary_count, p600);
  EXPECT_EQ(h.secondary_count, s600);
  EXPECT_EQ(h.primary_count, 1048576u);   // 16 MB of a 32 MB budget
  EXPECT_EQ(h.secondary_count, 524288u);  // n / 6 = 349525 -> 524288
  EXPECT_EQ(h.eval_count, 32768u);
  EXPECT_EQ(h.primary_mask, 1048575u);
  h.resize(512);
  EXPECT_EQ(h.primary_count, 16777216u);
  EXPECT_EQ(h.secondary_count, 8388608u);
  EXPECT_EQ(h.age, 0);
}

TEST(Hash, ShallowerResultGoesToTheSecondaryTable) {
  hash h;
  h.resize(8);
  h.new_search();
  const u64 key = 0x123456789ABCDEFull;
  h.store(key, 0, 300, TT_LOWER, 50, 0x1234);
  h.store(key, 0, 120, TT_LOWER, 70, 0x4321);
  EXPECT_EQ(h.primary[key & h.primary_mask].read().depth, 300);
  EXPECT_EQ(h.secondary[key & h.secondary_mask].read().depth, 120);
  int score = 0;
  Move move = 0;
  // At the shallower depth the primary entry gives a cut-off first.
  EXPECT_EQ(h.probe(key, 0, 120, -100, 40, score, move), TT_LOWER);
  EXPECT_EQ(score, 50);
  // Beta above the primary score: no cut-off there, the secondary is read.
  EXPECT_EQ(h.probe(key, 0, 120, -100, 60, score, move), TT_LOWER);
  EXPECT_EQ(score, 70);
  EXPECT_EQ(move, 0x4321u);
}

TEST(Hash, PrimaryWithoutCutoffStillReadsTheSecondary) {
  hash h;
  h.resize(8);
  h.new_search();
  const u64 key = 0xFEDCBA9876543210ull;
  h.store(key, 0, 300, TT_LOWER, 10, 0x111);  // primary
  h.store(key, 0, 60, TT_LOWER, 500, 0x222);  // secondary (shallower)
  int score = 0;
  Move move = 0;
  EXPECT_EQ(h.probe(key, 0, 300, 0, 400, score, move), TT_MISS);  // secondary too shallow
  EXPECT_EQ(move, 0x222u);  // but its move is given, over the primary's
  EXPECT_EQ(h.probe(key, 0, 60, 0, 400, score, move), TT_LOWER);
  EXPECT_EQ(score, 500);
}

TEST(Hash, DisplacedEntryMovesToTheNewcomersSecondarySlot) {
  hash h;
  h.resize(8);
  h.new_search();
  const u64 a = 0x1000, b = a + (h.primary_mask + 1);  // same primary slot
  h.store(a, 0, 120, TT_LOWER, 1, 0xA);
  h.store(b, 0, 240, TT_LOWER, 2, 0xB);
  EXPECT_EQ(h.primary[b & h.primary_mask].read().key, b);
  EXPECT_EQ(h.secondary[b & h.secondary_mask].read().key, a);
  // An entry of an older age is overwritten without being saved.
  h.new_search();
  const u64 c = b + (h.primary_mask + 1);
  h.store(c, 0, 60, TT_LOWER, 3, 0xC);
  EXPECT_EQ(h.primary[c & h.primary_mask].read().key, c);
  EXPECT_EQ(h.secondary[c & h.secondary_mask].read().key, a);
}

TEST(Hash, MateAdjustmentIsTheSameBothWays) {
  hash h;
  h.resize(8);
  h.new_search();
  const u64 key = 42;
  h.store(key, 5, 120, TT_EXACT, 29990, 0);
  EXPECT_EQ(h.primary[key & h.primary_mask].read().score, 29985);
  int score = 0;
  Move move = 0;
  EXPECT_EQ(h.probe(key, 5, 120, -30000, 30000, score, move), TT_EXACT);
  EXPECT_EQ(score, 29980);
  h.store(key, 5, 120, TT_EXACT, -29990, 0);
  EXPECT_EQ(h.primary[key & h.primary_mask].read().score, -29985);
  h.store(key, 5, 120, TT_EXACT, 3000, 0);
  EXPECT_EQ(h.primary[key & h.primary_mask].read().score, 3000);
}

TEST(Hash, BoundsAndMiss) {
  hash h;
  h.resize(8);
  h.new_search();
  int score = 0;
  Move move = 99;
  EXPECT_EQ(h.probe(7, 0, 60, -10, 10, score, move), TT_MISS);
  EXPECT_EQ(move, 0u);
  h.store(7, 0, 120, TT_UPPER, -50, 0);
  EXPECT_EQ(h.probe(7, 0, 60, -40, 10, score, move), TT_UPPER);
  EXPECT_EQ(h.probe(7, 0, 60, -60, 10, score, move), TT_MISS);
}

TEST(Hash, AgeCyclesFromOneToFifteen) {
  hash h;
  h.resize(8);
  EXPECT_EQ(h.age, 0);
  for (int i = 1; i <= 15; ++i) {
    h.new_search();
    EXPECT_EQ(h.age, i);
  }
  h.new_search();
  EXPECT_EQ(h.age, 1);
  h.store(5, 0, 60, TT_LOWER, 1, 0x7654321);
  EXPECT_EQ(h.primary[5].read().info, (1u << 28) | (4u << 24) | 0x654321u);  // move kept to 24 bits
}

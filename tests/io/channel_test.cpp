// The channel: the one door through which the engine reads and writes. A
// channel in memory stands in for the process's descriptors.
#include "io/channel.h"

#include <gtest/gtest.h>

#include <string>

#include "io/input.h"
#include "io/output.h"

using namespace orvo;

TEST(Channel, MemoryChannelServesLinesAndCollectsOutput) {
  MemoryChannel mem("first\nsecond\nlast");
  ChannelScope scope(mem);
  char line[256];
  EXPECT_GE(input_available(), 1);
  ASSERT_TRUE(read_line(line, sizeof line));
  EXPECT_STREQ(line, "first\n");
  ASSERT_TRUE(read_line(line, sizeof line));
  EXPECT_STREQ(line, "second\n");
  ASSERT_TRUE(read_line(line, sizeof line));
  EXPECT_STREQ(line, "last");
  EXPECT_FALSE(read_line(line, sizeof line));
  EXPECT_TRUE(input_at_eof());
  EXPECT_FALSE(input_error());
  // The end counts as waiting input, so that a poll hands it on.
  EXPECT_EQ(input_available(), 1);

  send_line("bestmove %s", "e2e4");
  out("pong %d\n", 7);
  err("a word %s\n", "aside");
  EXPECT_EQ(mem.out, "bestmove e2e4\npong 7\n");
  EXPECT_EQ(mem.err, "a word aside\n");
}

TEST(Channel, FedInputArrivesAfterWhatWasThere) {
  MemoryChannel mem("a\n");
  ChannelScope scope(mem);
  char line[256];
  ASSERT_TRUE(read_line(line, sizeof line));
  mem.feed("b\n");
  ASSERT_TRUE(read_line(line, sizeof line));
  EXPECT_STREQ(line, "b\n");
}

TEST(Channel, ScopesRestoreTheChannelBefore) {
  MemoryChannel outer, inner;
  {
    ChannelScope a(outer);
    {
      ChannelScope b(inner);
      out("x");
    }
    out("y");
  }
  EXPECT_EQ(inner.out, "x");
  EXPECT_EQ(outer.out, "y");
  EXPECT_EQ(&channel(), use_channel(nullptr));  // the descriptors again
}

TEST(Channel, SendLineCutsAtTheBuffer) {
  MemoryChannel mem;
  ChannelScope scope(mem);
  const std::string big(OUTPUT_BUFFER_SIZE * 2, 'x');
  send_line("%s", big.c_str());
  EXPECT_EQ(mem.out.size(), size_t(OUTPUT_BUFFER_SIZE));  // 4095 characters and the newline
  EXPECT_EQ(mem.out.back(), '\n');
}

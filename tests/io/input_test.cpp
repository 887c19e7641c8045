// Orvo's own reader over descriptor 0, driven through a pipe put in place
// of standard input. The reader's state is process-wide, so the steps run
// in one test, in order.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "io/input.h"

using namespace orvo;

TEST(Input, PipeReadinessBufferedLinesPiecesAndEnd) {
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  const int saved = dup(0);
  ASSERT_EQ(dup2(fds[0], 0), 0);
  close(fds[0]);

  // Nothing written yet: nothing waiting, and no blocking.
  EXPECT_EQ(input_available(), 0);

  const std::string text = "first line\nsecond\n" + std::string(600, 'x') + "\nlast";
  ASSERT_EQ(write(fds[1], text.data(), text.size()), ssize_t(text.size()));
  EXPECT_GE(input_available(), 1);

  char line[256];
  ASSERT_TRUE(read_line(line, sizeof line));
  EXPECT_STREQ(line, "first line\n");
  // The second line now sits in the reader's buffer; it still counts.
  EXPECT_GE(input_available(), 1);
  ASSERT_TRUE(read_line(line, sizeof line));
  EXPECT_STREQ(line, "second\n");

  // A 600-character line arrives in pieces of at most 255 characters.
  ASSERT_TRUE(read_line(line, sizeof line));
  EXPECT_EQ(std::strlen(line), 255u);
  ASSERT_TRUE(read_line(line, sizeof line));
  EXPECT_EQ(std::strlen(line), 255u);
  ASSERT_TRUE(read_line(line, sizeof line));
  EXPECT_STREQ(line, (std::string(90, 'x') + "\n").c_str());

  // The last line has no newline; closing the pipe ends the input.
  close(fds[1]);
  ASSERT_TRUE(read_line(line, sizeof line));
  EXPECT_STREQ(line, "last");
  EXPECT_FALSE(read_line(line, sizeof line));
  EXPECT_FALSE(input_error());
  // A closed input counts as waiting, so that a poll hands it on and the
  // reader sees the end.
  EXPECT_EQ(input_available(), 1);

  dup2(saved, 0);
  close(saved);
}

// The real orvo binary: banner, first-command dispatch and exit status.
#include <gtest/gtest.h>

#include "tests/support/process.h"

using orvo::test::run_orvo;
using orvo::test::split_lines;

TEST(MainLoop, BannerThenUnknownCommands) {
  auto r = run_orvo("hello\n\nxboard extra\nuci please\nquit\n");
  ASSERT_FALSE(r.timed_out);
  EXPECT_EQ(r.status, 0);
  auto lines = split_lines(r.out);
  ASSERT_EQ(lines.size(), 6u) << r.out;
  EXPECT_EQ(lines[0], "Orvo 2.14a_x64");
  EXPECT_FALSE(lines[1].empty());  // the build line
  for (int i = 2; i < 6; ++i) EXPECT_EQ(lines[i], "unknown command");
}

TEST(MainLoop, EndOfInputEndsSilently) {
  auto r = run_orvo("");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(split_lines(r.out).size(), 2u);
  r = run_orvo("nonsense");  // no newline: loses its last character, still unknown
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(split_lines(r.out).back(), "unknown command");
}

TEST(MainLoop, QuitEndsWithStatusZero) {
  auto r = run_orvo("quit\nhello\n");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(split_lines(r.out).size(), 2u);
}

TEST(MainLoop, CreateIsMatchedByPrefix) {
  auto r = run_orvo("create whatever follows\nhello\n");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out.find("unknown command"), std::string::npos);
}

TEST(MainLoop, LongLinesArriveInPieces) {
  // 10,000 characters: 255-character pieces, each an unknown command.
  std::string line(10000, 'x');
  auto r = run_orvo(line + "\nquit\n");
  EXPECT_EQ(r.status, 0);
  auto lines = split_lines(r.out);
  EXPECT_EQ(lines.size(), 2u + 40u);  // ceil(10001 / 255) pieces
}

TEST(MainLoop, BinaryGarbageDoesNotCrash) {
  std::string junk;
  for (int i = 0; i < 3000; ++i) junk += char(i * 37 % 256);
  auto r = run_orvo(junk + "\nquit\n");
  EXPECT_EQ(r.status, 0);
}

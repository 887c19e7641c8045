#include "tools/ini.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

using namespace orvo;

namespace {

// The settings as the program starts, before a file changes them.
const Settings initial;
const std::string initial_egbb_path = initial.egbb_path;
const std::string initial_book_path = initial.book_path;
const int initial_hash_size = initial.hash_size;

// Each test runs in a fresh temporary directory, where it may write its
// own settings file.
class Ini : public ::testing::Test {
 protected:
  void SetUp() override {
    char templ[] = "/tmp/orvo_ini_XXXXXX";
    ASSERT_NE(mkdtemp(templ), nullptr);
    dir_ = templ;
    ASSERT_NE(getcwd(old_cwd_, sizeof old_cwd_), nullptr);
    ASSERT_EQ(chdir(dir_.c_str()), 0);
    settings = Settings{};
  }
  void TearDown() override {
    unlink((dir_ + "/Orvo214.ini").c_str());
    EXPECT_EQ(chdir(old_cwd_), 0);
    rmdir(dir_.c_str());
  }
  void write(const std::string& text) { std::ofstream(dir_ + "/Orvo214.ini") << text; }
  // Reads the file, returning what went to standard output.
  std::string read(bool expect_found = true) {
    testing::internal::CaptureStdout();
    const bool found = read_ini(settings);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(found, expect_found);
    return out;
  }

  Settings settings;
  std::string dir_;
  char old_cwd_[4096];
};

}  // namespace

TEST_F(Ini, StartsWith64MegabytesAndBlankPaths) {
  EXPECT_EQ(initial_hash_size, 64);
  EXPECT_EQ(initial_egbb_path, std::string(38, ' '));
  EXPECT_EQ(initial_book_path, std::string(38, ' '));
  EXPECT_EQ(sizeof settings.egbb_path, 128u);
  EXPECT_EQ(sizeof settings.book_path, 128u);
}

TEST_F(Ini, MissingFileIsReportedOnStandardError) {
  settings.hash_size = 200;
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  EXPECT_FALSE(read_ini(settings));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "\"Orvo214.ini\" not found.\n\n");
  EXPECT_EQ(settings.hash_size, 64);
  EXPECT_EQ(std::string(settings.egbb_path), std::string(38, ' '));
}

TEST_F(Ini, HashSizeWithinBoundsIsTaken) {
  write("hash_size=128\n");
  read();
  EXPECT_EQ(settings.hash_size, 128);
  write("hash_size=8\n");
  read();
  EXPECT_EQ(settings.hash_size, 8);
  write("hash_size=512\n");
  read();
  EXPECT_EQ(settings.hash_size, 512);
}

TEST_F(Ini, HashSizeOutOfBoundsLeaves64) {
  for (const char* text : {"hash_size=4\n", "hash_size=1024\n", "hash_size=7\n", "hash_size=513\n",
                           "hash_size=\n", "hash_size=abc\n", "hash_size=-100\n",
                           "hash_size=99999999999999999999\n"}) {
    write("hash_size=100\n");
    read();
    ASSERT_EQ(settings.hash_size, 100);
    // Every call starts again from 64.
    write(text);
    read();
    EXPECT_EQ(settings.hash_size, 64) << text;
  }
}

TEST_F(Ini, ValueStartsAtTheEleventhCharacter) {
  write("hash_size  128\n");  // the integer reader skips the second blank
  read();
  EXPECT_EQ(settings.hash_size, 128);
  write("hash_size:100\n");
  read();
  EXPECT_EQ(settings.hash_size, 100);
  write("hash_size==100\n");  // the value would be "=100"
  read();
  EXPECT_EQ(settings.hash_size, 64);
  write("hash_size_mb=100\n");  // anything may follow the nine key characters
  read();
  EXPECT_EQ(settings.hash_size, 64);
  write("hash_size\n");
  read();
  EXPECT_EQ(settings.hash_size, 64);
  write("hash_size");  // a short last line without a newline
  read();
  EXPECT_EQ(settings.hash_size, 64);
}

TEST_F(Ini, CommentsAndLeadingBlanksAreNotKeys) {
  write("# settings.hash_size=16\n#settings.hash_size=16\n settings.hash_size=16\nHASH_SIZE=16\n");
  read();
  EXPECT_EQ(settings.hash_size, 64);
}

TEST_F(Ini, EgbbPathIsCopiedAndPrinted) {
  EXPECT_EQ(read(false), "");
  write("egbb_path=C:/egbb/\n");
  EXPECT_EQ(read(), "egbb: C:/egbb/\n");
  EXPECT_STREQ(settings.egbb_path, "C:/egbb/");
}

TEST_F(Ini, BookPathIsCutAtTheFirstBlank) {
  write("book_path=/books/my book.bin\n");
  EXPECT_EQ(read(), "opening database: /books/my\n");
  EXPECT_STREQ(settings.book_path, "/books/my");
}

TEST_F(Ini, PathsWithWindowsLineEndsAndExtraBlanks) {
  write("egbb_path=  /egbb/ trailing words\r\nbook_path=/b.bin\r\n");
  EXPECT_EQ(read(), "egbb: /egbb/\nopening database: /b.bin\n");
  EXPECT_STREQ(settings.egbb_path, "/egbb/");
  EXPECT_STREQ(settings.book_path, "/b.bin");
}

TEST_F(Ini, PathsAreNotResetBetweenCalls) {
  write("book_path=/first.bin\n");
  read();
  write("hash_size=16\n");
  read();
  EXPECT_STREQ(settings.book_path, "/first.bin");
  EXPECT_EQ(settings.hash_size, 16);
}

TEST_F(Ini, AnEmptyValueLeavesThePath) {
  write("book_path=/first.bin\n");
  read();
  write("book_path=\nbook_path\n");
  EXPECT_EQ(read(), "opening database: /first.bin\nopening database: /first.bin\n");
  EXPECT_STREQ(settings.book_path, "/first.bin");
}

TEST_F(Ini, LongLinesAreReadIn127CharacterPieces) {
  const std::string long_path(200, 'p');
  write("book_path=" + long_path + "\nhash_size=32\n");
  const std::string out = read();
  // The first piece holds the key and 117 characters of the value; the
  // rest of the line is a line of its own, which names no key.
  EXPECT_EQ(std::string(settings.book_path), std::string(117, 'p'));
  EXPECT_EQ(out, "opening database: " + std::string(117, 'p') + "\n");
  EXPECT_EQ(settings.hash_size, 32);
}

TEST_F(Ini, EveryKeyInOneFile) {
  write("# Orvo settings\nhash_size=256\negbb_path=/opt/egbb/\nbook_path=/opt/book.bin\nother=1\n");
  EXPECT_EQ(read(), "egbb: /opt/egbb/\nopening database: /opt/book.bin\n");
  EXPECT_EQ(settings.hash_size, 256);
}

// Additions: the search threads and the time kept back from the clock for
// xboard play, held to their ranges.
TEST_F(Ini, ThreadsAndMoveOverhead) {
  write("n_threads=4\noverheads=30\n");
  read();
  EXPECT_EQ(settings.threads, 4);
  EXPECT_EQ(settings.move_overhead_ms, 30);
  write("n_threads=0\noverheads=-5\n");
  read();
  EXPECT_EQ(settings.threads, 1);
  EXPECT_EQ(settings.move_overhead_ms, 0);
  write("n_threads=99999999999999\noverheads=99999999999\n");
  read();
  EXPECT_EQ(settings.threads, THREADS_MAX);
  EXPECT_EQ(settings.move_overhead_ms, MOVE_OVERHEAD_MAX_MS);
  // Text is no number: the defaults stand, as they do without the keys.
  write("n_threads=many\noverheads=some\n");
  read();
  EXPECT_EQ(settings.threads, THREADS_DEFAULT);
  EXPECT_EQ(settings.move_overhead_ms, MOVE_OVERHEAD_DEFAULT_MS);
  write("hash_size=16\n");
  settings.threads = 7;
  read();
  EXPECT_EQ(settings.threads, 1);  // each read starts from the defaults
  EXPECT_EQ(settings.move_overhead_ms, 1000);
}

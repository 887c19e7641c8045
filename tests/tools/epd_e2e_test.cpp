// The EPD runner behind "test N", through the real binary. The nine suites
// live in the directory fixed when Orvo was built; in a test build that is
// a folder of the build tree, where these tests write their own suites.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/data.h"
#include "tests/support/process.h"

using orvo::test::run_orvo;
using orvo::test::split_lines;

namespace {

bool contains(const std::vector<std::string>& lines, const std::string& line) {
  for (const auto& l : lines)
    if (l == line) return true;
  return false;
}

int count(const std::vector<std::string>& lines, const std::string& line) {
  int n = 0;
  for (const auto& l : lines) n += l == line;
  return n;
}

class Epd : public ::testing::Test {
 protected:
  void SetUp() override {
    if (std::string(ORVO_EPD_DIR) != ORVO_EPD_TEST_DIR)
      GTEST_SKIP() << "the suites directory is " << ORVO_EPD_DIR
                   << ", not the build tree's: these tests would overwrite its suites";
    std::filesystem::create_directories(ORVO_EPD_DIR);
  }
  static std::string path(int n) { return std::string(ORVO_EPD_DIR) + "/suite" + std::to_string(n) + ".epd"; }
  static void write_suite(int n, const std::string& text) { std::ofstream(path(n), std::ios::binary) << text; }
  // Runs "test n" at the given depth. The input ends after the command: a
  // "quit" behind it would be obeyed by the first search that reads input.
  static orvo::test::RunResult run_suite(int n, int depth) {
    return run_orvo("xboard\nsd " + std::to_string(depth) + "\ntest " + std::to_string(n) + "\n", 120);
  }
};

const char* const kMateInOne = "6k1/5ppp/8/8/8/8/8/R5K1 w - - bm Ra8#; id \"back rank\";";

}  // namespace

// Ten records and a final newline: eleven lines are stored (the last one is
// the empty read that met the end of the file) and ten tests run.
TEST_F(Epd, TenRecordsEndingWithANewlineAreTenTests) {
  std::string text;
  for (int i = 0; i < 10; ++i) text += std::string(kMateInOne) + "\n";
  write_suite(1, text);
  const auto r = run_suite(1, 3);
  ASSERT_FALSE(r.timed_out);
  EXPECT_EQ(r.status, 0);
  const auto lines = split_lines(r.out);
  EXPECT_TRUE(contains(lines, path(1)));
  EXPECT_TRUE(contains(lines, "11 lines where read"));
  EXPECT_EQ(count(lines, kMateInOne), 10);  // each line echoed as read
  EXPECT_TRUE(contains(lines, "6k1/5ppp/8/8/8/8/8/R5K1 w - -  <1>"));
  EXPECT_TRUE(contains(lines, "6k1/5ppp/8/8/8/8/8/R5K1 w - -  <10>"));
  EXPECT_FALSE(contains(lines, "6k1/5ppp/8/8/8/8/8/R5K1 w - -  <11>"));
  EXPECT_EQ(count(lines, "Ra8#"), 10);  // the move words, ";" removed
  EXPECT_EQ(count(lines, "solved"), 10);
  EXPECT_EQ(count(lines, "id"), 0);  // what follows the ";" is not read
  EXPECT_TRUE(contains(lines, "total test: 10 solved: 10 percent: 100.0%"));
  EXPECT_NE(r.out.find("Orvo is leaving main_loop.\n"), std::string::npos);
}

// "Nxe5;" stores the knight's capture and ends the move words; what
// follows, however it looks, is not read as a move.
TEST_F(Epd, MoveWordsEndAtTheSemicolon) {
  write_suite(2,
              "r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - bm Nxe5; id \"Nc3 Bc4\";\n"
              "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - bm e4 d4 Zz9; c0 \"start\";\n");
  const auto r = run_suite(2, 2);
  const auto lines = split_lines(r.out);
  EXPECT_TRUE(contains(lines, "3 lines where read"));
  EXPECT_EQ(count(lines, "Nxe5"), 1);
  EXPECT_FALSE(contains(lines, "Nc3"));
  EXPECT_FALSE(contains(lines, "Bc4\";"));
  // Every word up to the ";" is printed, also one that is not a move.
  EXPECT_TRUE(contains(lines, "e4"));
  EXPECT_TRUE(contains(lines, "d4"));
  EXPECT_TRUE(contains(lines, "Zz9"));
  EXPECT_FALSE(contains(lines, "c0"));
  // The engine takes the free pawn or plays e4/d4 at depth 2: whatever it
  // plays, each test is either solved or not, and the total adds up.
  const int solved = count(lines, "solved"), not_solved = count(lines, "not solved");
  EXPECT_EQ(solved + not_solved, 2);
  EXPECT_TRUE(contains(lines, "total test: 2 solved: " + std::to_string(solved) + " percent: " +
                                  (solved == 2 ? "100.0" : solved == 1 ? "50.0" : "0.0") + "%"));
}

// "am Qxb2;" is solved when the engine plays anything but that capture,
// which loses the queen to the rook on b1.
TEST_F(Epd, AvoidMoveIsSolvedByAnyOtherMove) {
  write_suite(3,
              "4k3/8/8/8/3q4/8/1P3R2/1R2K3 b - - am Qxb2; id \"poisoned\";\n"
              "4k3/8/8/8/3q4/8/1P3R2/1R2K3 b - - am Ke7 Kd7 Kd8 Kf8 Ke8; id \"none playable\";\n");
  const auto r = run_suite(3, 4);
  const auto lines = split_lines(r.out);
  EXPECT_TRUE(contains(lines, "Qxb2"));
  // The second record lists moves SAN cannot all read (Ke8 is no move):
  // the rest still count.
  std::vector<std::string> verdicts;
  for (const auto& l : lines)
    if (l == "solved" || l == "not solved") verdicts.push_back(l);
  ASSERT_EQ(verdicts.size(), 2u);
  EXPECT_EQ(verdicts[0], "solved") << r.out;
}

// A best-move record whose moves SAN cannot read can never be solved; an
// avoid-move record with an empty list always is.
TEST_F(Epd, UnreadableMovesAndEmptyLists) {
  write_suite(4,
              "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - bm Ke2 Qh5; id \"illegal\";\n"
              "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - am Ke2; id \"illegal\";\n");
  const auto r = run_suite(4, 2);
  const auto lines = split_lines(r.out);
  EXPECT_TRUE(contains(lines, "total test: 2 solved: 1 percent: 50.0%")) << r.out;
}

// A last record without a newline: the end of the file is met by that
// read, so it is stored without its last character and counted as the
// final, unrun line.
TEST_F(Epd, LastRecordWithoutANewlineIsNotRun) {
  write_suite(5, std::string(kMateInOne) + "\n" + kMateInOne);
  const auto r = run_suite(5, 2);
  const auto lines = split_lines(r.out);
  // The echo of that last line has no newline of its own.
  EXPECT_NE(r.out.find(std::string(kMateInOne) + "2 lines where read\n"), std::string::npos) << r.out;
  EXPECT_TRUE(contains(lines, "total test: 1 solved: 1 percent: 100.0%"));
}

TEST_F(Epd, EmptySuiteRunsNothing) {
  write_suite(6, "");
  const auto r = run_suite(6, 2);
  const auto lines = split_lines(r.out);
  EXPECT_TRUE(contains(lines, "1 lines where read"));
  EXPECT_TRUE(contains(lines, "total test: 0 solved: 0 percent: 0.0%"));
  EXPECT_NE(r.out.find("Orvo is leaving main_loop.\n"), std::string::npos);
}

// Long lines, blank runs, garbage FENs and more than 1025 lines: no crash,
// and at most 1024 tests.
TEST_F(Epd, BadSuites) {
  std::string text;
  text += std::string(600, 'x') + "\n";
  text += "8/8/8/8/8/8/8/8 w - - bm Ka1;\n";
  text += "garbage\n";
  text += "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -   bm   e4  ;\n";
  text += std::string(1, '\0') + "binary\x01\x02\n";
  for (int i = 0; i < 1100; ++i) text += "k7/8/8/8/8/8/8/K7 w - - bm Kb2;\n";
  write_suite(7, text);
  const auto r = run_suite(7, 1);
  ASSERT_FALSE(r.timed_out);
  EXPECT_EQ(r.status, 0);
  const auto lines = split_lines(r.out);
  EXPECT_TRUE(contains(lines, "1025 lines where read"));
  bool total = false;
  for (const auto& l : lines) total = total || l.rfind("total test: 1024 solved: ", 0) == 0;
  EXPECT_TRUE(total);
}

// A suite that cannot be read ends the whole process, with status 0.
TEST_F(Epd, MissingSuiteEndsTheProcess) {
  std::filesystem::remove(path(9));
  const auto r = run_orvo("xboard\ntest 9\nping 1\n", 30);
  EXPECT_EQ(r.status, 0);
  const auto lines = split_lines(r.out);
  EXPECT_TRUE(contains(lines, "cannot open file: " + path(9)));
  EXPECT_FALSE(contains(lines, "pong 1"));
}

// The first positions of the Win At Chess suite at depth 4.
TEST_F(Epd, WinAtChessOpening) {
  ORVO_REQUIRE_DATA(wac, "epd/wac.epd");
  std::ifstream in(wac);
  std::string text, line;
  for (int i = 0; i < 12 && std::getline(in, line); ++i) text += line + "\n";
  write_suite(8, text);
  const auto r = run_suite(8, 4);
  ASSERT_FALSE(r.timed_out);
  const auto lines = split_lines(r.out);
  EXPECT_TRUE(contains(lines, "13 lines where read"));
  const int solved = count(lines, "solved");
  EXPECT_EQ(solved + count(lines, "not solved"), 12);
  // Most of these are short tactics that a depth-4 search finds.
  EXPECT_GE(solved, 6) << r.out;
}

// A suite piped in with a depth limit runs to its summary after the input
// has ended (a batch job); one without any limit, whose searches only a
// command could end, is given up when the input ends, and Orvo exits.
TEST_F(Epd, EndOfInputEndsOnlyASuiteWithoutLimits) {
  std::string text;
  for (int i = 0; i < 3; ++i) text += std::string(kMateInOne) + "\n";
  write_suite(9, text);
  auto r = run_suite(9, 5);
  ASSERT_FALSE(r.timed_out);
  EXPECT_TRUE(contains(split_lines(r.out), "total test: 3 solved: 3 percent: 100.0%")) << r.out;
  r = run_orvo("xboard\ntest 9\n", 10);
  ASSERT_FALSE(r.timed_out);
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("Orvo is leaving main_loop.\n"), std::string::npos);
}

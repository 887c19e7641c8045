// The real orvo binary with the real bitbase library and Debian's Gaviota
// tables: loading from the ini file under both protocols, searches that
// take the tables' scores, and bad settings.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "position/fen.h"
#include "position/tables.h"
#include "tests/support/process.h"
#include "tests/tools/gaviota_support.h"

using orvo::test::run_orvo;
using orvo::test::split_lines;
using orvo::test::UNKNOWN_SCORE;
using orvo::test::WIN_SCORE;
namespace fs = std::filesystem;

namespace {

int count(const std::string& text, const std::string& what) {
  int n = 0;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
  return n;
}

bool starts_with(const std::string& s, const std::string& prefix) {
  return s.compare(0, prefix.size(), prefix) == 0;
}

class EgbbE2E : public ::testing::Test {
 protected:
  void SetUp() override {
    char templ[] = "/tmp/orvo_egbb_e2e_XXXXXX";
    ASSERT_NE(mkdtemp(templ), nullptr);
    dir_ = templ;
    ASSERT_TRUE(orvo::test::open_reference_tables());
  }
  void TearDown() override { fs::remove_all(dir_); }
  void ini(const std::string& egbb_path) {
    std::ofstream(dir_ + "/Orvo214.ini") << "egbb_path=" << egbb_path << "\n";
  }
  orvo::test::RunResult run(const std::string& input) { return run_orvo(input, 60, dir_); }
  // A UCI search to depth 10 of the position; everything printed until
  // its best move. (Input is not closed before the answer: "quit" would
  // end the search.)
  std::string search(const std::string& fen) {
    orvo::test::Session s(dir_);
    for (const char* line : {"uci", "isready"}) s.send(line);
    s.send("position fen " + fen);
    s.send("go depth 10");
    EXPECT_NE(s.wait_for("bestmove", 120), "") << fen;
    s.send("quit");
    EXPECT_EQ(s.wait_exit(10), 0);
    std::string out;
    for (const std::string& line : s.lines()) out += line + "\n";
    return out;
  }
  // A folder holding a copy of the library, and the tables' link if asked.
  std::string library_folder(const std::string& folder, bool tables) {
    fs::create_directories(folder);
    const std::string built = orvo::test::gaviota_egbb_dir();
    fs::copy_file(built + "egbbdll.dll", folder + "/egbbdll.dll");
    if (tables) fs::create_symlink(fs::read_symlink(built + "gaviota"), folder + "/gaviota");
    return folder + "/";
  }
  // The score of the last "info ... score cp N" line, and the best move.
  static bool last_score(const std::string& out, int& score, std::string& best) {
    bool found = false;
    for (const std::string& line : split_lines(out)) {
      const size_t at = line.find(" score cp ");
      if (starts_with(line, "info") && at != std::string::npos) {
        score = std::stoi(line.substr(at + 10));
        found = true;
      }
      if (starts_with(line, "bestmove ")) best = line.substr(9, line.find(' ', 9) - 9);
    }
    return found;
  }
  // The tables' answer for the position after the move, for the side then
  // to move.
  static int after_move(const std::string& fen, const std::string& move) {
    orvo::init_tables();
    orvo::board b;
    orvo::set_position(b, fen.c_str());
    std::vector<orvo::test::Man> men;
    const int from = (move[0] - 'a') + (move[1] - '1') * 8;
    const int to = (move[2] - 'a') + (move[3] - '1') * 8;
    for (const auto& m : orvo::test::men_of(fen))
      if (m.square != to) men.push_back(m.square == from ? orvo::test::Man{m.letter, to} : m);
    if (move.size() == 5)  // promotion
      for (auto& m : men)
        if (m.square == to) m.letter = b.side == orvo::WHITE ? char(std::toupper(move[4])) : move[4];
    const int side_after = b.side == orvo::WHITE ? 1 : 0;
    return orvo::test::gaviota_reference(men, side_after);
  }

  std::string dir_;
};

}  // namespace

TEST_F(EgbbE2E, XboardLoadsTheLibraryOnce) {
  ini(orvo::test::gaviota_egbb_dir());
  auto r = run("xboard\nprotover 2\nquit\n");
  ASSERT_FALSE(r.timed_out);
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("egbb: " + orvo::test::gaviota_egbb_dir() + "\n"), std::string::npos);
  EXPECT_EQ(count(r.out, "EgbbProbe Loaded!\n"), 1) << r.out;
  EXPECT_EQ(count(r.out, "not Loaded"), 0);
  EXPECT_EQ(count(r.out, "no Gaviota tables"), 0);
  // Loaded during the initialisation, before the empty line that ends it.
  EXPECT_NE(r.out.find("EgbbProbe Loaded!\n\n"), std::string::npos) << r.out;
}

TEST_F(EgbbE2E, UciLoadsItTwiceAtTheFirstIsReady) {
  ini(orvo::test::gaviota_egbb_dir());
  auto r = run("uci\nisready\nisready\nquit\n");
  ASSERT_FALSE(r.timed_out);
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(count(r.out, "EgbbProbe Loaded!\n"), 2) << r.out;
  const size_t uciok = r.out.find("uciok\n"), ready = r.out.find("readyok\n");
  const size_t first = r.out.find("EgbbProbe Loaded!\n");
  EXPECT_LT(uciok, first);
  EXPECT_LT(r.out.rfind("EgbbProbe Loaded!\n"), ready);
  EXPECT_EQ(count(r.out, "readyok\n"), 2);
}

// Wins keep winning, losses defend longest-lived enough to stay lost, and
// draws stay drawn; the reported scores are the tables'.
TEST_F(EgbbE2E, SearchesTakeTheTableScoresInKqkKrkAndKpk) {
  ini(orvo::test::gaviota_egbb_dir());
  const char* fens[] = {
      "8/8/8/4k3/8/8/2Q5/K7 w - - 0 1",     // KQK won
      "8/8/8/4k3/8/8/8/KR6 w - - 0 1",      // KRK won in 29 plies
      "8/8/8/4k3/8/8/8/KR6 b - - 0 1",      // KRK lost
      "3k4/8/3K4/4P3/8/8/8/8 w - - 0 1",    // KPK won
      "8/8/8/4k3/8/4P3/4K3/8 w - - 0 1",    // KPK drawn for the pawn
      "8/8/8/4k3/8/4P3/4K3/8 b - - 0 1",    // KPK drawn for the defender
      "8/8/4k3/8/4K3/4P3/8/8 b - - 0 1",    // KPK lost for the defender
  };
  for (const char* fen : fens) {
    const int side = std::string(fen).find(" w ") != std::string::npos ? 0 : 1;
    const int table = orvo::test::gaviota_reference(orvo::test::men_of(fen), side);
    ASSERT_NE(table, UNKNOWN_SCORE) << fen;
    const std::string out = search(fen);
    int score = 0;
    std::string best;
    ASSERT_TRUE(last_score(out, score, best)) << out;
    const int after = after_move(fen, best);
    if (table > 0) {
      EXPECT_GT(score, WIN_SCORE - 60) << fen;
      EXPECT_LT(score, WIN_SCORE) << fen;
      EXPECT_LT(after, 0) << fen << " " << best;  // the opponent still loses
    } else if (table < 0) {
      EXPECT_LT(score, -(WIN_SCORE - 60)) << fen;
      EXPECT_GT(after, 0) << fen << " " << best;
    } else {
      EXPECT_EQ(score, 0) << fen;
      EXPECT_EQ(after, 0) << fen << " " << best;  // the draw is kept
    }
  }
}

// The ini file's lines hold 127 characters: after "egbb_path=" a path
// keeps 117 of them, and a longer one is cut there.
TEST_F(EgbbE2E, PathOf127CharactersIsCutByTheLineAndNothingLoads) {
  std::string folder = dir_ + "/";
  while (folder.size() < 126)
    folder += std::string(std::min<size_t>(40, 126 - folder.size()), 'd') + "/";
  folder.pop_back();
  const std::string path = library_folder(folder, true);
  ASSERT_EQ(path.size(), 127u);
  ini(path);
  auto r = run("uci\nisready\nquit\n");
  ASSERT_FALSE(r.timed_out);
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("egbb: " + path.substr(0, 117) + "\n"), std::string::npos) << r.out;
  EXPECT_EQ(count(r.out, "EgbbProbe not Loaded!\n"), 2) << r.out;
  int score = 0;
  std::string best;
  ASSERT_TRUE(last_score(search("8/8/8/4k3/8/8/2Q5/K7 w - - 0 1"), score, best));
  EXPECT_LT(score, 2000);  // an evaluation: no tables
  EXPECT_FALSE(best.empty());
}

TEST_F(EgbbE2E, PathOf117CharactersWorks) {
  std::string folder = dir_ + "/";
  while (folder.size() < 116)
    folder += std::string(std::min<size_t>(40, 116 - folder.size()), 'f') + "/";
  folder.pop_back();
  const std::string path = library_folder(folder, true);
  ASSERT_EQ(path.size(), 117u);
  ini(path);
  const std::string out = search("8/8/8/4k3/8/8/2Q5/K7 w - - 0 1");
  EXPECT_EQ(count(out, "EgbbProbe Loaded!"), 2) << out;
  int score = 0;
  std::string best;
  ASSERT_TRUE(last_score(out, score, best));
  EXPECT_GT(score, WIN_SCORE - 60);
}

TEST_F(EgbbE2E, PathWithoutTrailingSeparatorFindsNoLibrary) {
  std::string path = orvo::test::gaviota_egbb_dir();
  path.pop_back();
  ini(path);
  auto r = run("xboard\nquit\n");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(count(r.out, "EgbbProbe not Loaded!\n"), 1) << r.out;
  EXPECT_EQ(r.err.find("egbb:"), std::string::npos) << r.err;  // nothing there to report
}

TEST_F(EgbbE2E, LibraryWithoutTablesSaysSoAndTheEnginePlaysOn) {
  const std::string path = library_folder(dir_ + "/lib", false);
  ini(path);
  const std::string out = search("8/8/8/4k3/8/8/2Q5/K7 w - - 0 1");
  // The library's own diagnostics stay out of the protocol stream.
  EXPECT_EQ(count(out, "egbb: no Gaviota tables"), 0) << out;
  EXPECT_EQ(count(out, "EgbbProbe Loaded!\n"), 2);
  const auto r = run("uci\nisready\nquit\n");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(count(r.err, "egbb: no Gaviota tables in \"" + path + "\" or \"" + path + "gaviota\"\n"), 2)
      << r.err;
  EXPECT_EQ(count(r.out, "egbb: no Gaviota tables"), 0) << r.out;
  int score = 0;
  std::string best;
  ASSERT_TRUE(last_score(out, score, best));
  EXPECT_LT(score, 2000);
  EXPECT_FALSE(best.empty());
}

TEST_F(EgbbE2E, LibraryWithoutEntryPointsIsAMessageNotACrash) {
  fs::create_directories(dir_ + "/lib");
  fs::copy_file(FAKE_EGBB_NO_PROBE_LIBRARY, dir_ + "/lib/egbbdll.dll");
  std::ofstream(dir_ + "/lib/egbbso64.so") << "not a library\n";
  ini(dir_ + "/lib/");
  auto r = run("uci\nisready\nquit\n");
  ASSERT_FALSE(r.timed_out);
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(count(r.out, "EgbbProbe not Loaded!\n"), 2);
  EXPECT_EQ(count(r.err, dir_ + "/lib/egbbdll.dll lacks load_egbb_5men or probe_egbb_5men\n"), 2)
      << r.err;
  EXPECT_EQ(count(r.err, "egbb: cannot load " + dir_ + "/lib/egbbso64.so: "), 2) << r.err;
  int score = 0;
  std::string best;
  ASSERT_TRUE(last_score(search("8/8/8/4k3/8/8/2Q5/K7 w - - 0 1"), score, best));
  EXPECT_FALSE(best.empty());
}

TEST_F(EgbbE2E, XboardSearchTakesTheTableScore) {
  ini(orvo::test::gaviota_egbb_dir());
  orvo::test::Session s(dir_);
  for (const char* line : {"xboard", "protover 2", "new", "force",
                           "setboard 8/8/8/4k3/8/8/8/KR6 w - - 0 1", "sd 10", "go"})
    s.send(line);
  const std::string move = s.wait_for("move ", 60);
  ASSERT_NE(move, "");
  s.send("quit");
  EXPECT_EQ(s.wait_exit(10), 0);
  // The thinking line of the last iteration: depth, score, time, nodes, PV.
  int depth = 0, score = 0;
  for (const std::string& line : s.lines())
    std::sscanf(line.c_str(), "%d %d", &depth, &score);
  EXPECT_EQ(depth, 10);
  EXPECT_GT(score, WIN_SCORE - 60);
  EXPECT_LT(score, WIN_SCORE);
  EXPECT_LT(after_move("8/8/8/4k3/8/8/8/KR6 w - - 0 1", move.substr(5)), 0) << move;
  int loaded = 0;
  for (const std::string& line : s.lines()) loaded += line == "EgbbProbe Loaded!";
  EXPECT_EQ(loaded, 1);
}

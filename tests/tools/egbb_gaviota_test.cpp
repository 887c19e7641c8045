// The real bitbase library (tools/egbb_gaviota) on Debian's Gaviota tables:
// its entry points called directly, and through the engine's loader and
// probe.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <random>
#include <string>

#include "position/fen.h"
#include "position/makemove.h"
#include "position/movegen.h"
#include "position/tables.h"
#include "tests/tools/gaviota_support.h"
#include "tools/egbb.h"
#include "tools/ini.h"

using namespace orvo;
using orvo::test::Man;
using orvo::test::WIN_SCORE;
using orvo::test::UNKNOWN_SCORE;

namespace {

using LoadFunction = int (*)(char*, int, int);
using ProbeFunction = int (*)(int, int, int, int, int, int, int, int, int);

// Library piece codes, and squares counted a1 = 0.
constexpr int W_QUEEN = 2, W_ROOK = 3, W_BISHOP = 4, W_KNIGHT = 5, W_PAWN = 6;
constexpr int B_KING = 7, B_QUEEN = 8, B_ROOK = 9, B_PAWN = 12;
constexpr int at(const char* name) { return (name[1] - '1') * 8 + (name[0] - 'a'); }

// Loads the library by itself (not through the engine) for a test.
class Library {
 public:
  Library() {
    handle_ = dlopen((orvo::test::gaviota_egbb_dir() + "egbbdll.dll").c_str(),
                     RTLD_NOW | RTLD_LOCAL);
    if (!handle_) return;
    load = reinterpret_cast<LoadFunction>(dlsym(handle_, "load_egbb_5men"));
    probe = reinterpret_cast<ProbeFunction>(dlsym(handle_, "probe_egbb_5men"));
  }
  ~Library() {
    if (handle_) dlclose(handle_);
  }
  // Loads from a folder; returns the loader's result and its output.
  int open(const std::string& folder, int options, std::string& out) {
    char path[1100];
    std::snprintf(path, sizeof path, "%s", folder.c_str());
    // The library's messages go to standard error, never into the
    // engine's protocol stream on standard output.
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int r = load(path, EGBB_CACHE_SIZE, options);
    const std::string on_stdout = testing::internal::GetCapturedStdout();
    out = testing::internal::GetCapturedStderr();
    EXPECT_EQ(on_stdout, "");
    return r;
  }
  int open(const std::string& folder = orvo::test::gaviota_egbb_dir(), int options = 1) {
    std::string out;
    return open(folder, options, out);
  }
  bool ok() const { return handle_ && load && probe; }
  int one(int side, int wk, int bk, int p, int s) { return probe(side, wk, bk, p, s, 0, 0, 0, 0); }

  LoadFunction load = nullptr;
  ProbeFunction probe = nullptr;

 private:
  void* handle_ = nullptr;
};

class Gaviota : public ::testing::Test {
 protected:
  void SetUp() override {
    init_tables();
    ASSERT_TRUE(lib.ok()) << dlerror();
  }
  Library lib;
};

// Every placement of two kings and one more man, both sides to move.
template <typename F>
void each_three_men(char letter, F f) {
  for (int side = 0; side < 2; ++side)
    for (int wk = 0; wk < 64; ++wk)
      for (int bk = 0; bk < 64; ++bk)
        for (int s = 0; s < 64; ++s) {
          if (wk == bk || s == wk || s == bk) continue;
          if ((letter == 'P' || letter == 'p') && (s < 8 || s >= 56)) continue;
          f(side, wk, bk, s);
        }
}

int code_of(char letter) {
  const char* const white = " KQRBNP";
  const char* const black = " kqrbnp";
  const char* w = std::strchr(white, letter);
  if (w && letter != ' ') return int(w - white);
  return int(std::strchr(black, letter) - black) + 6;
}

}  // namespace

TEST_F(Gaviota, LoadsDebiansTables) {
  std::string out;
  EXPECT_EQ(lib.open(orvo::test::gaviota_egbb_dir(), 1, out), 1);
  EXPECT_EQ(out, "");
}

TEST_F(Gaviota, KnownDistancesAndTheScale) {
  ASSERT_EQ(lib.open(), 1);
  // White Ka1, Rb1, Black Ke5: White mates in 29 plies; Black to move is
  // mated in 30.
  EXPECT_EQ(lib.one(0, at("a1"), at("e5"), W_ROOK, at("b1")), WIN_SCORE - 29);
  EXPECT_EQ(lib.one(1, at("a1"), at("e5"), W_ROOK, at("b1")), -(WIN_SCORE - 30));
  // Black the stronger side: the answer follows the side to move.
  EXPECT_EQ(lib.one(1, at("e5"), at("a1"), B_ROOK, at("b1")), WIN_SCORE - 29);
  EXPECT_EQ(lib.one(0, at("e5"), at("a1"), B_ROOK, at("b1")), -(WIN_SCORE - 30));
  // Lone minor pieces draw.
  EXPECT_EQ(lib.one(0, at("a1"), at("e5"), W_BISHOP, at("b1")), 0);
  EXPECT_EQ(lib.one(1, at("a1"), at("e5"), W_KNIGHT, at("b1")), 0);
  // Bare kings: a draw that no table holds.
  EXPECT_EQ(lib.probe(0, at("a1"), at("e5"), 0, 0, 0, 0, 0, 0), 0);
  // Mated now: the farthest loss. Stalemated: a draw.
  EXPECT_EQ(lib.one(1, at("g6"), at("g8"), W_QUEEN, at("g7")), -WIN_SCORE);
  EXPECT_EQ(lib.one(1, at("f7"), at("h8"), W_QUEEN, at("g6")), 0);
  // Mate in one: the nearest win.
  EXPECT_EQ(lib.one(0, at("g6"), at("g8"), W_QUEEN, at("a7")), WIN_SCORE - 1);
  // The rook pawn with the defending king in the corner draws; a centre
  // pawn with the king in front of it and the opposition wins.
  EXPECT_EQ(lib.one(0, at("a6"), at("a8"), W_PAWN, at("a5")), 0);
  const int kpk = lib.one(1, at("e6"), at("e8"), W_PAWN, at("e5"));
  EXPECT_LT(kpk, -(WIN_SCORE - 60));
  EXPECT_GT(kpk, -WIN_SCORE);
}

TEST_F(Gaviota, NearerWinScoresHigherAndEveryWinIsAboveAnyEvaluation) {
  ASSERT_EQ(lib.open(), 1);
  int lowest_win = WIN_SCORE, highest_loss = -WIN_SCORE;
  for (const char letter : {'Q', 'R', 'P'})
    each_three_men(letter, [&](int side, int wk, int bk, int s) {
      const int v = lib.one(side, wk, bk, code_of(letter), s);
      if (v == UNKNOWN_SCORE || v == 0) return;
      ASSERT_LE(std::abs(v), WIN_SCORE);
      if (v > 0) lowest_win = std::min(lowest_win, v);
      if (v < 0) highest_loss = std::max(highest_loss, v);
    });
  // Far above a queen's worth with every bonus, and never a mate score of
  // the engine (those start beyond 29744) nor shifted by its table (beyond
  // 3000).
  EXPECT_GT(lowest_win, 2900);
  EXPECT_LT(highest_loss, -2900);
}

TEST_F(Gaviota, UnknownPositionsAnswer99999) {
  ASSERT_EQ(lib.open(), 1);
  // Four-men tables are not installed: Q against R.
  EXPECT_EQ(lib.probe(0, at("a1"), at("e5"), W_QUEEN, at("d1"), B_ROOK, at("h8"), 0, 0),
            UNKNOWN_SCORE);
  // Arguments that describe no position.
  EXPECT_EQ(lib.one(2, at("a1"), at("e5"), W_ROOK, at("b1")), UNKNOWN_SCORE);   // side
  EXPECT_EQ(lib.one(-1, at("a1"), at("e5"), W_ROOK, at("b1")), UNKNOWN_SCORE);
  EXPECT_EQ(lib.one(0, 64, at("e5"), W_ROOK, at("b1")), UNKNOWN_SCORE);        // off the board
  EXPECT_EQ(lib.one(0, at("a1"), -1, W_ROOK, at("b1")), UNKNOWN_SCORE);
  EXPECT_EQ(lib.one(0, at("a1"), at("e5"), W_ROOK, 64), UNKNOWN_SCORE);
  EXPECT_EQ(lib.one(0, at("a1"), at("a1"), W_ROOK, at("b1")), UNKNOWN_SCORE);  // one square
  EXPECT_EQ(lib.one(0, at("a1"), at("e5"), W_ROOK, at("e5")), UNKNOWN_SCORE);
  EXPECT_EQ(lib.probe(0, at("a1"), at("e5"), W_ROOK, at("b1"), B_QUEEN, at("b1"), 0, 0),
            UNKNOWN_SCORE);
  EXPECT_EQ(lib.one(0, at("a1"), at("e5"), 1, at("b1")), UNKNOWN_SCORE);       // king codes
  EXPECT_EQ(lib.one(0, at("a1"), at("e5"), B_KING, at("b1")), UNKNOWN_SCORE);
  EXPECT_EQ(lib.one(0, at("a1"), at("e5"), 13, at("b1")), UNKNOWN_SCORE);      // no such code
  EXPECT_EQ(lib.one(0, at("a1"), at("e5"), -3, at("b1")), UNKNOWN_SCORE);
  EXPECT_EQ(lib.one(0, at("a1"), at("e5"), W_PAWN, at("b8")), UNKNOWN_SCORE);  // pawn rank
  EXPECT_EQ(lib.one(0, at("a1"), at("e5"), B_PAWN, at("b1")), UNKNOWN_SCORE);
  // Positions that cannot arise: kings side by side, the side not to move
  // in check.
  EXPECT_EQ(lib.one(0, at("a1"), at("b2"), W_ROOK, at("h8")), UNKNOWN_SCORE);
  EXPECT_EQ(lib.one(0, at("a1"), at("e5"), W_ROOK, at("e1")), UNKNOWN_SCORE);
  // Unused pairs may stand anywhere; their squares are ignored.
  EXPECT_EQ(lib.probe(0, at("a1"), at("e5"), 0, 99, W_ROOK, at("b1"), 0, -7), WIN_SCORE - 29);
}

TEST_F(Gaviota, FolderWithoutTablesSaysSoAndAnswersNothing) {
  char templ[] = "/tmp/orvo_notables_XXXXXX";
  ASSERT_NE(mkdtemp(templ), nullptr);
  std::string out;
  EXPECT_EQ(lib.open(std::string(templ) + "/", 1, out), 0);
  EXPECT_EQ(out, "egbb: no Gaviota tables in \"" + std::string(templ) + "/\" or \"" +
                     std::string(templ) + "/gaviota\"\n");
  EXPECT_EQ(lib.one(0, at("a1"), at("e5"), W_ROOK, at("b1")), UNKNOWN_SCORE);
  // Bare kings are still a draw.
  EXPECT_EQ(lib.probe(0, at("a1"), at("e5"), 0, 0, 0, 0, 0, 0), 0);
  // A later load that finds tables answers again.
  EXPECT_EQ(lib.open(), 1);
  EXPECT_EQ(lib.one(0, at("a1"), at("e5"), W_ROOK, at("b1")), WIN_SCORE - 29);
  rmdir(templ);
}

TEST_F(Gaviota, TablesFoundInTheFolderItselfAndWithoutTrailingSeparator) {
  // The link's target holds the table files directly.
  const std::string tables =
      std::filesystem::read_symlink(orvo::test::gaviota_egbb_dir() + "gaviota").string();
  EXPECT_EQ(lib.open(tables), 1);
  EXPECT_EQ(lib.one(0, at("a1"), at("e5"), W_ROOK, at("b1")), WIN_SCORE - 29);
  std::string dir = orvo::test::gaviota_egbb_dir();
  dir.pop_back();
  EXPECT_EQ(lib.open(dir), 1);
  EXPECT_EQ(lib.one(0, at("a1"), at("e5"), W_ROOK, at("b1")), WIN_SCORE - 29);
}

TEST_F(Gaviota, OverlongOrMissingFolderNameIsAMessageNotACrash) {
  std::string out;
  EXPECT_EQ(lib.open(std::string(1050, 'x'), 1, out), 0);
  EXPECT_EQ(out, "egbb: folder name too long (1050 characters): no tables\n");
  EXPECT_EQ(lib.one(0, at("a1"), at("e5"), W_ROOK, at("b1")), UNKNOWN_SCORE);
  testing::internal::CaptureStdout();
  EXPECT_EQ(lib.load(nullptr, EGBB_CACHE_SIZE, 1), 0);  // the current directory
  testing::internal::GetCapturedStdout();
  // Any cache size is taken; too small ones are raised.
  char path[256];
  std::snprintf(path, sizeof path, "%s", orvo::test::gaviota_egbb_dir().c_str());
  EXPECT_EQ(lib.load(path, -5, 1), 1);
  EXPECT_EQ(lib.one(0, at("a1"), at("e5"), W_ROOK, at("b1")), WIN_SCORE - 29);
}

TEST_F(Gaviota, WithoutTheDistanceOptionEveryWinScoresAlike) {
  ASSERT_EQ(lib.open(orvo::test::gaviota_egbb_dir(), 0), 1);
  EXPECT_EQ(lib.one(0, at("a1"), at("e5"), W_ROOK, at("b1")), WIN_SCORE - 255);
  EXPECT_EQ(lib.one(0, at("g6"), at("g8"), W_QUEEN, at("a7")), WIN_SCORE - 255);
  EXPECT_EQ(lib.one(1, at("a1"), at("e5"), W_ROOK, at("b1")), -(WIN_SCORE - 255));
  EXPECT_EQ(lib.one(0, at("a6"), at("a8"), W_PAWN, at("a5")), 0);
  ASSERT_EQ(lib.open(), 1);
  EXPECT_EQ(lib.one(0, at("a1"), at("e5"), W_ROOK, at("b1")), WIN_SCORE - 29);
}

// Every position of the queen, rook and pawn tables, both colours: the
// library's answer equals the Gaviota probing code's own.
TEST_F(Gaviota, EveryPositionOfThreeTablesMatchesGaviotasOwnProbe) {
  ASSERT_EQ(lib.open(), 1);
  long compared = 0, known = 0;
  for (const char letter : {'Q', 'R', 'P', 'q', 'r', 'p'})
    each_three_men(letter, [&](int side, int wk, int bk, int s) {
      const int expected =
          orvo::test::gaviota_reference({{'K', wk}, {'k', bk}, {letter, s}}, side);
      const int got = lib.one(side, wk, bk, code_of(letter), s);
      ++compared;
      if (expected != UNKNOWN_SCORE) ++known;
      if (got != expected) {
        ADD_FAILURE() << letter << " side " << side << " wk " << wk << " bk " << bk << " at "
                      << s << ": " << got << " != " << expected;
        return;
      }
    });
  EXPECT_GT(compared, 1400000);
  EXPECT_GT(known, 1000000);
}

// A sample of 100,000 positions of every installed table, set up as FEN on
// the engine's board and probed through the engine: the square flip, the
// side code and the piece codes all meet Gaviota's own answer.
TEST_F(Gaviota, EngineProbeMatchesGaviotaOnASampleOf100000) {
  Settings settings;
  Bitbases bitbases;
  std::snprintf(settings.egbb_path, sizeof settings.egbb_path, "%s", orvo::test::gaviota_egbb_dir().c_str());
  testing::internal::CaptureStdout();
  ASSERT_TRUE(bitbases.load(settings.egbb_path));
  testing::internal::GetCapturedStdout();
  std::mt19937 rng(20240611);
  const char letters[] = "QRBNPqrbnp";
  int known = 0;
  for (int i = 0; i < 100000; ++i) {
    const char letter = letters[rng() % 10];
    const int side = int(rng() % 2);
    int wk, bk, s;
    do {
      wk = int(rng() % 64);
      bk = int(rng() % 64);
      s = int(rng() % 64);
    } while (wk == bk || s == wk || s == bk ||
             ((letter == 'P' || letter == 'p') && (s < 8 || s >= 56)));
    const std::vector<Man> men = {{'K', wk}, {'k', bk}, {letter, s}};
    const int expected = orvo::test::gaviota_reference(men, side);
    board b;
    set_position(b, orvo::test::fen_of(men, side).c_str());
    int score = 12345;
    const bool found = bitbases.probe(b, score);
    EXPECT_EQ(found, expected != UNKNOWN_SCORE) << orvo::test::fen_of(men, side);
    EXPECT_EQ(score, expected) << orvo::test::fen_of(men, side);
    if (found) ++known;
    if (HasFailure()) break;
  }
  EXPECT_GT(known, 60000);
}

// The scale agrees with the moves: through the engine's own move
// generator, a position won in n plies has a move to a position lost in
// n - 1, a lost one has only moves to wins, a drawn one keeps a draw.
TEST_F(Gaviota, ScoresAgreeWithTheLegalMoves) {
  ASSERT_EQ(lib.open(), 1);
  std::mt19937 rng(7);
  auto value = [&](const board& b) {
    int wk = -1, bk = -1, piece = 0, square = 0;
    for (int sq = 0; sq < 64; ++sq) {
      if (b.piece[sq] == EMPTY) continue;
      const int at_a1 = sq ^ 56;
      if (b.piece[sq] == KING) {
        (b.color[sq] == WHITE ? wk : bk) = at_a1;
      } else {
        const int codes[7] = {0, 6, 5, 4, 3, 2, 1};
        piece = codes[b.piece[sq]] + (b.color[sq] == WHITE ? 0 : 6);
        square = at_a1;
      }
    }
    return lib.one(b.side == WHITE ? 0 : 1, wk, bk, piece, square);
  };
  int checked = 0;
  for (int i = 0; i < 3000; ++i) {
    const char letter = "QRP"[rng() % 3];
    const int side = int(rng() % 2);
    const int wk = int(rng() % 64), bk = int(rng() % 64), s = 8 + int(rng() % 48);
    if (wk == bk || s == wk || s == bk) continue;
    board b;
    set_position(b, orvo::test::fen_of({{'K', wk}, {'k', bk}, {letter, s}}, side).c_str());
    const int v = value(b);
    if (v == UNKNOWN_SCORE) continue;
    MoveList l;
    generate_all(b, l);
    int best = -100000, legal = 0;
    undo u;
    for (int m = 0; m < l.count; ++m) {
      if (!make(b, l.moves[m], u)) continue;
      ++legal;
      const int child = value(b);
      unmake(b, u);
      ASSERT_NE(child, UNKNOWN_SCORE);
      best = std::max(best, -child);
    }
    ++checked;
    if (legal == 0) {
      EXPECT_EQ(v, b.in_check ? -WIN_SCORE : 0);
    } else if (v > 0) {
      EXPECT_EQ(best, v + 1) << orvo::test::fen_of({{'K', wk}, {'k', bk}, {letter, s}}, side);
    } else if (v < 0) {
      EXPECT_EQ(best, v - 1) << orvo::test::fen_of({{'K', wk}, {'k', bk}, {letter, s}}, side);
    } else {
      EXPECT_EQ(best, 0) << orvo::test::fen_of({{'K', wk}, {'k', bk}, {letter, s}}, side);
    }
    if (HasFailure()) break;
  }
  EXPECT_GT(checked, 1500);
}

// The longest egbb_path the settings hold, 127 characters: the library's
// file name still fits after it, and the library gets the whole path.
TEST_F(Gaviota, EngineLoadsFromAPathOf127Characters) {
  char templ[] = "/tmp/orvo_egbb127_XXXXXX";
  ASSERT_NE(mkdtemp(templ), nullptr);
  std::string folder = templ;
  // Subfolders of 40 characters, the last one shorter, up to 126.
  while (folder.size() < 126) {
    folder.push_back('/');
    folder.append(std::min<size_t>(40, 126 - folder.size()), 'g');
  }
  ASSERT_EQ(folder.size(), 126u);
  std::filesystem::create_directories(folder);
  const std::string built = orvo::test::gaviota_egbb_dir();
  std::filesystem::copy_file(built + "egbbdll.dll", folder + "/egbbdll.dll");
  std::filesystem::create_symlink(std::filesystem::read_symlink(built + "gaviota"),
                                  folder + "/gaviota");
  Settings settings;
  Bitbases bitbases;
  std::snprintf(settings.egbb_path, sizeof settings.egbb_path, "%s/", folder.c_str());
  ASSERT_EQ(std::strlen(settings.egbb_path), 127u);
  testing::internal::CaptureStdout();
  EXPECT_TRUE(bitbases.load(settings.egbb_path));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "EgbbProbe Loaded!\n");
  board b;
  set_position(b, "8/8/8/4k3/8/8/8/KR6 w - - 0 1");
  int score = 0;
  EXPECT_TRUE(bitbases.probe(b, score));
  EXPECT_EQ(score, WIN_SCORE - 29);
  std::filesystem::remove_all(templ);
}

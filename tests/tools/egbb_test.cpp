#include "tools/egbb.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "position/fen.h"
#include "position/tables.h"
#include "tools/ini.h"

using namespace orvo;

namespace {

// A temporary directory holding a copy of a fake library under the name
// the engine looks for.
class Egbb : public ::testing::Test {
 protected:
  void SetUp() override {
    init_tables();
    char templ[] = "/tmp/orvo_egbb_XXXXXX";
    ASSERT_NE(mkdtemp(templ), nullptr);
    dir_ = templ;
    std::memset(egbb_path, ' ', 38);
    egbb_path[38] = 0;
  }
  void TearDown() override {
    unload();
    std::filesystem::remove_all(dir_);
  }
  void install(const char* library, const char* name = "egbbdll.dll") {
    std::filesystem::copy_file(library, dir_ + "/" + name,
                               std::filesystem::copy_options::overwrite_existing);
    std::snprintf(egbb_path, sizeof egbb_path, "%s/", dir_.c_str());
    name_ = name;
  }
  bool load(std::string& out) {
    std::string err;
    return load(out, err);
  }
  bool load(std::string& out, std::string& err) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const bool ok = bitbases.load(egbb_path);
    err = testing::internal::GetCapturedStderr();
    out = testing::internal::GetCapturedStdout();
    return ok;
  }
  // The engine's copy of the library, reached without loading it again.
  void* handle() {
    if (!handle_) handle_ = dlopen((dir_ + "/" + name_).c_str(), RTLD_NOW | RTLD_NOLOAD);
    return handle_;
  }
  template <typename F>
  F entry(const char* name) {
    void* h = handle();
    return h ? reinterpret_cast<F>(dlsym(h, name)) : nullptr;
  }
  void unload() {
    if (handle_) dlclose(handle_);
    handle_ = nullptr;
    // Leaves the engine with no library: a failed load releases the old one.
    std::memset(egbb_path, ' ', 38);
    egbb_path[38] = 0;
    testing::internal::CaptureStdout();
    bitbases.load(egbb_path);
    testing::internal::GetCapturedStdout();
  }
  // Probes the position and returns the nine arguments the library saw.
  std::vector<int> probe_args(const char* fen, int result, bool& known, int& score) {
    board b;
    set_position(b, fen);
    entry<void (*)(int)>("fake_set_probe_result")(result);
    known = bitbases.probe(b, score);
    const int* a = entry<const int* (*)()>("fake_probe_args")();
    return std::vector<int>(a, a + 9);
  }

  // The path the settings file would give.
  char egbb_path[PATH_SIZE] = {};
  Bitbases bitbases;
  std::string dir_;
  std::string name_ = "egbbdll.dll";
  void* handle_ = nullptr;
};

}  // namespace

TEST_F(Egbb, BlankPathFailsToLoad) {
  std::string out;
  EXPECT_FALSE(load(out));
  EXPECT_EQ(out, "EgbbProbe not Loaded!\n");
  EXPECT_FALSE(bitbases.loaded());
  board b;
  set_position(b, "4k3/8/8/8/8/8/8/3QK3 w - - 0 1");
  int score = 123;
  EXPECT_FALSE(bitbases.probe(b, score));
}

TEST_F(Egbb, LoadsTheLibraryNamedAfterThePath) {
  install(FAKE_EGBB_LIBRARY);
  std::string out;
  ASSERT_TRUE(load(out));
  EXPECT_EQ(out, "EgbbProbe Loaded!\n");
  EXPECT_TRUE(bitbases.loaded());
  EXPECT_EQ(std::string(entry<const char* (*)()>("fake_load_path")()), dir_ + "/");
  EXPECT_EQ(entry<int (*)()>("fake_load_cache")(), 4194304);
  EXPECT_EQ(entry<int (*)()>("fake_load_options")(), 1);
}

TEST_F(Egbb, PathWithoutSeparatorMissesTheLibrary) {
  install(FAKE_EGBB_LIBRARY);
  egbb_path[std::strlen(egbb_path) - 1] = 0;  // ".../orvo_egbb_XXXXXXegbbdll.dll"
  std::string out;
  EXPECT_FALSE(load(out));
  EXPECT_EQ(out, "EgbbProbe not Loaded!\n");
}

TEST_F(Egbb, SecondLoadReleasesTheFirstAndReportsAgain) {
  install(FAKE_EGBB_LIBRARY);
  std::string first, second;
  ASSERT_TRUE(load(first));
  ASSERT_TRUE(load(second));
  EXPECT_EQ(first + second, "EgbbProbe Loaded!\nEgbbProbe Loaded!\n");
  EXPECT_TRUE(bitbases.loaded());
}

TEST_F(Egbb, FailedReloadTurnsProbingOff) {
  install(FAKE_EGBB_LIBRARY);
  std::string out;
  ASSERT_TRUE(load(out));
  std::memset(egbb_path, ' ', 38);
  egbb_path[38] = 0;
  EXPECT_FALSE(load(out));
  EXPECT_FALSE(bitbases.loaded());
  board b;
  set_position(b, "4k3/8/8/8/8/8/8/3QK3 w - - 0 1");
  int score;
  EXPECT_FALSE(bitbases.probe(b, score));
}

TEST_F(Egbb, LibraryWithoutProbeEntryCountsAsMissing) {
  install(FAKE_EGBB_NO_PROBE_LIBRARY);
  std::string out, err;
  EXPECT_FALSE(load(out, err));
  EXPECT_EQ(out, "EgbbProbe not Loaded!\n");
  EXPECT_EQ(err, "egbb: " + dir_ + "/egbbdll.dll lacks load_egbb_5men or probe_egbb_5men\n");
  EXPECT_FALSE(bitbases.loaded());
}

TEST_F(Egbb, LinuxNameIsTriedSecond) {
  install(FAKE_EGBB_LIBRARY, "egbbso64.so");
  std::string out, err;
  ASSERT_TRUE(load(out, err));
  EXPECT_EQ(out, "EgbbProbe Loaded!\n");
  EXPECT_EQ(err, "");  // no egbbdll.dll is no news
  EXPECT_EQ(std::string(entry<const char* (*)()>("fake_load_path")()), dir_ + "/");
}

TEST_F(Egbb, UnusableFirstLibraryIsReportedAndTheSecondServes) {
  // A Windows library (here: any file that is no library for this machine)
  // beside a Linux one.
  std::ofstream(dir_ + "/egbbdll.dll") << "MZ this is not an ELF file\n";
  install(FAKE_EGBB_LIBRARY, "egbbso64.so");
  std::string out, err;
  ASSERT_TRUE(load(out, err));
  EXPECT_EQ(out, "EgbbProbe Loaded!\n");
  EXPECT_EQ(err.rfind("egbb: cannot load " + dir_ + "/egbbdll.dll: ", 0), 0u) << err;
  bool known;
  int score;
  probe_args("4k3/8/8/8/8/8/8/3Q2K1 w - - 0 1", 77, known, score);
  EXPECT_TRUE(known);
  EXPECT_EQ(score, 77);
}

TEST_F(Egbb, NeitherNameServesNothingIsLoaded) {
  std::ofstream(dir_ + "/egbbdll.dll") << "not a library\n";
  install(FAKE_EGBB_NO_PROBE_LIBRARY, "egbbso64.so");
  std::string out, err;
  EXPECT_FALSE(load(out, err));
  EXPECT_EQ(out, "EgbbProbe not Loaded!\n");
  EXPECT_NE(err.find("cannot load " + dir_ + "/egbbdll.dll"), std::string::npos);
  EXPECT_NE(err.find(dir_ + "/egbbso64.so lacks"), std::string::npos);
  EXPECT_FALSE(bitbases.loaded());
}

TEST_F(Egbb, KingAndQueenAgainstKing) {
  install(FAKE_EGBB_LIBRARY);
  std::string out;
  ASSERT_TRUE(load(out));
  bool known;
  int score = 0;
  // White Kg1, Qd1, Black Ke8, White to move.
  auto a = probe_args("4k3/8/8/8/8/8/8/3Q2K1 w - - 0 1", 1234, known, score);
  EXPECT_EQ(a, (std::vector<int>{0, 6, 60, 2, 3, 0, 0, 0, 0}));
  EXPECT_TRUE(known);
  EXPECT_EQ(score, 1234);
  // Black to move: side code 1.
  a = probe_args("4k3/8/8/8/8/8/8/3Q2K1 b - - 0 1", -50, known, score);
  EXPECT_EQ(a[0], 1);
  EXPECT_TRUE(known);
  EXPECT_EQ(score, -50);
}

TEST_F(Egbb, PieceCodesAndSquaresInScanOrder) {
  install(FAKE_EGBB_LIBRARY);
  std::string out;
  ASSERT_TRUE(load(out));
  bool known;
  int score;
  // Scan order a8..h1: black knight b7 (11), white pawn c5 (6), black rook
  // h2 (9). Library squares: b7 = 49, c5 = 34, h2 = 15.
  auto a = probe_args("8/1n6/8/2P1k3/8/8/7r/K7 w - - 0 1", 7, known, score);
  EXPECT_EQ(a, (std::vector<int>{0, 0, 36, 11, 49, 6, 34, 9, 15}));
  // White rook, bishop, knight: 3, 4, 5; Black queen, bishop, pawn: 8, 10, 12.
  a = probe_args("R3k3/8/8/8/8/8/8/B3K2N w - - 0 1", 7, known, score);
  EXPECT_EQ(a, (std::vector<int>{0, 4, 60, 3, 56, 4, 0, 5, 7}));
  a = probe_args("q3k3/p7/8/8/8/8/8/b3K3 b - - 0 1", 7, known, score);
  EXPECT_EQ(a, (std::vector<int>{1, 4, 60, 8, 56, 12, 48, 10, 0}));
}

TEST_F(Egbb, UnknownPositionIsNotAnAnswer) {
  install(FAKE_EGBB_LIBRARY);
  std::string out;
  ASSERT_TRUE(load(out));
  bool known = true;
  int score = 0;
  probe_args("4k3/8/8/8/8/8/8/3Q2K1 w - - 0 1", 99999, known, score);
  EXPECT_FALSE(known);
  EXPECT_EQ(score, 99999);
}

TEST_F(Egbb, FourthPieceIsNeverPassedOrWrittenPast) {
  install(FAKE_EGBB_LIBRARY);
  std::string out;
  ASSERT_TRUE(load(out));
  bool known;
  int score;
  auto a = probe_args("4k3/8/8/8/8/8/PPPP4/4K3 w - - 0 1", 5, known, score);
  EXPECT_EQ(a, (std::vector<int>{0, 4, 60, 6, 8, 6, 9, 6, 10}));
}

// The once-only engine set-up of the UCI side, against a stand-in search.
// A process can set the engine up only once, so these tests live in their
// own executable, and each runs the set-up in a child process.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "engine/chess.h"
#include "position/fen.h"
#include "protocol/uci.h"
#include "tests/protocol/fake_search.h"

using namespace orvo;

namespace {

class UciInit : public ::testing::Test {
 protected:
  void SetUp() override {
    char templ[] = "/tmp/orvo_uci_init_XXXXXX";
    ASSERT_NE(mkdtemp(templ), nullptr);
    dir_ = templ;
    ASSERT_NE(getcwd(old_cwd_, sizeof old_cwd_), nullptr);
    ASSERT_EQ(chdir(dir_.c_str()), 0);
    c = std::make_unique<chess>();
    fake::reset();
    testing::internal::CaptureStdout();
    uci_handshake(*c);
    testing::internal::GetCapturedStdout();
    fake::reset();
    fake::trace = true;
  }
  void TearDown() override {
    EXPECT_EQ(chdir(old_cwd_), 0);
    std::filesystem::remove_all(dir_);
  }
  std::string run(const std::string& line) {
    std::vector<char> buf(line.begin(), line.end());
    buf.push_back(0);
    testing::internal::CaptureStdout();
    uci_execute(*c, buf.data());
    return testing::internal::GetCapturedStdout();
  }
  // Settings file naming an empty book and a directory without bitbases.
  void write_settings() {
    std::ofstream(dir_ + "/book.bin");
    std::ofstream(dir_ + "/Orvo214.ini") << "hash_size=256\negbb_path=" << dir_
                                         << "/\nbook_path=" << dir_ << "/book.bin\n";
  }
  std::string setup_lines() {
    return "egbb: " + dir_ + "/\nopening database: " + dir_ +
           "/book.bin\nOpening database: 0 moves\n[tt_resize 32]\nEgbbProbe not Loaded!\n"
           "[resetSearch]\n[tt_clear]\n[eval_allocate_caches]\nEgbbProbe not Loaded!\n";
  }

  std::unique_ptr<chess> c;
  std::string dir_;
  char old_cwd_[4096];
};

// Exits with 0 when the condition holds, else 1 after saying which.
#define CHILD_CHECK(cond)                                          \
  do {                                                             \
    if (!(cond)) {                                                 \
      std::fprintf(stderr, "failed: %s\n", #cond);                 \
      std::exit(1);                                                \
    }                                                              \
  } while (0)

}  // namespace

TEST_F(UciInit, FirstIsReadySetsTheEngineUpInOrder) {
  write_settings();
  EXPECT_EXIT(
      {
        CHILD_CHECK(!uci_engine_ready());
        const std::string out = run("isready");
        if (out != setup_lines() + "readyok\n") std::fprintf(stderr, "[%s]\n", out.c_str());
        CHILD_CHECK(out == setup_lines() + "readyok\n");
        CHILD_CHECK(uci_engine_ready());
        CHILD_CHECK(c->book_on == 1);
        CHILD_CHECK(fake::calls.tt_resize == 1);
        CHILD_CHECK(run("isready") == "readyok\n");
        CHILD_CHECK(fake::calls.tt_resize == 1);
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(UciInit, FirstGoSetsTheEngineUp) {
  write_settings();
  EXPECT_EXIT(
      {
        const std::string out = run("go depth 1");
        CHILD_CHECK(out.rfind(setup_lines(), 0) == 0);
        CHILD_CHECK(uci_engine_ready());
        CHILD_CHECK(fake::calls.think == 1);
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(UciInit, HashOptionCountsOnlyBeforeTheSetUp) {
  write_settings();
  EXPECT_EXIT(
      {
        run("setoption name Hash value 64");
        run("isready");
        CHILD_CHECK(fake::calls.last_tt_megabytes == 64);  // not the settings file's 256
        run("setoption name Hash value 16");
        run("isready");
        CHILD_CHECK(fake::calls.tt_resize == 1);
        CHILD_CHECK(fake::calls.last_tt_megabytes == 64);
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(UciInit, PositionBeforeTheSetUpIsLost) {
  write_settings();
  EXPECT_EXIT(
      {
        run("position startpos moves e2e4");
        CHILD_CHECK(c->pos.hist_ply == 1);
        run("isready");
        board start;
        set_position(start, start_fen);
        CHILD_CHECK(c->pos == start);
        run("position startpos moves e2e4");
        run("isready");
        CHILD_CHECK(c->pos.hist_ply == 1);
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(UciInit, NewGameWaitsForTheSetUp) {
  write_settings();
  EXPECT_EXIT(
      {
        c->book_failures = 2;
        CHILD_CHECK(run("ucinewgame") == "");
        CHILD_CHECK(fake::calls.tt_clear == 0);
        CHILD_CHECK(c->book_failures == 2);
        run("isready");
        CHILD_CHECK(run("ucinewgame") == "[tt_clear]\n");
        CHILD_CHECK(c->book_failures == 0);
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(UciInit, IsReadyWhileAMoveIsOwedDoesNotSetUp) {
  write_settings();
  EXPECT_EXIT(
      {
        c->force_mode = 1;
        CHILD_CHECK(run("isready") == "readyok\n");
        CHILD_CHECK(!uci_engine_ready());
        c->force_mode = 0;
        c->searching = 1;
        CHILD_CHECK(run("isready") == "readyok\n");
        CHILD_CHECK(!uci_engine_ready());
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(UciInit, WithoutSettingsFileTheBookAndBitbasesStayOff) {
  EXPECT_EXIT(
      {
        const std::string out = run("isready");
        CHILD_CHECK(out == "error opening database: " + std::string(38, ' ') +
                               "\n[tt_resize 32]\nEgbbProbe not Loaded!\n[resetSearch]\n"
                               "[tt_clear]\n[eval_allocate_caches]\nEgbbProbe not Loaded!\n"
                               "readyok\n");
        CHILD_CHECK(c->book_on == 0);
        std::exit(0);
      },
      testing::ExitedWithCode(0), "^\"Orvo214.ini\" not found.\n\n$");
}

// The UCI side in process: a fresh engine object, its UCI side after the
// handshake, and a front end in memory in place of standard input and
// output. Each test runs in an empty directory of its own, so no settings
// file is read.
#pragma once
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "engine/chess.h"
#include "io/channel.h"
#include "position/fen.h"
#include "protocol/uci.h"

namespace orvo::test {

class UciFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    char templ[] = "/tmp/orvo_uci_XXXXXX";
    ASSERT_NE(mkdtemp(templ), nullptr);
    dir_ = templ;
    ASSERT_NE(getcwd(old_cwd_, sizeof old_cwd_), nullptr);
    ASSERT_EQ(chdir(dir_.c_str()), 0);
    engine = std::make_unique<chess>();
    mem = std::make_unique<MemoryChannel>();
    // A front end that stays: a search finds nothing waiting once the lines
    // given to it are read (the tests of the end of input let it go).
    mem->hold_open(true);
    scope_ = std::make_unique<ChannelScope>(*mem);
    uci = std::make_unique<Uci>(engine->core);
    uci->handshake();
    forget_output();
  }
  void TearDown() override {
    uci.reset();
    scope_.reset();
    EXPECT_EQ(chdir(old_cwd_), 0);
    std::filesystem::remove_all(dir_);
  }

  // Obeys one line and returns what went to standard output meanwhile.
  std::string run(const std::string& line) {
    const size_t from = mem->out.size();
    std::vector<char> buf(line.begin(), line.end());
    buf.push_back(0);
    uci->execute(buf.data());
    return mem->out.substr(from);
  }
  // Lines the front end has sent already: a running search reads them.
  void queue(const std::string& lines) { mem->feed(lines); }
  // The engine set up, as the first "isready" does, and its words forgotten.
  void set_up() {
    run("isready");
    forget_output();
  }
  void forget_output() {
    mem->out.clear();
    mem->err.clear();
  }
  Search& search() { return uci->search; }
  SearchLimits& limits() { return uci->search.limits; }
  board& pos() { return engine->core.game.pos; }
  std::string fen() {
    char text[128];
    write_fen(pos(), text);
    return text;
  }

  std::unique_ptr<chess> engine;
  std::unique_ptr<MemoryChannel> mem;
  std::unique_ptr<Uci> uci;
  std::string dir_;

 private:
  std::unique_ptr<ChannelScope> scope_;
  char old_cwd_[4096];
};

}  // namespace orvo::test

// Shared by the xboard end-to-end tests: a session with the real orvo
// binary in an empty directory, a referee that checks moves and positions,
// and a way to reach the ponder phase.
#pragma once
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/process.h"

namespace orvo::test::xboard {

using orvo::test::Session;

inline bool starts_with(const std::string& s, const std::string& prefix) {
  return s.compare(0, prefix.size(), prefix) == 0;
}

inline bool contains(const std::vector<std::string>& lines, const std::string& line) {
  for (const auto& l : lines)
    if (l == line) return true;
  return false;
}

// The words of a line.
inline std::vector<std::string> words(const std::string& line) {
  std::vector<std::string> w;
  size_t i = 0;
  while (i < line.size()) {
    while (i < line.size() && line[i] == ' ') ++i;
    size_t j = i;
    while (j < line.size() && line[j] != ' ') ++j;
    if (j > i) w.push_back(line.substr(i, j - i));
    i = j;
  }
  return w;
}

// A thinking line: "%4d %6d %8.0f %12d %s".
inline bool is_thinking_line(const std::string& line) {
  const auto w = words(line);
  if (w.size() < 5) return false;
  for (int i = 0; i < 4; ++i)
    if (w[i].find_first_not_of("-0123456789") != std::string::npos) return false;
  return true;
}

// Every result line the engine may print.
inline const std::vector<std::string> kResultLines = {
    "1/2-1/2 {Orvo: draw by fifty-move-rule}",
    "1/2-1/2 {Orvo: draw by 3-fold repetition}",
    "1/2-1/2 {Orvo: insufficient material}",
    "1/2-1/2 {Stalemate}",
    "0-1 {Orvo says Black mates}",
    "1-0 {Orvo says White mates}",
    "0-1 {White resigns}",
    "1-0 {Black resigns}",
};

inline bool is_result_line(const std::string& line) {
  for (const auto& r : kResultLines)
    if (line == r) return true;
  return false;
}

// Each test runs orvo in an empty temporary directory: no settings file,
// so no book and no bitbases.
class XboardGame : public ::testing::Test {
 protected:
  void SetUp() override {
    char templ[] = "/tmp/orvo_xboard_e2e_XXXXXX";
    ASSERT_NE(mkdtemp(templ), nullptr);
    dir_ = templ;
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }

  // "xboard", "protover 2" and the feature line.
  void start(Session& s) {
    s.send("xboard");
    s.send("protover 2");
    ASSERT_TRUE(starts_with(s.wait_for("feature ", 10), "feature ping=0"));
  }
  // Still reading commands: "ping" is answered.
  void expect_alive(Session& s, int n = 1) {
    s.send("ping " + std::to_string(n));
    EXPECT_EQ(s.wait_for("pong", 10), "pong " + std::to_string(n));
  }
  // The position as FEN.
  std::string fen(Session& s) {
    const size_t from = s.lines().size();
    s.send("fen");
    s.send("ping 424242");
    if (s.wait_for("pong 424242", 20).empty()) return "";
    const auto& lines = s.lines();
    for (size_t i = from; i < lines.size(); ++i)
      if (std::count(lines[i].begin(), lines[i].end(), '/') == 7) return lines[i];
    return "";
  }
  // The engine's next move ("move X" -> "X"), or "" on timeout.
  static std::string next_move(Session& s, double timeout_s) {
    const std::string line = s.wait_for("move ", timeout_s);
    return line.empty() ? "" : line.substr(5);
  }
  static std::vector<std::string> since(const Session& s, size_t from) {
    const auto& all = s.lines();
    return std::vector<std::string>(all.begin() + long(std::min(from, all.size())), all.end());
  }
  // The last thinking line before index `end`.
  static std::string last_thinking_before(const Session& s, size_t end) {
    const auto& all = s.lines();
    for (size_t i = std::min(end, all.size()); i-- > 0;)
      if (is_thinking_line(all[i])) return all[i];
    return "";
  }
  // Sets a position up and leaves force mode without playing a move:
  // "analyze" then "exit" (analysis ends with force mode off).
  void setup_and_leave_force(Session& s, const std::string& fen_text) {
    s.send("setboard " + fen_text);
    s.send("analyze");
    usleep(100000);
    s.send("exit");
    ASSERT_EQ(s.wait_for("Analyze stopped", 10), "Analyze stopped");
  }

  std::string dir_;
};

// A referee: a second orvo that replays the moves in force mode and says
// whether each was legal, and which position they lead to.
class Referee {
 public:
  explicit Referee(const std::string& dir) : s_(dir) {
    s_.send("xboard");
    reset();
  }
  // Back to the start position.
  void reset() {
    s_.send("new");
    s_.send("force");
  }
  void setboard(const std::string& fen) { s_.send("setboard " + fen); }
  // True when the move was legal here (then it is played).
  bool play(const std::string& move) {
    const size_t from = s_.lines().size();
    s_.send("usermove " + move);
    s_.send("ping " + std::to_string(++pings_));
    s_.wait_for("pong " + std::to_string(pings_), 10);
    for (size_t i = from; i < s_.lines().size(); ++i)
      if (s_.lines()[i] == "play move failed." || s_.lines()[i] == "play: illegal promotion") return false;
    return true;
  }
  std::string fen() {
    const size_t from = s_.lines().size();
    s_.send("fen");
    s_.send("ping " + std::to_string(++pings_));
    s_.wait_for("pong " + std::to_string(pings_), 10);
    for (size_t i = from; i < s_.lines().size(); ++i)
      if (std::count(s_.lines()[i].begin(), s_.lines()[i].end(), '/') == 7) return s_.lines()[i];
    return "";
  }

 private:
  Session s_;
  int pings_ = 0;
};

// Ponders on the reply it expects: e2e4, any answer, g1f3, its answer, and
// then the ponder search on the second move of its principal variation.
class XboardPonder : public XboardGame {
 protected:
  // Plays two moves of an opening (the engine is Black) and returns the
  // reply the engine expects; it is pondering on it. The referee follows.
  // A principal variation of a single move leaves nothing to ponder on; the
  // next opening is tried then.
  std::string reach_pondering(Session& s, Referee& referee) {
    static const char* openings[][2] = {{"e2e4", "g1f3"}, {"d2d4", "g1f3"}, {"c2c4", "b1c3"},
                                        {"g1f3", "g2g3"}};
    for (const auto& opening : openings) {
      referee.reset();
      const std::string reply = try_opening(s, referee, opening[0], opening[1]);
      if (!reply.empty()) return reply;
    }
    return "";
  }

 private:
  std::string try_opening(Session& s, Referee& referee, const char* first, const char* second) {
    s.send("new");
    s.send("hard");
    s.send("post");
    s.send("level 40 5 0");
    s.send("time 6000");
    s.send("otim 6000");
    s.send(std::string("usermove ") + first);
    EXPECT_TRUE(referee.play(first));
    const std::string m1 = next_move(s, 20);
    EXPECT_TRUE(referee.play(m1)) << m1;
    s.send("time 5800");
    s.send("otim 5800");
    s.send(std::string("usermove ") + second);
    if (!referee.play(second)) return "";
    const std::string m2 = next_move(s, 20);
    EXPECT_TRUE(referee.play(m2)) << m2;
    size_t move_at = 0;
    for (size_t i = 0; i < s.lines().size(); ++i)
      if (s.lines()[i] == "move " + m2) move_at = i;
    const auto pv = words(last_thinking_before(s, move_at));
    if (pv.size() < 6) return "";
    // The ponder search shows the reply in parentheses first.
    const std::string prefix = "(" + pv[5] + ")";
    for (int tries = 0; tries < 100; ++tries) {
      for (const auto& l : since(s, move_at))
        if (is_thinking_line(l) && words(l)[4] == prefix) return pv[5];
      s.wait_for("\x01", 0.1);
    }
    return "";
  }
};


}  // namespace orvo::test::xboard

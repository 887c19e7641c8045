// The xboard side in process: the clock arithmetic of "level", "time",
// "st" and "sd", and the commands' effects on the protocol state.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "engine/chess.h"
#include "io/channel.h"
#include "position/fen.h"
#include "protocol/xboard.h"
#include "protocol/xboard_clock.h"
#include "protocol/xboard_internal.h"
#include "search/search.h"

using namespace orvo;

namespace {

constexpr double EPS = 1e-9;

class XboardClock : public ::testing::Test {
 protected:
  SearchLimits limits{};
};

// The xboard side of a fresh engine in an empty directory, with a front end
// in memory that has nothing to say (so nothing reaches a running search),
// after "new".
class XboardCommands : public ::testing::Test {
 protected:
  void SetUp() override {
    char templ[] = "/tmp/orvo_xboard_XXXXXX";
    ASSERT_NE(mkdtemp(templ), nullptr);
    dir_ = templ;
    ASSERT_NE(getcwd(old_cwd_, sizeof old_cwd_), nullptr);
    ASSERT_EQ(chdir(dir_.c_str()), 0);
    engine = std::make_unique<chess>();
    mem = std::make_unique<MemoryChannel>();
    scope_ = std::make_unique<ChannelScope>(*mem);
    c = std::make_unique<Xboard>(engine->core);
    c->init();
    run("new");
  }
  void TearDown() override {
    c.reset();
    scope_.reset();
    EXPECT_EQ(chdir(old_cwd_), 0);
    std::filesystem::remove_all(dir_);
  }
  // Obeys one line; returns what it printed.
  std::string run(const std::string& line) {
    std::string copy = line;
    const size_t from = mem->out.size();
    c->execute(copy.data());
    return mem->out.substr(from);
  }
  std::string fen() {
    char text[128];
    write_fen(c->game.pos, text);
    return text;
  }
  SearchLimits& limits() { return c->search.limits; }

  std::unique_ptr<chess> engine;
  std::unique_ptr<MemoryChannel> mem;
  std::unique_ptr<Xboard> c;
  std::string dir_;

 private:
  std::unique_ptr<ChannelScope> scope_;
  char old_cwd_[4096];
};

}  // namespace

TEST_F(XboardClock, Level40Base5Time30000AtMoveOne) {
  xboard_level(limits, "40", "5", "0");
  EXPECT_EQ(limits.moves_per_session, 40);
  EXPECT_TRUE(limits.timed);
  EXPECT_EQ(xboard_time(limits, 30000, 0), 1);
  // left = 300 x 0.95 - 1 = 284 s, 40 moves to go.
  EXPECT_NEAR(limits.target_time, 7.1, EPS);
  EXPECT_NEAR(limits.hard_limit, 71.0, EPS);
  EXPECT_FALSE(limits.fixed_depth);
}

TEST_F(XboardClock, LevelZeroMovesMeansThirtyAndTheIncrementIsDividedByAThousand) {
  xboard_level(limits, "0", "2", "12");
  EXPECT_EQ(limits.moves_per_session, 30);
  EXPECT_NEAR(limits.increment, 0.012, EPS);
  xboard_level(limits, "-5", "2", "-3");
  EXPECT_EQ(limits.moves_per_session, 30);
  EXPECT_EQ(limits.increment, 0.0);  // floored at 0
}

TEST_F(XboardClock, MinutesAndSecondsStopTheScanAtTheColon) {
  xboard_level(limits, "0", "0:30", "1");
  EXPECT_EQ(limits.moves_per_session, 30);
  EXPECT_EQ(limits.increment, 0.0);  // never read
  xboard_level(limits, "40", "0:20", "0");
  EXPECT_EQ(limits.moves_per_session, 40);
}

TEST_F(XboardClock, GarbageAndMissingArgumentsReadAsZero) {
  xboard_level(limits, "x", "y", "z");
  EXPECT_EQ(limits.moves_per_session, 30);
  EXPECT_EQ(limits.increment, 0.0);
  xboard_level(limits, "", "", "");
  EXPECT_EQ(limits.moves_per_session, 30);
  xboard_level(limits, "99999999999999999999", "1", "99999999999999999999");
  EXPECT_GT(limits.moves_per_session, 0);
  EXPECT_TRUE(std::isfinite(limits.increment));
}

TEST_F(XboardClock, TimeBeforeAnyLevelCountsThirtyMoves) {
  limits.moves_per_session = 0;
  xboard_time(limits, 6000, 0);  // 60 s: left 56, togo 30
  EXPECT_NEAR(limits.target_time, 56.0 / 30.0, EPS);
  EXPECT_NEAR(limits.hard_limit, 14.0, EPS);
}

TEST_F(XboardClock, MovesToGoFollowTheGame) {
  xboard_level(limits, "40", "5", "0");
  // At ply 78, move 40: togo = 40 - 0 + 1 = 41. 100 s: left = 94 s.
  EXPECT_EQ(xboard_time(limits, 10000, 78), 40);
  EXPECT_NEAR(limits.target_time, 94.0 / 41.0, EPS);
  // At ply 76, move 39: togo = 2.
  EXPECT_EQ(xboard_time(limits, 10000, 76), 39);
  EXPECT_NEAR(limits.target_time, 47.0, EPS);
  EXPECT_NEAR(limits.hard_limit, 47.0, EPS);
}

TEST_F(XboardClock, TheIncrementCounts) {
  xboard_level(limits, "0", "1", "2000");  // 2 "seconds" after the division
  xboard_time(limits, 1100, 0);            // left = 11 x 0.95 - 1 = 9.45
  const double total = 29 * 2.0 + 9.45;
  EXPECT_NEAR(limits.target_time, total / 30, EPS);
  EXPECT_NEAR(limits.hard_limit, 9.45, EPS);  // never beyond what is left
}

TEST_F(XboardClock, AnEmptyClockLeavesNothing) {
  xboard_level(limits, "40", "5", "0");
  xboard_time(limits, 50, 10);  // half a second: below the one-second reserve
  EXPECT_EQ(limits.target_time, 0.0);
  EXPECT_EQ(limits.hard_limit, 0.0);
  xboard_time(limits, -500, 10);
  EXPECT_EQ(limits.target_time, 0.0);
}

TEST_F(XboardClock, StSetsOnlyTheHardLimitThatBinds) {
  xboard_st(limits, 10);
  EXPECT_TRUE(limits.timed);
  EXPECT_EQ(limits.hard_limit, 10.0);
  EXPECT_EQ(limits.target_time, 50.0);
  limits = SearchLimits{};
  xboard_st(limits, 0);
  xboard_st(limits, -3);
  EXPECT_FALSE(limits.timed);
}

TEST_F(XboardClock, SdZeroIsALimitAndMinusOneChangesNothing) {
  xboard_sd(limits, 0);
  EXPECT_TRUE(limits.fixed_depth);
  EXPECT_EQ(limits.depth_limit, 0);
  xboard_sd(limits, -1);
  EXPECT_EQ(limits.depth_limit, 0);
  xboard_sd(limits, 7);
  EXPECT_EQ(limits.depth_limit, 7);
  xboard_time(limits, 1000, 0);  // a clock replaces the depth limit
  EXPECT_FALSE(limits.fixed_depth);
}

TEST_F(XboardCommands, NewPutsTheEngineOnBlackAtTheStart) {
  EXPECT_EQ(c->computer_side, BLACK);
  EXPECT_EQ(c->move_number, -1);
  EXPECT_EQ(c->force_mode, 0);
  EXPECT_EQ(fen(), "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
}

TEST_F(XboardCommands, UndoAtTheStartDoesNothingAndKeepsTheSide) {
  run("undo");
  EXPECT_EQ(c->computer_side, BLACK);
  EXPECT_EQ(c->game.pos.hist_ply, 0);
}

TEST_F(XboardCommands, ForceAndAMoveOnOneLine) {
  EXPECT_EQ(run("force usermove e2e4"), "");
  EXPECT_EQ(c->force_mode, 1);
  EXPECT_EQ(c->computer_side, -1);
  EXPECT_EQ(fen(), "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq - 0 1");
  run("undo");
  EXPECT_EQ(c->computer_side, -1);
  EXPECT_EQ(c->game.pos.hist_ply, 0);
}

TEST_F(XboardCommands, MoveTextErrors) {
  run("force");
  EXPECT_EQ(run("usermove e2e5"), "play move failed.\n");
  EXPECT_EQ(run("usermove e2e4x"), "play: illegal promotion\n");
  EXPECT_EQ(run("usermove z9z9"), "");  // off the board: silently nothing
  EXPECT_EQ(run("usermove"), "");
  EXPECT_EQ(run("usermove e2"), "");
  EXPECT_EQ(run("usermove e7e5"), "play move failed.\n");  // not Black's turn
  EXPECT_EQ(c->game.pos.hist_ply, 0);
  EXPECT_EQ(run("usermove e2e4q"), "play move failed.\n");  // no such promotion
  EXPECT_EQ(run("usermove E2E4"), "");
}

TEST_F(XboardCommands, PromotionLetters) {
  run("setboard 8/4P1k1/8/8/8/8/8/4K3 w - - 0 1");
  run("usermove e7e8N");
  EXPECT_EQ(fen(), "4N3/6k1/8/8/8/8/8/4K3 b - - 0 1");
  run("undo");
  run("usermove e7e8");  // no letter: the first promotion generated, the queen
  EXPECT_EQ(fen(), "4Q3/6k1/8/8/8/8/8/4K3 b - - 0 1");
}

TEST_F(XboardCommands, SetboardKeepsForceModeAndPrintsTheBoard) {
  const std::string out = run("setboard 8/8/8/8/8/8/8/K6k b - - 45 80");
  EXPECT_NE(out.find("         a   b   c   d   e   f   g   h"), std::string::npos);
  EXPECT_EQ(c->force_mode, 1);
  EXPECT_EQ(c->game_over, 0);
  EXPECT_EQ(fen(), "8/8/8/8/8/8/8/K6k b - - 0 1");
}

TEST_F(XboardCommands, LevelAndTimeFromTheLoop) {
  run("level 40 5 0");
  run("time 30000");
  EXPECT_EQ(c->move_number, 1);
  EXPECT_NEAR(limits().target_time, 7.1, EPS);
  EXPECT_NEAR(limits().hard_limit, 71.0, EPS);
  run("level 0 2 12 sd 0");
  EXPECT_EQ(limits().moves_per_session, 30);
  EXPECT_NEAR(limits().increment, 0.012, EPS);
  EXPECT_TRUE(limits().fixed_depth);
  EXPECT_EQ(limits().depth_limit, 0);
  run("sd -1");
  EXPECT_EQ(limits().depth_limit, 0);
  run("st 10");
  EXPECT_EQ(limits().hard_limit, 10.0);
  EXPECT_EQ(limits().target_time, 50.0);
  run("new");  // a new game clears every limit
  EXPECT_FALSE(limits().fixed_depth);
  EXPECT_FALSE(limits().timed);
}

TEST_F(XboardCommands, ProtoverPingAndTestOutOfRange) {
  EXPECT_EQ(run("protover 2"),
            "feature ping=0 playother=0 san=0 usermove=1 time=1 draw=0 sigint=0 sigterm=0 reuse=0 "
            "analyze=1 myname=\"Orvo v2.14a_x64\" variants=\"normal\" setboard=1 colors=0 ics=0 "
            "name=0 pause=0 done=1\n");
  EXPECT_EQ(run("ping 7"), "pong 7\n");
  EXPECT_EQ(run("test 0"), "");
  EXPECT_EQ(run("test 10"), "");
  EXPECT_EQ(run("test -1"), "");
  EXPECT_EQ(run("test"), "");
}

TEST_F(XboardCommands, HardEasyPostNopostAndD) {
  run("hard");
  EXPECT_EQ(c->ponder_on, 1);
  run("easy");
  EXPECT_EQ(c->ponder_on, 0);
  run("nopost");
  EXPECT_EQ(c->post_on, 0);
  run("post");
  EXPECT_EQ(c->post_on, 1);
  EXPECT_EQ(c->show_board, 0);
  EXPECT_NE(run("d").find("+---+"), std::string::npos);
  EXPECT_EQ(c->show_board, 1);
}

TEST_F(XboardCommands, ExitWithoutAnalysisStillAnswers) {
  EXPECT_EQ(run("exit"), "Analyze stopped\n");
  EXPECT_EQ(c->force_mode, 0);
}

TEST_F(XboardCommands, GoSearchesAndPlaysTheSideToMove) {
  run("sd 2");
  const std::string out = run("go");
  EXPECT_NE(out.find("\nmove "), std::string::npos) << out;
  EXPECT_EQ(c->computer_side, WHITE);
  EXPECT_EQ(c->game.pos.side, BLACK);
  EXPECT_EQ(c->game.pos.hist_ply, 1);
}

TEST_F(XboardCommands, StalemateAndMateAfterAMove) {
  run("setboard 7k/8/6K1/8/8/8/8/5Q2 w - - 0 1");
  run("exit");  // out of force mode
  EXPECT_EQ(run("usermove f1f7"), "1/2-1/2 {Stalemate}\n");
  EXPECT_EQ(c->game_over, 1);
  EXPECT_EQ(run("usermove h8g8"), "");  // the game is over
  run("setboard 7k/8/6K1/8/8/8/8/R7 w - - 0 1");
  EXPECT_EQ(c->game_over, 0);
  run("exit");
  EXPECT_EQ(run("usermove a1a8"), "1-0 {Orvo says White mates}\n");
}

// --- perft, the result lines and the end of the loop ---------------------------

TEST_F(XboardCommands, PerftReport) {
  const std::string out = run("perft 3");
  const std::string head =
      "depth          moves   captures en_passant  promotion     castle\n"
      "perft(1):         20          0          0          0          0\n"
      "perft(2):        400          0          0          0          0\n"
      "perft(3):       8902         34          0          0          0\n"
      "\n";
  ASSERT_EQ(out.compare(0, head.size(), head), 0) << out;
  EXPECT_EQ(out.substr(out.size() - 4), " ms\n");
  EXPECT_EQ(fen(), "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
}

TEST_F(XboardCommands, PerftNothingForZeroNegativeOrText) {
  for (const char* line : {"perft 0", "perft -3", "perft abc", "perft"}) EXPECT_EQ(run(line), "") << line;
}

TEST_F(XboardCommands, PerftTooDeepIsRefused) {
  EXPECT_EQ(run("perft 99999"), "perft: depth 99999 is too deep, the largest is 10\n");
  EXPECT_EQ(run("perft 11"), "perft: depth 11 is too deep, the largest is 10\n");
}

TEST_F(XboardCommands, ResultLinesOfTheGameEnd) {
  const struct {
    const char* fen;
    const char* line;
  } ends[] = {
      {"7k/5Q2/6K1/8/8/8/8/8 b - - 0 1", "1/2-1/2 {Stalemate}\n"},
      {"7k/6Q1/6K1/8/8/8/8/8 b - - 0 1", "1-0 {Orvo says White mates}\n"},
      {"8/8/8/8/8/6k1/6q1/6K1 w - - 0 1", "0-1 {Orvo says Black mates}\n"},
      {"4k3/8/8/8/8/8/8/4K3 w - - 0 1", "1/2-1/2 {Orvo: insufficient material}\n"},
      {"4k3/8/8/8/8/8/8/2B1KN2 w - - 0 1", ""},
  };
  for (const auto& e : ends) {
    run(std::string("setboard ") + e.fen);
    const size_t from = mem->out.size();
    EXPECT_EQ(check_game_end(*c), e.line[0] != 0) << e.fen;
    EXPECT_EQ(mem->out.substr(from), e.line) << e.fen;
  }
  // The fifty-move rule comes before the stalemate.
  run("setboard 7k/5Q2/6K1/8/8/8/8/8 b - - 0 1");
  c->game.pos.fifty = 100;
  size_t from = mem->out.size();
  EXPECT_TRUE(check_game_end(*c));
  EXPECT_EQ(mem->out.substr(from), "1/2-1/2 {Orvo: draw by fifty-move-rule}\n");
  // A game already over says nothing more.
  c->game_over = 1;
  from = mem->out.size();
  EXPECT_TRUE(check_game_end(*c));
  EXPECT_EQ(mem->out.substr(from), "");
}

TEST_F(XboardCommands, QuitEndsTheLoopAndTheRestOfTheLine) {
  mem->feed("ping 1 quit ping 2\nping 3\n");
  const LoopEnd end = c->loop();
  EXPECT_TRUE(end.quit);
  EXPECT_EQ(end.status, 0);
  EXPECT_EQ(mem->out.substr(mem->out.size() - 24), "pong 1\nOrvo is leaving.\n");
}

TEST_F(XboardCommands, EndOfInputOrAnEmptyLineEndsTheLoop) {
  mem->feed("ping 1\n\nping 2\n");
  LoopEnd end = c->loop();
  EXPECT_FALSE(end.quit);
  EXPECT_EQ(mem->out.substr(mem->out.size() - 7), "pong 1\n");
  end = c->loop();  // "ping 2", then the end of input
  EXPECT_FALSE(end.quit);
  EXPECT_EQ(mem->out.substr(mem->out.size() - 7), "pong 2\n");
}

// --- the thinking lines --------------------------------------------------------

TEST_F(XboardCommands, ThinkingLine) {
  Search& s = c->search;
  s.pv[0] = encode_move(E2, E4, 0, 0, PAWN);
  s.pv[1] = encode_move(E7, E5, 0, 0, PAWN);
  s.pv[2] = 0;
  s.nodes = 777;
  s.clock.elapsed = 1.234;
  s.state.best_depth = 7;
  s.state.best_score = 12;
  c->post_on = 1;
  size_t from = mem->out.size();
  c->new_best(s);
  EXPECT_EQ(mem->out.substr(from), "   7     12      123          777 e2e4 e7e5\n");
  // While pondering, the move pondered on comes first, in parentheses.
  c->pondering = 1;
  std::snprintf(c->ponder_move_text, sizeof c->ponder_move_text, "d7d5");
  from = mem->out.size();
  c->new_best(s);
  EXPECT_EQ(mem->out.substr(from), "   7     12      123          777 (d7d5) e2e4 e7e5\n");
  c->pondering = 0;
  c->post_on = 0;
  from = mem->out.size();
  c->new_best(s);
  EXPECT_EQ(mem->out.substr(from), "");
}

// The time kept back from the clock: one second unless the settings file
// says otherwise.
TEST_F(XboardClock, TheTimeKeptBackIsASecondByDefault) {
  xboard_level(limits, "40", "5", "0");
  xboard_time(limits, 30000, 0);
  EXPECT_NEAR(limits.target_time, 7.1, EPS);  // (300 x 0.95 - 1) / 40
  xboard_time(limits, 30000, 0, 0.03);
  EXPECT_NEAR(limits.target_time, (285.0 - 0.03) / 40, EPS);
  xboard_time(limits, 100, 0, 0.03);  // one second on the clock: 0.92 s to share
  EXPECT_NEAR(limits.target_time, (0.95 - 0.03) / 40, EPS);
  xboard_time(limits, 100, 0);  // with the second kept back, nothing at all
  EXPECT_EQ(limits.target_time, 0.0);
}

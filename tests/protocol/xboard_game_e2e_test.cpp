// The xboard game flow through the real orvo binary: games, take-backs,
// set-up positions, analysis, pondering, the result lines and what a
// command does while the engine thinks.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/protocol/xboard_fixture.h"
#include "tests/support/process.h"

using orvo::test::run_orvo;
using orvo::test::Session;
using orvo::test::split_lines;

using namespace orvo::test::xboard;

// Two engines play a whole game against each other through this test, as a
// tournament manager would: "new", "level", "time"/"otim", moves with
// "usermove", "move" replies, until one of them prints a result line. Every
// move is checked by a referee.
TEST_F(XboardGame, WholeGameBetweenTwoEnginesEndsWithAResultLine) {
  Session white(dir_), black(dir_);
  ASSERT_NO_FATAL_FAILURE(start(white));
  ASSERT_NO_FATAL_FAILURE(start(black));
  Referee referee(dir_);
  for (Session* s : {&white, &black}) {
    s->send("new");
    s->send("level 40 5 0");
    s->send("post");
    s->send("easy");
  }
  // Large clocks and a depth limit: every move is a depth-3 search, so the
  // game is the same in every run.
  white.send("time 100000");
  white.send("otim 100000");
  white.send("sd 3");
  white.send("go");
  Session* mover = &white;
  Session* other = &black;
  std::string result;
  int plies = 0, pings = 0;
  while (result.empty() && plies < 600) {
    // The mover's lines up to its move, or to the result line that ends the
    // game after the opponent's move.
    std::string m;
    while (m.empty() && result.empty()) {
      const std::string line = mover->wait_for("", 30);
      ASSERT_FALSE(line.empty()) << "no move at ply " << plies;
      ASSERT_NE(line, "play move failed.") << "at ply " << plies;
      if (starts_with(line, "move ")) m = line.substr(5);
      if (is_result_line(line)) result = line;
    }
    if (m.empty()) break;
    ASSERT_TRUE(referee.play(m)) << "illegal move " << m << " at ply " << plies;
    ++plies;
    // The mover is idle now: what it prints before the pong follows its move.
    const std::string pong = "pong " + std::to_string(++pings);
    mover->send("ping " + std::to_string(pings));
    for (std::string line; (line = mover->wait_for("", 10)) != pong;) {
      ASSERT_FALSE(line.empty());
      if (is_result_line(line)) result = line;
    }
    other->send("time 100000");
    other->send("otim 100000");
    other->send("sd 3");
    other->send("usermove " + m);
    std::swap(mover, other);
  }
  ASSERT_FALSE(result.empty()) << "no result after " << plies << " plies";
  // The other engine sees the same end after the last move.
  if (std::find(kResultLines.begin(), kResultLines.end(), result) != kResultLines.end() &&
      result.find("resigns") == std::string::npos) {
    const std::string pong = "pong " + std::to_string(++pings);
    mover->send("ping " + std::to_string(pings));
    std::string seen;
    for (std::string line; (line = mover->wait_for("", 10)) != pong;) {
      ASSERT_FALSE(line.empty());
      if (is_result_line(line)) seen = line;
    }
    if (!seen.empty()) {
      EXPECT_EQ(seen, result) << "the two engines disagree";
    }
  }
  // Both engines and the referee hold the same position.
  EXPECT_EQ(fen(white), referee.fen());
  EXPECT_EQ(fen(black), referee.fen());
  // After the end no move is accepted any more.
  const size_t from = black.lines().size();
  black.send("usermove e2e4");
  black.send("usermove e7e5");
  expect_alive(black, 999);
  for (const auto& l : since(black, from)) EXPECT_FALSE(starts_with(l, "move ")) << l;
  white.send("quit");
  black.send("quit");
  EXPECT_EQ(white.wait_exit(5), 0);
  EXPECT_EQ(black.wait_exit(5), 0);
}

TEST_F(XboardGame, EngineAnswersAsBlackAfterNew) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send("new");
  s.send("sd 3");
  s.send("usermove e2e4");
  const std::string m = next_move(s, 20);
  ASSERT_EQ(m.size(), 4u);
  Referee referee(dir_);
  ASSERT_TRUE(referee.play("e2e4"));
  EXPECT_TRUE(referee.play(m)) << m;
  EXPECT_EQ(fen(s), referee.fen());
}

TEST_F(XboardGame, UndoTakesBackOneMove) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send("new");
  s.send("undo");  // at the start: nothing happens
  EXPECT_EQ(fen(s), "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
  s.send("force");
  s.send("usermove e2e4");
  s.send("usermove e7e5");
  s.send("usermove g1f3");
  s.send("undo");
  EXPECT_EQ(fen(s), "rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq - 0 2");
  s.send("undo");
  s.send("undo");
  EXPECT_EQ(fen(s), "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
  s.send("undo");
  EXPECT_EQ(fen(s), "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
}

TEST_F(XboardGame, UndoAfterTheEnginesMoveAndTheBoardIsShownWhenAsked) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send("new");
  s.send("sd 2");
  s.send("usermove d2d4");
  ASSERT_FALSE(next_move(s, 20).empty());
  s.send("d");  // from now on the board follows "undo"
  s.send("undo");
  EXPECT_EQ(fen(s), "rnbqkbnr/pppppppp/8/8/3P4/8/PPP1PPPP/RNBQKBNR b KQkq - 0 1");
  int diagrams = 0;
  for (const auto& l : s.lines())
    if (l == "         a   b   c   d   e   f   g   h") ++diagrams;
  EXPECT_EQ(diagrams, 2);  // "d" and "undo"
}

TEST_F(XboardGame, SetboardWaitsInForceModeThenGoPlays) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  const std::string kiwipete = "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1";
  s.send("setboard " + kiwipete);
  ASSERT_EQ(s.wait_for("         a   b", 10), "         a   b   c   d   e   f   g   h");
  // Force mode: a move is played, not answered.
  s.send("usermove e2a6");
  s.send("ping 1");
  ASSERT_EQ(s.wait_for("pong 1", 10), "pong 1");
  for (const auto& l : s.lines()) EXPECT_FALSE(starts_with(l, "move ")) << l;
  s.send("sd 3");
  s.send("go");
  const std::string m = next_move(s, 30);
  Referee referee(dir_);
  referee.setboard(kiwipete);
  ASSERT_TRUE(referee.play("e2a6"));
  EXPECT_TRUE(referee.play(m)) << m;
  EXPECT_EQ(fen(s), referee.fen());
}

TEST_F(XboardGame, GoPlaysTheSideToMoveAndNeverEndsTheGame) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  // White mates in one; "go" plays it but does not announce the result.
  s.send("setboard 7k/8/6K1/8/8/8/8/R7 w - - 0 1");
  s.send("sd 2");
  s.send("go");
  EXPECT_EQ(next_move(s, 20), "a1a8");
  expect_alive(s);
  for (const auto& l : s.lines()) EXPECT_FALSE(is_result_line(l)) << l;
}

TEST_F(XboardGame, ResultLinesAfterTheOpponentsMove) {
  struct Case {
    const char* fen;
    std::vector<std::string> moves;  // in force mode, then the last one answered
    const char* line;
  };
  std::vector<std::string> fifty;
  // Knight and king shuffle: 99 plies in force mode, the 100th answered.
  for (int i = 0; i < 100; ++i) {
    static const char* cycle[] = {"a2a1", "g8h6", "a1a2", "h6g8"};
    fifty.push_back(cycle[i % 4]);
  }
  std::vector<std::string> threefold = {"a2a1", "g8h6", "a1a2", "h6g8", "a2a1", "g8h6", "a1a2", "h6g8"};
  std::vector<std::string> resign_white, resign_black;
  // Two queens against a bare king: 22 king moves, then the losing side's
  // analysis leaves a score far below -9 pawns.
  for (int i = 0; i < 22; ++i) {
    static const char* cycle[] = {"a1b1", "h8g8", "b1a1", "g8h8"};
    resign_white.push_back(cycle[i % 4]);
  }
  const Case cases[] = {
      {"7k/8/6K1/8/8/8/8/R7 w - - 0 1", {"a1a8"}, "1-0 {Orvo says White mates}"},
      {"r7/8/8/8/8/6k1/8/7K b - - 0 1", {"a8a1"}, "0-1 {Orvo says Black mates}"},
      {"7k/8/6K1/8/8/8/8/5Q2 w - - 0 1", {"f1f7"}, "1/2-1/2 {Stalemate}"},
      {"7k/8/8/8/8/8/1q6/K7 w - - 0 1", {"a1b2"}, "1/2-1/2 {Orvo: insufficient material}"},
      {"6n1/8/8/8/8/8/K1k5/8 w - - 0 1", fifty, "1/2-1/2 {Orvo: draw by fifty-move-rule}"},
      {"6n1/8/8/8/8/8/K1k5/8 w - - 0 1", threefold, "1/2-1/2 {Orvo: draw by 3-fold repetition}"},
  };
  for (const Case& c : cases) {
    Session s(dir_);
    ASSERT_NO_FATAL_FAILURE(start(s));
    s.send(std::string("setboard ") + c.fen);
    for (size_t i = 0; i + 1 < c.moves.size(); ++i) s.send("usermove " + c.moves[i]);
    // Out of force mode without a move of the engine's own.
    s.send("analyze");
    usleep(50000);
    s.send("exit");
    const size_t from = s.lines().size();
    s.send("usermove " + c.moves.back());
    expect_alive(s, 77);
    const auto after = since(s, from);
    EXPECT_TRUE(contains(after, c.line)) << c.fen << ": wanted " << c.line;
    for (const auto& l : after) EXPECT_FALSE(starts_with(l, "move ")) << c.fen << ": " << l;
    // The game is over: further moves are ignored.
    const size_t later = s.lines().size();
    s.send("usermove a2a3");
    s.send("usermove h7h6");
    expect_alive(s, 78);
    for (const auto& l : since(s, later)) {
      EXPECT_FALSE(starts_with(l, "move ")) << l;
      EXPECT_NE(l, "play move failed.");
    }
  }
}

// The rule, kept as it is: after the opponent's move the engine resigns when
// the last search saw the side it searched for at -9 pawns or worse, past
// ply 20 and not right after a capture or pawn move. The line names the side
// to move.
TEST_F(XboardGame, ResignationLines) {
  struct Case {
    const char* fen;
    std::vector<std::string> moves;  // 22 plies without a repeated position
    const char* last;
    const char* line;
  };
  // The lost side shuffles its king; the winner's king walks to new squares.
  const char* walk_white[] = {"a1a2", "a2a3", "a3a4", "a4a5", "a5a6", "a6a7",
                              "a7a8", "a8b8", "b8c8", "c8b7", "b7b6"};
  const char* walk_black[] = {"a8a7", "a7a6", "a6a5", "a5a4", "a4a3", "a3a2",
                              "a2a1", "a1b1", "b1c1", "c1b2", "b2b3"};
  std::vector<std::string> black_lost, white_lost;
  for (int i = 0; i < 11; ++i) {
    black_lost.push_back(i % 2 ? "g8h8" : "h8g8");
    black_lost.push_back(walk_white[i]);
    white_lost.push_back(i % 2 ? "g1h1" : "h1g1");
    white_lost.push_back(walk_black[i]);
  }
  const Case cases[] = {
      // Black to move and lost; Black's move, then White is to move.
      {"7k/8/8/8/8/8/2QQ4/K7 b - - 0 1", black_lost, "g8h8", "0-1 {White resigns}"},
      {"k7/2qq4/8/8/8/8/8/7K w - - 0 1", white_lost, "g1h1", "1-0 {Black resigns}"},
  };
  for (const Case& c : cases) {
    Session s(dir_);
    ASSERT_NO_FATAL_FAILURE(start(s));
    s.send(std::string("setboard ") + c.fen);
    for (const auto& m : c.moves) s.send("usermove " + m);
    // The lost side is to move: its analysis scores far below -900.
    s.send("analyze");
    ASSERT_FALSE(s.wait_for("   3 ", 20).empty());
    s.send("exit");
    ASSERT_EQ(s.wait_for("Analyze stopped", 10), "Analyze stopped");
    const size_t from = s.lines().size();
    s.send(std::string("usermove ") + c.last);
    expect_alive(s, 5);
    const auto after = since(s, from);
    EXPECT_TRUE(contains(after, c.line)) << c.fen;
    for (const auto& l : after) EXPECT_FALSE(starts_with(l, "move ")) << l;
  }
}

TEST_F(XboardGame, AnalyzeThenExit) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send("new");
  s.send("post");
  s.send("analyze");
  // Thinking lines keep coming and no move is played.
  EXPECT_TRUE(is_thinking_line(s.wait_for("   5 ", 20)));
  s.send("exit");
  EXPECT_EQ(s.wait_for("Analyze stopped", 5), "Analyze stopped");
  expect_alive(s);
  for (const auto& l : s.lines()) EXPECT_FALSE(starts_with(l, "move ")) << l;
  // Analysis on, off, on again: the same process goes on serving.
  for (int i = 0; i < 3; ++i) {
    s.send("analyze");
    usleep(100000);
    s.send("exit");
  }
  expect_alive(s, 2);
  EXPECT_EQ(fen(s), "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
}

// xboard's analysis mode sends the user's moves, take-backs and new
// positions while the engine analyses, and expects the analysis to go on
// in the new position.
TEST_F(XboardGame, AnalysisFollowsMovesUndoNewAndSetboard) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send("new");
  s.send("post");
  s.send("analyze");
  ASSERT_FALSE(s.wait_for("   4 ", 20).empty());
  size_t from = s.lines().size();
  s.send("usermove e2e4");
  s.send(".");  // a status request: may be ignored
  // New thinking lines for Black: the first move starts on rank 7 or 8.
  std::string line;
  for (int tries = 0; tries < 50 && line.empty(); ++tries) {
    for (const auto& l : since(s, from))
      if (is_thinking_line(l) && words(l)[0] == "4") line = l;
    if (line.empty()) s.wait_for("\x01", 0.1);
  }
  ASSERT_FALSE(line.empty());
  const std::string first = words(line)[4];
  EXPECT_TRUE(first[1] == '7' || first[1] == '8') << line;
  EXPECT_EQ(fen(s), "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq - 0 1");

  s.send("undo");
  EXPECT_EQ(fen(s), "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
  s.send("setboard 7k/8/8/8/8/8/8/K6R w - - 0 1");
  EXPECT_EQ(fen(s), "7k/8/8/8/8/8/8/K6R w - - 0 1");
  // Still analysing, in the new position: every move of the thinking lines
  // printed after the FEN is the king's (a1) or the rook's (h1), which no
  // move of the start position is.
  usleep(300000);
  s.send("ping 55");
  ASSERT_EQ(s.wait_for("pong 55", 10), "pong 55");
  bool after_fen = false;
  int checked = 0;
  for (const auto& l : s.lines()) {
    if (l == "7k/8/8/8/8/8/8/K6R w - - 0 1") after_fen = true;
    if (!after_fen || !is_thinking_line(l)) continue;
    const std::string m = words(l)[4];
    EXPECT_TRUE(m.rfind("a1", 0) == 0 || m.rfind("h1", 0) == 0) << l;
    ++checked;
  }
  EXPECT_GT(checked, 0);
  from = s.lines().size();
  s.send("new");
  EXPECT_EQ(fen(s), "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
  usleep(300000);
  s.send("ping 56");
  ASSERT_EQ(s.wait_for("pong 56", 10), "pong 56");
  checked = 0;
  for (const auto& l : since(s, from))
    if (is_thinking_line(l)) ++checked;
  EXPECT_GT(checked, 0);
  s.send("exit");
  EXPECT_EQ(s.wait_for("Analyze stopped", 5), "Analyze stopped");
  // Analysis is over: a move is now answered.
  s.send("sd 2");
  s.send("usermove e2e4");
  EXPECT_FALSE(next_move(s, 20).empty());
}

TEST_F(XboardGame, MoveNowPlaysTheBestMoveSoFar) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send("setboard r1bq1rk1/pp2bppp/2n1pn2/3p4/2PP4/2N1PN2/PP3PPP/R2QKB1R w KQ - 0 1");
  s.send("st 60");
  s.send("go");
  ASSERT_FALSE(s.wait_for("   5 ", 30).empty());
  const double sent = s.elapsed();
  s.send("?");
  EXPECT_FALSE(next_move(s, 5).empty());
  EXPECT_LT(s.elapsed() - sent, 2.0);
  expect_alive(s);
}

TEST_F(XboardGame, HarmlessCommandsWhileThinkingLeaveTheSearchRunning) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send("new");
  s.send("st 2");
  s.send("usermove e2e4");
  usleep(300000);
  s.send("ping 31");
  s.send("nopost");
  s.send("otim 1000");
  EXPECT_EQ(s.wait_for("pong 31", 1.0), "pong 31");
  // The move still comes, and no thinking line follows "nopost".
  const size_t from = s.lines().size();
  EXPECT_FALSE(next_move(s, 10).empty());
  for (const auto& l : since(s, from)) EXPECT_FALSE(is_thinking_line(l)) << l;
}

TEST_F(XboardGame, ForceOrNewWhileThinkingAbandonsTheSearchWithoutAMove) {
  for (const char* command : {"force", "new", "undo"}) {
    Session s(dir_);
    ASSERT_NO_FATAL_FAILURE(start(s));
    s.send("new");
    s.send("st 30");
    s.send("usermove e2e4");
    ASSERT_FALSE(s.wait_for("   4 ", 20).empty()) << command;
    const double sent = s.elapsed();
    s.send(command);
    expect_alive(s, 3);
    EXPECT_LT(s.elapsed() - sent, 2.0) << command;
    for (const auto& l : s.lines()) EXPECT_FALSE(starts_with(l, "move ")) << command << ": " << l;
    const std::string want = std::string(command) == "force"
                                 ? "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq - 0 1"
                                 : "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1";
    EXPECT_EQ(fen(s), want) << command;
  }
}

TEST_F(XboardGame, QuitWhileThinkingEndsAtOnce) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  s.send("new");
  s.send("st 30");
  s.send("usermove e2e4");
  ASSERT_FALSE(s.wait_for("   4 ", 20).empty());
  s.send("quit");
  EXPECT_EQ(s.wait_exit(3), 0);
  EXPECT_EQ(s.lines().back(), "Orvo is leaving.");
}

TEST_F(XboardPonder, PonderHitPlaysSoon) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  Referee referee(dir_);
  const std::string reply = reach_pondering(s, referee);
  ASSERT_FALSE(reply.empty());
  ASSERT_TRUE(referee.play(reply));
  s.send("time 5600");
  s.send("otim 5500");
  const double sent = s.elapsed();
  s.send("usermove " + reply);
  const std::string m = next_move(s, 10);
  ASSERT_FALSE(m.empty());
  EXPECT_LT(s.elapsed() - sent, 5.0);
  EXPECT_TRUE(referee.play(m)) << m;
  s.send("easy");  // stops pondering on the next reply
  expect_alive(s, 4);
  EXPECT_EQ(fen(s), referee.fen());
}

TEST_F(XboardPonder, PonderMissSearchesTheRealMove) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  Referee referee(dir_);
  const std::string reply = reach_pondering(s, referee);
  ASSERT_FALSE(reply.empty());
  const std::string other = reply == "a2a3" ? "h2h3" : "a2a3";
  ASSERT_TRUE(referee.play(other));
  s.send("time 5600");
  s.send("otim 5500");
  s.send("usermove " + other);
  const std::string m = next_move(s, 10);
  ASSERT_FALSE(m.empty());
  EXPECT_TRUE(referee.play(m)) << m;
  s.send("force");
  expect_alive(s, 4);
  EXPECT_EQ(fen(s), referee.fen());
}

TEST_F(XboardPonder, QuitWhilePonderingEndsQuietly) {
  Session s(dir_);
  ASSERT_NO_FATAL_FAILURE(start(s));
  Referee referee(dir_);
  ASSERT_FALSE(reach_pondering(s, referee).empty());
  const size_t from = s.lines().size();
  s.send("quit");
  EXPECT_EQ(s.wait_exit(3), 0);
  EXPECT_FALSE(contains(since(s, from), "Orvo is leaving."));
}

// A new game, "force", a result or "easy" while pondering: the engine ends
// the ponder phase and is ready for what follows, in the right position.
TEST_F(XboardPonder, CommandsWhilePonderingLeaveACorrectState) {
  for (const char* command : {"new", "force", "result 1-0 {White resigns}", "easy"}) {
    Session s(dir_);
    ASSERT_NO_FATAL_FAILURE(start(s));
    Referee referee(dir_);
    ASSERT_FALSE(reach_pondering(s, referee).empty()) << command;
    const std::string before = referee.fen();
    s.send(command);
    expect_alive(s, 6);
    // No more ponder lines once the command is through.
    usleep(300000);
    const size_t quiet = s.lines().size();
    usleep(300000);
    EXPECT_EQ(s.lines().size(), quiet) << command;
    const std::string c = command;
    if (c == "new") {
      EXPECT_EQ(fen(s), "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
      s.send("sd 2");
      s.send("usermove d2d4");
      EXPECT_FALSE(next_move(s, 20).empty());
    } else {
      EXPECT_EQ(fen(s), before) << command;
    }
    if (c == "force") {
      // Moves are recorded, not answered.
      const size_t from = s.lines().size();
      s.send("usermove a2a3");
      expect_alive(s, 7);
      for (const auto& l : since(s, from)) EXPECT_FALSE(starts_with(l, "move ")) << l;
    }
    if (c == "easy") {
      // Not pondering any more, but still playing.
      s.send("usermove a2a3");
      const std::string m = next_move(s, 20);
      ASSERT_TRUE(referee.play("a2a3"));
      EXPECT_TRUE(referee.play(m)) << m;
      usleep(300000);
      const size_t after = s.lines().size();
      usleep(300000);
      EXPECT_EQ(s.lines().size(), after);
    }
    s.send("quit");
    EXPECT_EQ(s.wait_exit(3), 0) << command;
  }
}

TEST_F(XboardGame, RejectedConsumesItsArgument) {
  auto r = run_orvo("xboard\nrejected analyze\nrejected go\nping 3\nquit\n", 10, dir_);
  ASSERT_FALSE(r.timed_out);
  const auto lines = split_lines(r.out);
  EXPECT_TRUE(contains(lines, "pong 3"));
  for (const auto& l : lines) {
    EXPECT_FALSE(is_thinking_line(l)) << l;
    EXPECT_FALSE(starts_with(l, "move ")) << l;
  }
}

// Thousands of analyze/exit cycles and games in one process: no loop or
// search nests inside another, so the process neither grows nor overflows
// its stack.
TEST_F(XboardGame, ThousandsOfCyclesKeepTheProcessFlat) {
  std::string input = "xboard\n";
  for (int i = 0; i < 2000; ++i) input += "analyze\nusermove e2e4\nundo\nexit\n";
  for (int i = 0; i < 300; ++i) input += "new\nsd 1\nusermove e2e4\nforce\n";
  input += "ping 99\nquit\n";
  auto r = run_orvo(input, 300, dir_);
  ASSERT_FALSE(r.timed_out);
  EXPECT_EQ(r.status, 0);
  const auto lines = split_lines(r.out);
  EXPECT_TRUE(contains(lines, "pong 99"));
  int stopped = 0, moves = 0;
  for (const auto& l : lines) {
    stopped += l == "Analyze stopped";
    moves += starts_with(l, "move ");
  }
  EXPECT_EQ(stopped, 2000);
  EXPECT_EQ(moves, 300);
}

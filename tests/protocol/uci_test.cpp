// The UCI side against a stand-in search: commands, options, flags around
// a search, "position", the words of "go" and the "bestmove" line.
#include "protocol/uci.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "engine/chess.h"
#include "position/fen.h"
#include "io/movetext.h"
#include "tests/protocol/fake_search.h"

using namespace orvo;

namespace {

chess* current = nullptr;

class Uci : public ::testing::Test {
 protected:
  void SetUp() override {
    c = std::make_unique<chess>();
    current = c.get();
    fake::reset();
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    uci_handshake(*c);
    // The once-only set-up is done here, so that every test sees the
    // engine ready and no set-up messages mix into its output.
    uci_engine_init(*c);
    testing::internal::GetCapturedStderr();
    testing::internal::GetCapturedStdout();
    fake::reset();
  }
  void TearDown() override { current = nullptr; }

  // Obeys one line and returns what went to standard output.
  std::string run(const std::string& line) {
    std::vector<char> buf(line.begin(), line.end());
    buf.push_back(0);
    testing::internal::CaptureStdout();
    uci_execute(*c, buf.data());
    return testing::internal::GetCapturedStdout();
  }
  std::string fen() {
    char text[128];
    write_fen(c->pos, text);
    return text;
  }

  std::unique_ptr<chess> c;
};

void feed(const char* line) {
  char buf[256];
  std::snprintf(buf, sizeof buf, "%s", line);
  uci_execute(*current, buf);
}

}  // namespace

// --- handshake and options -------------------------------------------------

TEST(UciHandshake, LinesAreExact) {
  auto c = std::make_unique<chess>();
  fake::reset();
  c->searching = c->force_mode = c->ponder_search = 1;
  testing::internal::CaptureStdout();
  uci_handshake(*c);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "id name Orvo v2.14a_x64\n"
            "id author Erwan Tollis Quenby\n"
            "option name Hash type spin default 32 min 1 max 128\n"
            "option name Ponder type check default false\n"
            "option name OwnBook type check default true\n"
            "option name BookFile type string default Orvo.bin\n"
            "uciok\n");
  EXPECT_EQ(c->uci_mode, 1);
  EXPECT_EQ(c->xboard_mode, 0);
  EXPECT_EQ(c->searching, 0);
  EXPECT_EQ(c->force_mode, 0);
  EXPECT_EQ(c->ponder_search, 0);
  EXPECT_NE(c->poll_input, nullptr);
  EXPECT_EQ(fake::calls.reset_search, 1);
  board start;
  set_position(start, start_fen);
  EXPECT_TRUE(c->pos == start);
}

TEST(UciHandshake, OptionsGoBackToTheirDefaults) {
  auto c = std::make_unique<chess>();
  option_set("Hash", "100");
  option_set("Ponder", "true");
  testing::internal::CaptureStdout();
  uci_handshake(*c);
  const std::string out = testing::internal::GetCapturedStdout();
  EXPECT_NE(out.find("default 32 min 1 max 128"), std::string::npos);
  EXPECT_STREQ(option_value("Hash"), "32");
  EXPECT_FALSE(option_is_true("Ponder"));
  EXPECT_TRUE(option_is_true("OwnBook"));
  EXPECT_STREQ(option_value("BookFile"), "Orvo.bin");
}

TEST(UciOptions, CheckValues) {
  options_reset();
  for (const char* yes : {"true", "yes", "1"}) {
    ASSERT_TRUE(option_set("Ponder", yes));
    EXPECT_TRUE(option_is_true("Ponder")) << yes;
  }
  for (const char* no : {"false", "no", "0", "TRUE", "Yes", "", "true ", "2", "on"}) {
    ASSERT_TRUE(option_set("Ponder", no));
    EXPECT_FALSE(option_is_true("Ponder")) << no;
  }
  EXPECT_FALSE(option_is_true("NoSuchOption"));
  EXPECT_FALSE(option_set("NoSuchOption", "1"));
  EXPECT_FALSE(option_set("hash", "1"));  // names are case-sensitive
  EXPECT_EQ(option_value("NoSuchOption"), nullptr);
  options_reset();
}

TEST(UciOptions, LongValuesAreCut) {
  options_reset();
  const std::string v(1000, 'v');
  ASSERT_TRUE(option_set("BookFile", v.c_str()));
  EXPECT_EQ(std::string(option_value("BookFile")), std::string(255, 'v'));
  options_reset();
}

TEST_F(Uci, SetOptionNameAndValue) {
  EXPECT_EQ(run("setoption name Hash value 64"), "");
  EXPECT_STREQ(option_value("Hash"), "64");
  run("setoption name Ponder value true");
  EXPECT_TRUE(option_is_true("Ponder"));
  run("setoption name BookFile value my book.bin");
  EXPECT_STREQ(option_value("BookFile"), "my book.bin");
}

TEST_F(Uci, SetOptionNeedsNameBeforeValue) {
  run("setoption name Hash");  // no value: buttons cannot be set
  EXPECT_STREQ(option_value("Hash"), "32");
  run("setoption value 64 name Hash");
  EXPECT_STREQ(option_value("Hash"), "32");
  run("setoption Hash value 64");
  EXPECT_STREQ(option_value("Hash"), "32");
  run("setoption name Hash  value 64");  // the name would be "Hash "
  EXPECT_STREQ(option_value("Hash"), "32");
  run("setoption name Hash value");  // "value" without its blank
  EXPECT_STREQ(option_value("Hash"), "32");
  EXPECT_EQ(run("setoption name Unknown value 1"), "");
  EXPECT_EQ(run("setoption name value 1"), "");
  EXPECT_EQ(run("setoption"), "");
  run("setoption name Hash value ");
  EXPECT_STREQ(option_value("Hash"), "");
}

TEST_F(Uci, SetOptionIsMatchedByPrefix) {
  run("setoptionXname Hash value 48");
  EXPECT_STREQ(option_value("Hash"), "48");
  run("setoptio name Hash value 16");
  EXPECT_STREQ(option_value("Hash"), "48");
}

TEST_F(Uci, SetOptionWithHugeValue) {
  run("setoption name BookFile value " + std::string(70000, 'b'));
  EXPECT_EQ(std::string(option_value("BookFile")), std::string(255, 'b'));
}

// --- plain commands --------------------------------------------------------

TEST_F(Uci, IsReadyAnswersReadyOk) {
  EXPECT_EQ(run("isready"), "readyok\n");
  EXPECT_EQ(fake::calls.tt_resize, 0);  // the set-up runs once only
}

TEST_F(Uci, UnknownAndNearMissCommandsAreIgnored) {
  for (const char* line : {"uci", "debug on", "register later", "", " isready", "isready ",
                           "readyok", "Stop", "quit now", "ponderhit ", "xboard", "stopp",
                           "ucinewgame now"}) {
    EXPECT_EQ(run(line), "") << line;
  }
  EXPECT_EQ(fake::calls.think, 0);
  EXPECT_EQ(fake::calls.tt_clear, 0);
}

TEST_F(Uci, QuitEndsTheProcess) {
  EXPECT_EXIT(run("quit"), testing::ExitedWithCode(0), "");
}

TEST_F(Uci, QuitEndsTheProcessAlsoDuringASearch) {
  fake::script.during_think = [](chess&) { feed("quit"); };
  EXPECT_EXIT(run("go infinite"), testing::ExitedWithCode(0), "");
}

TEST_F(Uci, NewGameClearsTableAndBookFailures) {
  c->book_failures = 3;
  EXPECT_EQ(run("ucinewgame"), "");
  EXPECT_EQ(fake::calls.tt_clear, 1);
  EXPECT_EQ(c->book_failures, 0u);
}

// --- go and the flags around the search ------------------------------------

TEST_F(Uci, GoSearchesAndSendsTheMove) {
  fake::script.best = encode_move(E2, E4, 0, 0, PAWN);
  fake::script.reply = encode_move(E7, E5, 0, 0, PAWN);
  fake::script.elapsed = 1.2346;
  fake::script.nodes = 5000;
  fake::script.nps = 4050.2;
  EXPECT_EQ(run("go depth 3"),
            "info time 1235 nodes 5000 nps 4050 cpuload 0\nbestmove e2e4 ponder e7e5\n");
  EXPECT_EQ(fake::calls.think, 1);
  EXPECT_EQ(fake::calls.searching, 1);
  EXPECT_EQ(fake::calls.ponder_search, 0);
  EXPECT_EQ(fake::calls.bestmove_owed, 0);
  EXPECT_TRUE(fake::calls.limits_at_think.fixedDepth);
  EXPECT_EQ(fake::calls.limits_at_think.depthLimit, 3);
  EXPECT_EQ(c->searching, 0);
  EXPECT_EQ(c->force_mode, 0);
}

TEST_F(Uci, BestMoveWithoutReplyAndWithoutMove) {
  fake::script.best = encode_move(E7, E8, 0, KNIGHT, PAWN);
  EXPECT_EQ(run("go depth 1"), "info time 0 nodes 0 nps 0 cpuload 0\nbestmove e7e8n\n");
  fake::script.best = 0;  // mate or stalemate at the root
  EXPECT_EQ(run("go depth 1"), "info time 0 nodes 0 nps 0 cpuload 0\nbestmove a8a8\n");
}

TEST_F(Uci, GoIsMatchedByItsFirstTwoCharacters) {
  run("gone");
  EXPECT_EQ(fake::calls.think, 1);
  run("g");
  EXPECT_EQ(fake::calls.think, 1);
}

TEST_F(Uci, GoInfiniteHoldsTheMoveUntilStop) {
  fake::script.best = encode_move(D2, D4, 0, 0, PAWN);
  EXPECT_EQ(run("go infinite"), "");
  EXPECT_EQ(fake::calls.ponder_search, 1);
  EXPECT_TRUE(fake::calls.limits_at_think.infinite);
  EXPECT_EQ(c->force_mode, 1);  // the move is owed
  EXPECT_EQ(c->searching, 0);
  // While the move is owed, commands that would change the game wait.
  run("go depth 1");
  EXPECT_EQ(fake::calls.think, 1);
  const std::string before = fen();
  run("position startpos moves e2e4");
  EXPECT_EQ(fen(), before);
  run("setoption name Hash value 1");
  EXPECT_STREQ(option_value("Hash"), "32");
  run("ucinewgame");
  EXPECT_EQ(fake::calls.tt_clear, 0);
  EXPECT_EQ(run("isready"), "readyok\n");
  EXPECT_EQ(run("stop"), "info time 0 nodes 0 nps 0 cpuload 0\nbestmove d2d4\n");
  EXPECT_EQ(c->force_mode, 0);
  EXPECT_EQ(run("stop"), "");
  EXPECT_EQ(run("ponderhit"), "");
}

TEST_F(Uci, GoPonderThenPonderHitAfterTheSearchEnded) {
  fake::script.best = encode_move(G1, F3, 0, 0, KNIGHT);
  EXPECT_EQ(run("go ponder wtime 1000 btime 1000"), "");
  EXPECT_TRUE(fake::calls.limits_at_think.infinite);
  EXPECT_TRUE(fake::calls.limits_at_think.timed);
  EXPECT_EQ(run("ponderhit"), "info time 0 nodes 0 nps 0 cpuload 0\nbestmove g1f3\n");
  EXPECT_EQ(c->force_mode, 0);
}

TEST_F(Uci, PonderHitDuringTheSearchTurnsItIntoATimedSearch) {
  fake::script.best = encode_move(G1, F3, 0, 0, KNIGHT);
  fake::script.during_think = [](chess& c) {
    feed("ponderhit");
    EXPECT_FALSE(limits.infinite);
    EXPECT_TRUE(limits.timed);
    EXPECT_EQ(c.ponder_search, 0);
  };
  EXPECT_EQ(run("go ponder wtime 1000 btime 1000"),
            "info time 0 nodes 0 nps 0 cpuload 0\nbestmove g1f3\n");
  EXPECT_EQ(c->force_mode, 0);
}

TEST_F(Uci, StopDuringTheSearchSendsTheMoveWhenItUnwinds) {
  fake::script.best = encode_move(B1, C3, 0, 0, KNIGHT);
  fake::script.during_think = [](chess& c) {
    feed("stop");
    EXPECT_TRUE(state.stop_command);
    EXPECT_EQ(c.ponder_search, 0);
  };
  EXPECT_EQ(run("go infinite"), "info time 0 nodes 0 nps 0 cpuload 0\nbestmove b1c3\n");
  EXPECT_EQ(c->force_mode, 0);
}

TEST_F(Uci, CommandsDuringTheSearch) {
  fake::script.best = encode_move(B1, C3, 0, 0, KNIGHT);
  fake::script.during_think = [](chess& c) {
    testing::internal::GetCapturedStdout();  // what came before: nothing
    testing::internal::CaptureStdout();
    feed("isready");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "readyok\n");
    testing::internal::CaptureStdout();
    const std::string before = [&] {
      char t[128];
      write_fen(c.pos, t);
      return std::string(t);
    }();
    feed("position startpos moves e2e4");
    feed("go depth 1");
    feed("setoption name Hash value 2");
    feed("ucinewgame");
    feed("nonsense");
    char t[128];
    write_fen(c.pos, t);
    EXPECT_EQ(before, t);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    testing::internal::CaptureStdout();
  };
  run("go depth 5");
  EXPECT_EQ(fake::calls.think, 1);
  EXPECT_EQ(fake::calls.tt_clear, 0);
  EXPECT_STREQ(option_value("Hash"), "32");
}

TEST_F(Uci, PollHookObeysOneLineAndNeverAbandons) {
  // The hook reads from standard input; here a file with "stop" on it.
  EXPECT_EXIT(
      {
        char name[] = "/tmp/orvo_uci_in_XXXXXX";
        const int fd = mkstemp(name);
        (void)!write(fd, "stop\nisready\n", 13);
        lseek(fd, 0, SEEK_SET);
        dup2(fd, 0);
        unlink(name);
        c->searching = 1;
        state.stop_command = false;
        const bool abandon = c->poll_input(*c);
        std::exit(!abandon && state.stop_command && c->ponder_search == 0 ? 3 : 4);
      },
      testing::ExitedWithCode(3), "");
}

// --- reading lines ------------------------------------------------------------

namespace {

// Runs the line handler n times over a file given as standard input.
[[noreturn]] void handle_lines_from(chess& c, const std::string& text, int n) {
  char name[] = "/tmp/orvo_uci_in_XXXXXX";
  const int fd = mkstemp(name);
  size_t done = 0;
  while (done < text.size()) {
    const ssize_t w = write(fd, text.data() + done, text.size() - done);
    if (w <= 0) break;
    done += size_t(w);
  }
  lseek(fd, 0, SEEK_SET);
  dup2(fd, 0);
  unlink(name);
  for (int i = 0; i < n; ++i) uci_handle_line(c);
  std::exit(5);
}

}  // namespace

TEST_F(Uci, EndOfInputEndsTheProcessWithStatus0) {
  EXPECT_EXIT(handle_lines_from(*c, "", 1), testing::ExitedWithCode(0), "");
  EXPECT_EXIT(handle_lines_from(*c, "isready\n", 2), testing::ExitedWithCode(0), "");
}

TEST_F(Uci, ReadErrorIsFatal) {
  EXPECT_EXIT(
      {
        const int fd = open("/dev/null", O_WRONLY);
        dup2(fd, 0);
        uci_handle_line(*c);
      },
      testing::ExitedWithCode(1), "^my_file_read_line\\(\\): fgets\\(\\): Bad file descriptor\n$");
}

namespace {

// In a child process: runs the line handler n times over the text given as
// standard input, then exits with 6 when the output was as expected, else 7.
[[noreturn]] void expect_output(chess& c, const std::string& text, int n,
                                const std::string& expected) {
  testing::internal::CaptureStdout();
  char name[] = "/tmp/orvo_uci_in_XXXXXX";
  const int fd = mkstemp(name);
  size_t done = 0;
  while (done < text.size()) {
    const ssize_t w = write(fd, text.data() + done, text.size() - done);
    if (w <= 0) break;
    done += size_t(w);
  }
  lseek(fd, 0, SEEK_SET);
  dup2(fd, 0);
  unlink(name);
  for (int i = 0; i < n; ++i) uci_handle_line(c);
  const std::string out = testing::internal::GetCapturedStdout();
  if (out != expected) std::fprintf(stderr, "output: [%s]\n", out.c_str());
  std::exit(out == expected ? 6 : 7);
}

}  // namespace

TEST_F(Uci, LinesAreCutAtTheNewline) {
  // The last line comes without a newline.
  EXPECT_EXIT(expect_output(*c, "isready\nisready", 2, "readyok\nreadyok\n"),
              testing::ExitedWithCode(6), "");
  EXPECT_EXIT(expect_output(*c, "isready\r\n", 1, ""), testing::ExitedWithCode(6), "");
}

TEST_F(Uci, VeryLongLinesArriveInPieces) {
  // 70,000 characters: the first 65,535 form one line, the rest another;
  // neither is a command. Then "isready" is answered.
  EXPECT_EXIT(expect_output(*c, std::string(70000, 'x') + "\nisready\n", 3, "readyok\n"),
              testing::ExitedWithCode(6), "");
  // A "go" line cut by the limit: what is left over arrives as a line of
  // its own and is ignored.
  fake::script.best = encode_move(E2, E4, 0, 0, PAWN);
  EXPECT_EXIT(expect_output(*c, "go depth 1" + std::string(65525, ' ') + "stop\n", 2,
                            "info time 0 nodes 0 nps 0 cpuload 0\nbestmove e2e4\n"),
              testing::ExitedWithCode(6), "");
}

// --- position -------------------------------------------------------------------

TEST_F(Uci, PositionStartposWithMoves) {
  run("position startpos moves e2e4");
  EXPECT_EQ(fen(), "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq - 0 1");
  EXPECT_EQ(c->pos.hist_ply, 1);
  run("position startpos moves e2e4 e7e5 g1f3");
  EXPECT_EQ(c->pos.hist_ply, 3);
  EXPECT_EQ(c->pos.piece[F3], KNIGHT);
  run("position startpos");
  EXPECT_EQ(fen(), "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
}

TEST_F(Uci, PositionMovesWithoutStartposPlaysFromTheStart) {
  run("position fen 8/8/8/8/8/8/8/K6k w - - 0 1");
  run("position moves e2e4");
  EXPECT_EQ(fen(), "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq - 0 1");
}

TEST_F(Uci, PositionFenWithAndWithoutMoves) {
  run("position fen r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1");
  EXPECT_EQ(fen(), "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1");
  run("position fen r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1 moves e1g1 e8c8");
  EXPECT_EQ(c->pos.piece[G1], KING);
  EXPECT_EQ(c->pos.piece[F1], ROOK);
  EXPECT_EQ(c->pos.piece[C8], KING);
  EXPECT_EQ(c->pos.piece[D8], ROOK);
  EXPECT_EQ(c->pos.hist_ply, 2);
}

TEST_F(Uci, PositionSkipsMovesThatCannotBePlayed) {
  run("position startpos moves e2e4 zzzz e7e5");
  EXPECT_EQ(c->pos.hist_ply, 2);
  EXPECT_EQ(c->pos.piece[E5], PAWN);
  run("position startpos moves e2e5 zzzz e7e5");
  EXPECT_EQ(fen(), "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
  // Blanks between moves may repeat; a trailing blank is harmless.
  run("position startpos moves e2e4   e7e5 ");
  EXPECT_EQ(c->pos.hist_ply, 2);
  // The first move starts exactly six characters after "moves": a second
  // blank there becomes part of the first move, which is then refused.
  EXPECT_EQ(run("position startpos moves  e2e4 e7e5"), "play: illegal promotion\n");
  EXPECT_EQ(c->pos.hist_ply, 0);
}

TEST_F(Uci, PositionPromotionAndMoveTokens) {
  run("position fen 8/4P3/8/8/8/8/k7/7K w - - 0 1 moves e7e8n");
  EXPECT_EQ(c->pos.piece[E8], KNIGHT);
  // A move cut short reads into the next one: "e2 e4" is one token whose
  // fifth character is no promotion letter.
  EXPECT_EQ(run("position startpos moves e2 e4"), "play: illegal promotion\n");
  EXPECT_EQ(c->pos.hist_ply, 0);
  run("position startpos moves e2e4e7e5");  // "e2e4e" then "7e5"
  EXPECT_EQ(c->pos.hist_ply, 0);
}

TEST_F(Uci, PositionWithBrokenFen) {
  run("position fen");
  EXPECT_EQ(c->pos.occupied, 0u);
  run("position fen moves e2e4");
  EXPECT_EQ(c->pos.occupied, 0u);
  EXPECT_EQ(c->pos.hist_ply, 0);
  run("position fen rnbqkbnr/pppp");
  run("position fen !!garbage!! x y z");
  run("position fen " + std::string(70000, 'p'));
  run("position startpos moves");
  EXPECT_EQ(fen(), "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
}

TEST_F(Uci, PositionIsMatchedByPrefix) {
  run("position startpos moves e2e4");
  run("positionXYZ");
  EXPECT_EQ(fen(), "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
  run("positio fen 8/8/8/8/8/8/8/K6k w - - 0 1");
  EXPECT_EQ(fen(), "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
}

// Every move is played, however long the game: the history is a ring.
TEST_F(Uci, PositionWithAVeryLongMoveList) {
  std::string line = "position startpos moves";
  int moves = 0;
  for (; line.size() < 70000; moves += 4) line += " g1f3 g8f6 f3g1 f6g8";
  run(line + " e2e4");
  EXPECT_EQ(c->pos.hist_ply, moves + 1);
  EXPECT_EQ(fen().substr(0, 54), "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq -");
}

// --- the words of go ------------------------------------------------------------

TEST_F(Uci, GoDepthAndMate) {
  uci_set_limits(*c, "go depth 7");
  EXPECT_TRUE(limits.fixedDepth);
  EXPECT_EQ(limits.depthLimit, 7);
  EXPECT_FALSE(limits.timed);
  EXPECT_FALSE(limits.infinite);
  uci_set_limits(*c, "go mate 3");  // searched to depth 5
  EXPECT_TRUE(limits.fixedDepth);
  EXPECT_EQ(limits.depthLimit, 5);
  uci_set_limits(*c, "go mate 2 depth 9");  // depth wins
  EXPECT_EQ(limits.depthLimit, 9);
  uci_set_limits(*c, "go depth 0");
  EXPECT_TRUE(limits.fixedDepth);
  EXPECT_EQ(limits.depthLimit, 0);
  uci_set_limits(*c, "go depth -1");
  EXPECT_FALSE(limits.fixedDepth);
  uci_set_limits(*c, "go depth -1 mate 1");
  EXPECT_TRUE(limits.fixedDepth);
  EXPECT_EQ(limits.depthLimit, 1);
}

TEST_F(Uci, GoStartsFromClearedLimits) {
  limits.timed = true;
  limits.infinite = true;
  limits.fixedDepth = true;
  uci_set_limits(*c, "go");
  EXPECT_EQ(fake::calls.reset_search, 1);
  EXPECT_FALSE(limits.timed);
  EXPECT_FALSE(limits.infinite);
  EXPECT_FALSE(limits.fixedDepth);
}

TEST_F(Uci, GoMovetime) {
  EXPECT_FALSE(uci_set_limits(*c, "go movetime 5000"));
  EXPECT_TRUE(limits.timed);
  EXPECT_DOUBLE_EQ(limits.hardLimit, 5.0);
  EXPECT_DOUBLE_EQ(limits.targetTime, 25.0);
  EXPECT_EQ(fake::calls.allocate, 0);
  // Movetime wins over the clock.
  uci_set_limits(*c, "go wtime 60000 btime 60000 movetime 1000");
  EXPECT_DOUBLE_EQ(limits.hardLimit, 1.0);
  EXPECT_DOUBLE_EQ(limits.targetTime, 5.0);
  EXPECT_EQ(fake::calls.allocate, 0);
  uci_set_limits(*c, "go movetime 0");
  EXPECT_TRUE(limits.timed);
  EXPECT_DOUBLE_EQ(limits.hardLimit, 0.0);
}

TEST_F(Uci, GoClockOfTheSideToMove) {
  fake::script.allocation = {1.25, 7.5};
  uci_set_limits(*c, "go wtime 60000 btime 30000 winc 1000 binc 2000 movestogo 20");
  EXPECT_EQ(fake::calls.allocate, 1);
  EXPECT_DOUBLE_EQ(fake::calls.alloc_time, 60.0);
  EXPECT_DOUBLE_EQ(fake::calls.alloc_inc, 1.0);
  EXPECT_EQ(fake::calls.alloc_togo, 20);
  EXPECT_DOUBLE_EQ(fake::calls.alloc_factor, 1.0);
  EXPECT_TRUE(limits.timed);
  EXPECT_DOUBLE_EQ(limits.targetTime, 1.25);
  EXPECT_DOUBLE_EQ(limits.hardLimit, 7.5);

  run("position startpos moves e2e4");
  uci_set_limits(*c, "go wtime 60000 btime 30000 winc 1000 binc 2000 movestogo 20");
  EXPECT_DOUBLE_EQ(fake::calls.alloc_time, 30.0);
  EXPECT_DOUBLE_EQ(fake::calls.alloc_inc, 2.0);

  // Only White's clock given, Black to move: no time limit.
  uci_set_limits(*c, "go wtime 60000");
  EXPECT_EQ(fake::calls.allocate, 2);
  EXPECT_FALSE(limits.timed);
}

TEST_F(Uci, GoMovesToGoAndIncrementDefaults) {
  uci_set_limits(*c, "go wtime 60000 btime 60000");
  EXPECT_EQ(fake::calls.alloc_togo, 30);
  EXPECT_DOUBLE_EQ(fake::calls.alloc_inc, 0.0);
  uci_set_limits(*c, "go wtime 60000 movestogo 0");
  EXPECT_EQ(fake::calls.alloc_togo, 30);
  uci_set_limits(*c, "go wtime 60000 movestogo -4 winc -500");
  EXPECT_EQ(fake::calls.alloc_togo, 30);
  EXPECT_DOUBLE_EQ(fake::calls.alloc_inc, 0.0);
  uci_set_limits(*c, "go wtime 60000 movestogo 1");
  EXPECT_EQ(fake::calls.alloc_togo, 1);
  uci_set_limits(*c, "go wtime 0");  // no time left is still a clock
  EXPECT_TRUE(limits.timed);
  EXPECT_DOUBLE_EQ(fake::calls.alloc_time, 0.0);
  // Below zero is an empty clock too (not the absence of one, which would
  // let the search run without any limit).
  uci_set_limits(*c, "go wtime -1");
  EXPECT_TRUE(limits.timed);
  EXPECT_DOUBLE_EQ(fake::calls.alloc_time, 0.0);
}

TEST_F(Uci, GoPonderOptionStretchesTheTime) {
  run("setoption name Ponder value true");
  uci_set_limits(*c, "go wtime 60000 btime 60000");
  EXPECT_DOUBLE_EQ(fake::calls.alloc_factor, 1.25);
  run("setoption name Ponder value false");
  uci_set_limits(*c, "go wtime 60000 btime 60000");
  EXPECT_DOUBLE_EQ(fake::calls.alloc_factor, 1.0);
}

TEST_F(Uci, GoInfiniteAndPonder) {
  EXPECT_TRUE(uci_set_limits(*c, "go infinite"));
  EXPECT_TRUE(limits.infinite);
  EXPECT_FALSE(limits.timed);
  EXPECT_TRUE(uci_set_limits(*c, "go ponder wtime 5000 btime 5000"));
  EXPECT_TRUE(limits.infinite);
  EXPECT_TRUE(limits.timed);
  EXPECT_FALSE(uci_set_limits(*c, "go wtime 5000 btime 5000"));
  EXPECT_FALSE(limits.infinite);
}

TEST_F(Uci, GoWordsAreMatchedByFixedLengthPrefixes) {
  uci_set_limits(*c, "go depthx 4");
  EXPECT_EQ(limits.depthLimit, 4);
  EXPECT_TRUE(uci_set_limits(*c, "go infinitely"));
  EXPECT_TRUE(uci_set_limits(*c, "go ponderous"));
  uci_set_limits(*c, "go dep 4");
  EXPECT_FALSE(limits.fixedDepth);
  uci_set_limits(*c, "go movestogo 10 movetime 100");
  EXPECT_DOUBLE_EQ(limits.hardLimit, 0.1);
  uci_set_limits(*c, "go wtimes 2000 movestogoal 7");
  EXPECT_DOUBLE_EQ(fake::calls.alloc_time, 2.0);
  EXPECT_EQ(fake::calls.alloc_togo, 7);
}

TEST_F(Uci, GoNodesAndSearchMovesChangeNothing) {
  EXPECT_FALSE(uci_set_limits(*c, "go nodes 1000 searchmoves e2e4 d2d4 depth 2"));
  EXPECT_TRUE(limits.fixedDepth);
  EXPECT_EQ(limits.depthLimit, 2);
  EXPECT_FALSE(limits.timed);
  // The value of "nodes" is taken as its value, not as a word.
  uci_set_limits(*c, "go nodes depth 3");
  EXPECT_FALSE(limits.fixedDepth);
}

TEST_F(Uci, GoWordsWithoutValues) {
  for (const char* line : {"go depth", "go mate", "go movetime", "go wtime", "go btime",
                           "go winc", "go binc", "go movestogo", "go nodes", "go searchmoves",
                           "go   ", "go depth  "}) {
    uci_set_limits(*c, line);
    EXPECT_FALSE(limits.fixedDepth) << line;
    EXPECT_FALSE(limits.timed) << line;
    EXPECT_FALSE(limits.infinite) << line;
  }
}

TEST_F(Uci, GoWithNonNumericValues) {
  uci_set_limits(*c, "go depth x");  // read as 0
  EXPECT_TRUE(limits.fixedDepth);
  EXPECT_EQ(limits.depthLimit, 0);
  uci_set_limits(*c, "go movetime abc");
  EXPECT_TRUE(limits.timed);
  EXPECT_DOUBLE_EQ(limits.hardLimit, 0.0);
}

TEST_F(Uci, GoWithHugeValuesSaturates) {
  uci_set_limits(*c, "go depth 99999999999999999999");
  EXPECT_EQ(limits.depthLimit, INT_MAX);
  uci_set_limits(*c, "go mate 99999999999");
  EXPECT_EQ(limits.depthLimit, INT_MAX);
  uci_set_limits(*c, "go mate 2000000000");
  EXPECT_EQ(limits.depthLimit, INT_MAX);
  uci_set_limits(*c, "go depth -99999999999999999999");
  EXPECT_FALSE(limits.fixedDepth);
  uci_set_limits(*c, "go wtime 99999999999999 movestogo 99999999999");
  EXPECT_DOUBLE_EQ(fake::calls.alloc_time, INT_MAX / 1000.0);
  EXPECT_EQ(fake::calls.alloc_togo, INT_MAX);
  uci_set_limits(*c, "go movetime 99999999999999");
  EXPECT_DOUBLE_EQ(limits.hardLimit, INT_MAX / 1000.0);
}

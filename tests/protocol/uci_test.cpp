// The UCI side in process, with the real search, driven through a front
// end in memory: commands, options, flags around a search, "position", the
// words of "go" and the "bestmove" line.
#include "protocol/uci.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <fstream>
#include <regex>
#include <string>

#include "io/movetext.h"
#include "position/movegen.h"
#include "tests/protocol/uci_fixture.h"

using namespace orvo;

namespace {

using UciSide = orvo::test::UciFixture;

// The last line of some output, without its newline.
std::string last_line(const std::string& out) {
  if (out.empty()) return "";
  const size_t end = out.back() == '\n' ? out.size() - 1 : out.size();
  const size_t start = out.rfind('\n', end - 1);
  return out.substr(start == std::string::npos ? 0 : start + 1, end - (start == std::string::npos ? 0 : start + 1));
}

// The line before the last one.
std::string line_before_last(const std::string& out) {
  const std::string last = last_line(out);
  return last_line(out.substr(0, out.size() - last.size() - 1));
}

bool is_final_info(const std::string& line) {
  return std::regex_match(line, std::regex("info time [0-9]+ nodes [0-9]+ nps [0-9]+ cpuload 0"));
}

// A move that the generators make in the position, given as text.
bool legal_text(const board& pos, const std::string& text) {
  board b = pos;
  MoveList l;
  generate_all(b, l);
  for (int i = 0; i < l.count; ++i) {
    char t[8];
    move_to_text(l.moves[i], t);
    undo u;
    if (text == t && make(b, l.moves[i], u)) return true;
  }
  return false;
}

}  // namespace

// --- handshake and options -------------------------------------------------

TEST_F(UciSide, HandshakeLinesAreExact) {
  uci->searching = uci->bestmove_owed = uci->ponder_search = 1;
  run("position startpos moves e2e4");
  forget_output();
  uci->handshake();
  EXPECT_EQ(mem->out,
            "id name Orvo v2.14a_x64\n"
            "id author Erwan Tollis Quenby\n"
            "option name Hash type spin default 32 min 1 max 128\n"
            "option name Ponder type check default false\n"
            "option name OwnBook type check default true\n"
            "option name BookFile type string default Orvo.bin\n"
            "option name Threads type spin default 1 min 1 max 256\n"
            "option name MultiPV type spin default 1 min 1 max 256\n"
            "option name Move Overhead type spin default 1000 min 0 max 5000\n"
            "uciok\n");
  EXPECT_EQ(uci->searching, 0);
  EXPECT_EQ(uci->bestmove_owed, 0);
  EXPECT_EQ(uci->ponder_search, 0);
  board start;
  set_position(start, start_fen);
  EXPECT_TRUE(pos() == start);
}

TEST_F(UciSide, HandshakeBringsTheOptionsBackToTheirDefaults) {
  uci->option_set("Hash", "100");
  uci->option_set("Ponder", "true");
  uci->handshake();
  EXPECT_NE(mem->out.find("default 32 min 1 max 128"), std::string::npos);
  EXPECT_STREQ(uci->option_value("Hash"), "32");
  EXPECT_FALSE(uci->option_is_true("Ponder"));
  EXPECT_TRUE(uci->option_is_true("OwnBook"));
  EXPECT_STREQ(uci->option_value("BookFile"), "Orvo.bin");
}

TEST_F(UciSide, CheckValues) {
  for (const char* yes : {"true", "yes", "1"}) {
    ASSERT_TRUE(uci->option_set("Ponder", yes));
    EXPECT_TRUE(uci->option_is_true("Ponder")) << yes;
  }
  for (const char* no : {"false", "no", "0", "TRUE", "Yes", "", "true ", "2", "on"}) {
    ASSERT_TRUE(uci->option_set("Ponder", no));
    EXPECT_FALSE(uci->option_is_true("Ponder")) << no;
  }
  EXPECT_FALSE(uci->option_is_true("NoSuchOption"));
  EXPECT_FALSE(uci->option_set("NoSuchOption", "1"));
  EXPECT_FALSE(uci->option_set("hash", "1"));  // names are case-sensitive
  EXPECT_EQ(uci->option_value("NoSuchOption"), nullptr);
}

TEST_F(UciSide, LongOptionValuesAreCut) {
  const std::string v(1000, 'v');
  ASSERT_TRUE(uci->option_set("BookFile", v.c_str()));
  EXPECT_EQ(std::string(uci->option_value("BookFile")), std::string(255, 'v'));
}

TEST_F(UciSide, SetOptionNameAndValue) {
  EXPECT_EQ(run("setoption name Hash value 64"), "");
  EXPECT_STREQ(uci->option_value("Hash"), "64");
  run("setoption name Ponder value true");
  EXPECT_TRUE(uci->option_is_true("Ponder"));
  run("setoption name BookFile value my book.bin");
  EXPECT_STREQ(uci->option_value("BookFile"), "my book.bin");
}

TEST_F(UciSide, SetOptionNeedsNameBeforeValue) {
  run("setoption name Hash");  // no value: buttons cannot be set
  EXPECT_STREQ(uci->option_value("Hash"), "32");
  run("setoption value 64 name Hash");
  EXPECT_STREQ(uci->option_value("Hash"), "32");
  run("setoption Hash value 64");
  EXPECT_STREQ(uci->option_value("Hash"), "32");
  run("setoption name Hash  value 64");  // the name would be "Hash "
  EXPECT_STREQ(uci->option_value("Hash"), "32");
  run("setoption name Hash value");  // "value" without its blank
  EXPECT_STREQ(uci->option_value("Hash"), "32");
  EXPECT_EQ(run("setoption name Unknown value 1"), "");
  EXPECT_EQ(run("setoption name value 1"), "");
  EXPECT_EQ(run("setoption"), "");
  run("setoption name Hash value ");
  EXPECT_STREQ(uci->option_value("Hash"), "");
}

TEST_F(UciSide, SetOptionIsMatchedByPrefix) {
  run("setoptionXname Hash value 48");
  EXPECT_STREQ(uci->option_value("Hash"), "48");
  run("setoptio name Hash value 16");
  EXPECT_STREQ(uci->option_value("Hash"), "48");
}

TEST_F(UciSide, SetOptionWithHugeValue) {
  run("setoption name BookFile value " + std::string(70000, 'b'));
  EXPECT_EQ(std::string(uci->option_value("BookFile")), std::string(255, 'b'));
}

// --- the once-only set-up -------------------------------------------------------

namespace {

class UciSetUp : public orvo::test::UciFixture {
 protected:
  // A settings file naming an empty book and a directory without bitbases.
  void write_settings() {
    std::ofstream(dir_ + "/book.bin");
    std::ofstream(dir_ + "/Orvo214.ini") << "hash_size=256\negbb_path=" << dir_ << "/\nbook_path=" << dir_
                                         << "/book.bin\n";
  }
  std::string setup_lines() {
    return "egbb: " + dir_ + "/\nopening database: " + dir_ +
           "/book.bin\nOpening database: 0 moves\nEgbbProbe not Loaded!\nEgbbProbe not Loaded!\n";
  }
  // Entries of the primary table of a table of this many megabytes.
  static u32 primary_entries(int megabytes) {
    hash h;
    h.resize(megabytes);
    return h.primary_count;
  }
};

}  // namespace

TEST_F(UciSetUp, FirstIsReadySetsTheEngineUpInOrder) {
  write_settings();
  EXPECT_FALSE(uci->engine_ready());
  EXPECT_EQ(run("isready"), setup_lines() + "readyok\n");
  EXPECT_TRUE(uci->engine_ready());
  EXPECT_EQ(uci->book_on, 1);
  // The table comes from "Hash" (32), not from the settings file's 256.
  EXPECT_EQ(engine->core.tt.primary_count, primary_entries(32));
  EXPECT_EQ(run("isready"), "readyok\n");
}

TEST_F(UciSetUp, FirstGoSetsTheEngineUp) {
  write_settings();
  const std::string out = run("go depth 1");
  EXPECT_EQ(out.rfind(setup_lines(), 0), 0u) << out;
  EXPECT_TRUE(uci->engine_ready());
  EXPECT_EQ(last_line(out).rfind("bestmove ", 0), 0u);
}

TEST_F(UciSetUp, HashOptionCountsOnlyBeforeTheSetUp) {
  write_settings();
  run("setoption name Hash value 64");
  run("isready");
  EXPECT_EQ(engine->core.tt.primary_count, primary_entries(64));
  run("setoption name Hash value 16");
  run("isready");
  EXPECT_EQ(engine->core.tt.primary_count, primary_entries(64));
}

TEST_F(UciSetUp, PositionBeforeTheSetUpIsLost) {
  write_settings();
  run("position startpos moves e2e4");
  EXPECT_EQ(pos().hist_ply, 1);
  run("isready");
  board start;
  set_position(start, start_fen);
  EXPECT_TRUE(pos() == start);
  run("position startpos moves e2e4");
  run("isready");
  EXPECT_EQ(pos().hist_ply, 1);
}

TEST_F(UciSetUp, NewGameWaitsForTheSetUp) {
  write_settings();
  Book& book = engine->core.book;
  Move m;
  MoveList none{};
  book.probe(pos(), "", none.moves, 0, m);  // a failed probe
  EXPECT_EQ(run("ucinewgame"), "");
  EXPECT_EQ(book.failures(), 1u);
  run("isready");
  // The table holds something from a search; "ucinewgame" empties it.
  run("go depth 3");
  u64 used = 0;
  for (u32 i = 0; i < engine->core.tt.primary_count; ++i) used += engine->core.tt.primary[i].read().key != 0;
  EXPECT_GT(used, 0u);
  book.probe(pos(), "", none.moves, 0, m);
  EXPECT_EQ(run("ucinewgame"), "");
  EXPECT_EQ(book.failures(), 0u);
  for (u32 i = 0; i < engine->core.tt.primary_count; ++i) ASSERT_EQ(engine->core.tt.primary[i].read().key, 0u);
}

TEST_F(UciSetUp, IsReadyWhileAMoveIsOwedDoesNotSetUp) {
  uci->bestmove_owed = 1;
  EXPECT_EQ(run("isready"), "readyok\n");
  EXPECT_FALSE(uci->engine_ready());
  uci->bestmove_owed = 0;
  uci->searching = 1;
  EXPECT_EQ(run("isready"), "readyok\n");
  EXPECT_FALSE(uci->engine_ready());
}

TEST_F(UciSetUp, WithoutSettingsFileTheBookAndBitbasesStayOff) {
  EXPECT_EQ(run("isready"), "error opening database: " + std::string(38, ' ') +
                                "\nEgbbProbe not Loaded!\nEgbbProbe not Loaded!\nreadyok\n");
  EXPECT_EQ(uci->book_on, 0);
  EXPECT_EQ(mem->err, "\"Orvo214.ini\" not found.\n\n");
}

// --- plain commands --------------------------------------------------------

TEST_F(UciSide, IsReadyAnswersReadyOk) {
  set_up();
  EXPECT_EQ(run("isready"), "readyok\n");
}

TEST_F(UciSide, UnknownAndNearMissCommandsAreIgnored) {
  set_up();
  for (const char* line : {"uci", "debug on", "register later", "", " isready", "isready ", "readyok", "Stop",
                           "quit now", "ponderhit ", "xboard", "stopp", "ucinewgame now"}) {
    EXPECT_EQ(run(line), "") << line;
  }
  EXPECT_FALSE(uci->quitting);
}

TEST_F(UciSide, QuitEndsTheLoop) {
  set_up();
  EXPECT_EQ(run("quit"), "");
  EXPECT_TRUE(uci->quitting);
  EXPECT_EQ(uci->exit_status, 0);
}

TEST_F(UciSide, TheLoopRunsUntilQuitOrTheEndOfInput) {
  queue("isready\nquit\nisready\n");
  const LoopEnd end = uci->run();
  EXPECT_EQ(end.status, 0);
  EXPECT_EQ(last_line(mem->out), "readyok");  // the line after "quit" is not read
  EXPECT_EQ(mem->out.find("readyok"), mem->out.rfind("readyok"));
}

TEST_F(UciSide, QuitDuringASearchGivesItUpWithoutAMove) {
  set_up();
  search().set_poll_interval(1);
  queue("quit\n");
  const std::string out = run("go infinite");
  EXPECT_TRUE(uci->quitting);
  EXPECT_TRUE(search().state.abandoned);
  EXPECT_EQ(out.find("bestmove"), std::string::npos) << out;
  EXPECT_EQ(uci->bestmove_owed, 0);
}

TEST_F(UciSide, EndOfInputDuringASearchGivesItUp) {
  set_up();
  mem->hold_open(false);
  search().set_poll_interval(1);
  for (const char* go : {"go infinite", "go ponder wtime 60000 btime 60000", "go"}) {
    uci->quitting = false;
    const std::string out = run(go);
    EXPECT_TRUE(uci->quitting) << go;
    EXPECT_EQ(uci->exit_status, 0);
    EXPECT_EQ(out.find("bestmove"), std::string::npos) << out;
  }
}

TEST_F(UciSide, NewGameClearsTableAndBookFailures) {
  set_up();
  Move m;
  MoveList none{};
  engine->core.book.probe(pos(), "", none.moves, 0, m);
  ASSERT_EQ(engine->core.book.failures(), 1u);
  EXPECT_EQ(run("ucinewgame"), "");
  EXPECT_EQ(engine->core.book.failures(), 0u);
}

// --- go and the flags around the search ------------------------------------

TEST_F(UciSide, GoSearchesAndSendsTheMove) {
  set_up();
  const std::string out = run("go depth 3");
  EXPECT_TRUE(is_final_info(line_before_last(out))) << out;
  const std::string last = last_line(out);
  std::smatch m;
  std::regex_match(last, m, std::regex("bestmove ([a-h][1-8][a-h][1-8]) ponder ([a-h][1-8][a-h][1-8])"));
  ASSERT_EQ(m.size(), 3u) << last_line(out);
  EXPECT_TRUE(legal_text(pos(), m[1].str()));
  EXPECT_TRUE(limits().fixed_depth);
  EXPECT_EQ(limits().depth_limit, 3);
  EXPECT_EQ(search().state.best_depth, 3);
  EXPECT_EQ(uci->searching, 0);
  EXPECT_EQ(uci->bestmove_owed, 0);
  // The iterations and best moves were reported on the way.
  EXPECT_NE(out.find("info depth 1 seldepth "), std::string::npos);
  EXPECT_NE(out.find("info depth 3 seldepth "), std::string::npos);
  EXPECT_EQ(out.find("info depth 4 "), std::string::npos);
}

TEST_F(UciSide, BestMoveWithoutReplyAndWithoutMove) {
  set_up();
  // Mate in one: the principal variation ends there, with no reply to
  // ponder on.
  run("position fen 6k1/5ppp/8/8/8/8/8/3R2K1 w - - 0 1");
  EXPECT_EQ(last_line(run("go depth 1")), "bestmove d1d8");
  // Mate or stalemate at the root: the empty move.
  run("position fen 7k/5Q2/6K1/8/8/8/8/8 b - - 0 1");
  const std::string out = run("go depth 1");
  EXPECT_EQ(out, "info time 0 nodes 0 nps 0 cpuload 0\nbestmove a8a8\n");
}

TEST_F(UciSide, GoIsMatchedByItsFirstTwoCharacters) {
  set_up();
  EXPECT_EQ(last_line(run("gone depth 1")).rfind("bestmove ", 0), 0u);  // "gone": "go" with "ne"
  EXPECT_EQ(run("g"), "");
}

TEST_F(UciSide, GoInfiniteHoldsTheMoveUntilStop) {
  set_up();
  // A search that ends by itself: the side to move is mated.
  run("position fen 7k/6Q1/6K1/8/8/8/8/8 b - - 0 1");
  const std::string out = run("go infinite");
  EXPECT_EQ(out.find("bestmove"), std::string::npos);
  EXPECT_TRUE(limits().infinite);
  EXPECT_EQ(uci->bestmove_owed, 1);  // the move is owed
  EXPECT_EQ(uci->searching, 0);
  // While the move is owed, commands that would change the game wait.
  EXPECT_EQ(run("go depth 1"), "");
  const std::string before = fen();
  run("position startpos moves e2e4");
  EXPECT_EQ(fen(), before);
  run("setoption name Hash value 1");
  EXPECT_STREQ(uci->option_value("Hash"), "32");
  EXPECT_EQ(run("isready"), "readyok\n");
  const std::string stop = run("stop");
  EXPECT_TRUE(is_final_info(line_before_last(stop))) << stop;
  EXPECT_EQ(last_line(stop), "bestmove a8a8");
  EXPECT_EQ(uci->bestmove_owed, 0);
  EXPECT_EQ(run("stop"), "");
  EXPECT_EQ(run("ponderhit"), "");
}

TEST_F(UciSide, GoPonderThenPonderHitAfterTheSearchEnded) {
  set_up();
  run("position fen 7k/6Q1/6K1/8/8/8/8/8 b - - 0 1");
  EXPECT_EQ(run("go ponder wtime 1000 btime 1000").find("bestmove"), std::string::npos);
  EXPECT_TRUE(limits().infinite);
  EXPECT_TRUE(limits().timed);
  EXPECT_EQ(last_line(run("ponderhit")), "bestmove a8a8");
  EXPECT_EQ(uci->bestmove_owed, 0);
}

TEST_F(UciSide, PonderHitDuringTheSearchTurnsItIntoATimedSearch) {
  set_up();
  search().set_poll_interval(1);
  queue("ponderhit\n");
  const std::string out = run("go ponder wtime 1000 btime 1000");
  EXPECT_FALSE(limits().infinite);
  EXPECT_TRUE(limits().timed);
  EXPECT_EQ(uci->ponder_search, 0);
  EXPECT_EQ(last_line(out).rfind("bestmove ", 0), 0u) << out;
  EXPECT_EQ(uci->bestmove_owed, 0);
}

TEST_F(UciSide, StopDuringTheSearchSendsTheMoveWhenItUnwinds) {
  set_up();
  search().set_poll_interval(1);
  queue("stop\n");
  const std::string out = run("go infinite");
  EXPECT_TRUE(search().state.stop_command);
  EXPECT_EQ(uci->ponder_search, 0);
  EXPECT_EQ(last_line(out).rfind("bestmove ", 0), 0u) << out;
  // The first iteration always completes.
  EXPECT_GE(search().state.best_depth, 1);
  EXPECT_EQ(uci->bestmove_owed, 0);
}

TEST_F(UciSide, CommandsDuringTheSearch) {
  set_up();
  search().set_poll_interval(1);
  const std::string before = fen();
  queue("isready\nposition startpos moves e2e4\ngo depth 1\nsetoption name Hash value 2\nucinewgame\nnonsense\n");
  const std::string out = run("go depth 5");
  // One search, one move; the readiness question answered during it.
  EXPECT_EQ(out.find("bestmove"), out.rfind("bestmove"));
  EXPECT_NE(out.find("readyok\n"), std::string::npos);
  EXPECT_LT(out.find("readyok\n"), out.find("bestmove"));
  EXPECT_EQ(search().state.best_depth, 5);
  EXPECT_EQ(fen(), before);
  EXPECT_STREQ(uci->option_value("Hash"), "32");
}

TEST_F(UciSide, KeepSearchingObeysTheWaitingLinesAndNeverGivesUp) {
  set_up();
  queue("stop\nisready\n");
  uci->searching = 1;
  search().state.stop_command = false;
  EXPECT_TRUE(uci->keep_searching(search()));
  EXPECT_TRUE(search().state.stop_command);
  EXPECT_EQ(uci->ponder_search, 0);
  // After "stop" the rest waits for the loop.
  EXPECT_EQ(mem->out, "");
  uci->searching = 0;
}

// --- reading lines ------------------------------------------------------------

namespace {

// A front end whose pipe fails.
class BrokenChannel final : public Channel {
 public:
  void write_out(const char* text, std::size_t n) override { out.append(text, n); }
  void write_err(const char* text, std::size_t n) override { err.append(text, n); }
  std::string out, err;

 protected:
  long read_raw(char*, std::size_t) override {
    errno = EBADF;
    return -1;
  }
  int ready_raw() override { return 1; }
};

}  // namespace

TEST_F(UciSide, EndOfInputEndsTheLoopWithStatus0) {
  mem->hold_open(false);
  uci->handle_line();
  EXPECT_TRUE(uci->quitting);
  EXPECT_EQ(uci->exit_status, 0);
  EXPECT_EQ(mem->out, "");
}

TEST_F(UciSide, ReadErrorEndsTheLoopWithItsMessageAndStatus1) {
  BrokenChannel broken;
  ChannelScope scope(broken);
  uci->handle_line();
  EXPECT_TRUE(uci->quitting);
  EXPECT_EQ(uci->exit_status, 1);
  EXPECT_EQ(broken.err, "my_file_read_line(): fgets(): Bad file descriptor\n");
  EXPECT_EQ(broken.out, "");
}

TEST_F(UciSide, LinesAreCutAtTheNewline) {
  set_up();
  // The last line comes without a newline.
  queue("isready\nisready");
  uci->handle_line();
  uci->handle_line();
  EXPECT_EQ(mem->out, "readyok\nreadyok\n");
  forget_output();
  queue("isready\r\n");
  uci->handle_line();
  EXPECT_EQ(mem->out, "");
}

TEST_F(UciSide, VeryLongLinesArriveInPieces) {
  set_up();
  // 70,000 characters: the first 65,535 form one line, the rest another;
  // neither is a command. Then "isready" is answered.
  queue(std::string(70000, 'x') + "\nisready\n");
  for (int i = 0; i < 3; ++i) uci->handle_line();
  EXPECT_EQ(mem->out, "readyok\n");
  forget_output();
  // A "go" line cut by the limit: what is left over arrives as a line of
  // its own and is ignored (the search is over by then).
  queue("go depth 1" + std::string(65525, ' ') + "stop\n");
  uci->handle_line();
  uci->handle_line();
  EXPECT_EQ(last_line(mem->out).rfind("bestmove ", 0), 0u);
}

// --- position -------------------------------------------------------------------

TEST_F(UciSide, PositionStartposWithMoves) {
  run("position startpos moves e2e4");
  EXPECT_EQ(fen(), "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq - 0 1");
  EXPECT_EQ(pos().hist_ply, 1);
  run("position startpos moves e2e4 e7e5 g1f3");
  EXPECT_EQ(pos().hist_ply, 3);
  EXPECT_EQ(pos().piece[F3], KNIGHT);
  run("position startpos");
  EXPECT_EQ(fen(), "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
}

TEST_F(UciSide, PositionMovesWithoutStartposPlaysFromTheStart) {
  run("position fen 8/8/8/8/8/8/8/K6k w - - 0 1");
  run("position moves e2e4");
  EXPECT_EQ(fen(), "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq - 0 1");
}

TEST_F(UciSide, PositionFenWithAndWithoutMoves) {
  run("position fen r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1");
  EXPECT_EQ(fen(), "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1");
  run("position fen r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1 moves e1g1 e8c8");
  EXPECT_EQ(pos().piece[G1], KING);
  EXPECT_EQ(pos().piece[F1], ROOK);
  EXPECT_EQ(pos().piece[C8], KING);
  EXPECT_EQ(pos().piece[D8], ROOK);
  EXPECT_EQ(pos().hist_ply, 2);
}

TEST_F(UciSide, PositionSkipsMovesThatCannotBePlayed) {
  run("position startpos moves e2e4 zzzz e7e5");
  EXPECT_EQ(pos().hist_ply, 2);
  EXPECT_EQ(pos().piece[E5], PAWN);
  run("position startpos moves e2e5 zzzz e7e5");
  EXPECT_EQ(fen(), "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
  // Blanks between moves may repeat; a trailing blank is harmless.
  run("position startpos moves e2e4   e7e5 ");
  EXPECT_EQ(pos().hist_ply, 2);
  // The first move starts exactly six characters after "moves": a second
  // blank there becomes part of the first move, which is then refused.
  EXPECT_EQ(run("position startpos moves  e2e4 e7e5"), "play: illegal promotion\n");
  EXPECT_EQ(pos().hist_ply, 0);
}

TEST_F(UciSide, PositionPromotionAndMoveTokens) {
  run("position fen 8/4P3/8/8/8/8/k7/7K w - - 0 1 moves e7e8n");
  EXPECT_EQ(pos().piece[E8], KNIGHT);
  // A move cut short reads into the next one: "e2 e4" is one token whose
  // fifth character is no promotion letter.
  EXPECT_EQ(run("position startpos moves e2 e4"), "play: illegal promotion\n");
  EXPECT_EQ(pos().hist_ply, 0);
  run("position startpos moves e2e4e7e5");  // "e2e4e" then "7e5"
  EXPECT_EQ(pos().hist_ply, 0);
}

TEST_F(UciSide, PositionWithBrokenFen) {
  run("position fen");
  EXPECT_EQ(pos().occupied, 0u);
  run("position fen moves e2e4");
  EXPECT_EQ(pos().occupied, 0u);
  EXPECT_EQ(pos().hist_ply, 0);
  run("position fen rnbqkbnr/pppp");
  run("position fen !!garbage!! x y z");
  run("position fen " + std::string(70000, 'p'));
  run("position startpos moves");
  EXPECT_EQ(fen(), "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
}

TEST_F(UciSide, PositionIsMatchedByPrefix) {
  run("position startpos moves e2e4");
  run("positionXYZ");
  EXPECT_EQ(fen(), "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
  run("positio fen 8/8/8/8/8/8/8/K6k w - - 0 1");
  EXPECT_EQ(fen(), "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
}

// Every move is played, however long the game: the history is a ring.
TEST_F(UciSide, PositionWithAVeryLongMoveList) {
  std::string line = "position startpos moves";
  int moves = 0;
  for (; line.size() < 70000; moves += 4) line += " g1f3 g8f6 f3g1 f6g8";
  run(line + " e2e4");
  EXPECT_EQ(pos().hist_ply, moves + 1);
  EXPECT_EQ(fen().substr(0, 54), "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq -");
}

// --- the words of go ------------------------------------------------------------

namespace {

class UciGo : public orvo::test::UciFixture {
 protected:
  bool go(const char* line) { return uci->set_limits(line); }
  // The limits equal the allocation of this clock.
  void expect_clock(double time, double inc, int togo, double factor) {
    const TimeAllocation a = allocate_time(time, inc, togo, factor);
    EXPECT_TRUE(limits().timed);
    EXPECT_DOUBLE_EQ(limits().target_time, a.target);
    EXPECT_DOUBLE_EQ(limits().hard_limit, a.hard);
  }
};

}  // namespace

TEST_F(UciGo, DepthAndMate) {
  go("go depth 7");
  EXPECT_TRUE(limits().fixed_depth);
  EXPECT_EQ(limits().depth_limit, 7);
  EXPECT_FALSE(limits().timed);
  EXPECT_FALSE(limits().infinite);
  go("go mate 3");  // searched to depth 5
  EXPECT_TRUE(limits().fixed_depth);
  EXPECT_EQ(limits().depth_limit, 5);
  go("go mate 2 depth 9");  // depth wins
  EXPECT_EQ(limits().depth_limit, 9);
  go("go depth 0");
  EXPECT_TRUE(limits().fixed_depth);
  EXPECT_EQ(limits().depth_limit, 0);
  go("go depth -1");
  EXPECT_FALSE(limits().fixed_depth);
  go("go depth -1 mate 1");
  EXPECT_TRUE(limits().fixed_depth);
  EXPECT_EQ(limits().depth_limit, 1);
}

TEST_F(UciGo, StartsFromClearedLimits) {
  limits().timed = true;
  limits().infinite = true;
  limits().fixed_depth = true;
  search().state.best_move = 123;
  go("go");
  EXPECT_FALSE(limits().timed);
  EXPECT_FALSE(limits().infinite);
  EXPECT_FALSE(limits().fixed_depth);
  EXPECT_EQ(search().state.best_move, 0u);  // the search was reset
}

TEST_F(UciGo, Movetime) {
  EXPECT_FALSE(go("go movetime 5000"));
  EXPECT_TRUE(limits().timed);
  EXPECT_DOUBLE_EQ(limits().hard_limit, 5.0);
  EXPECT_DOUBLE_EQ(limits().target_time, 25.0);
  // Movetime wins over the clock.
  go("go wtime 60000 btime 60000 movetime 1000");
  EXPECT_DOUBLE_EQ(limits().hard_limit, 1.0);
  EXPECT_DOUBLE_EQ(limits().target_time, 5.0);
  go("go movetime 0");
  EXPECT_TRUE(limits().timed);
  EXPECT_DOUBLE_EQ(limits().hard_limit, 0.0);
}

TEST_F(UciGo, ClockOfTheSideToMove) {
  go("go wtime 60000 btime 30000 winc 1000 binc 2000 movestogo 20");
  expect_clock(60.0, 1.0, 20, 1.0);
  run("position startpos moves e2e4");
  go("go wtime 60000 btime 30000 winc 1000 binc 2000 movestogo 20");
  expect_clock(30.0, 2.0, 20, 1.0);
  // Only White's clock given, Black to move: no time limit.
  go("go wtime 60000");
  EXPECT_FALSE(limits().timed);
}

TEST_F(UciGo, MovesToGoAndIncrementDefaults) {
  go("go wtime 60000 btime 60000");
  expect_clock(60.0, 0.0, 30, 1.0);
  go("go wtime 60000 movestogo 0");
  expect_clock(60.0, 0.0, 30, 1.0);
  go("go wtime 60000 movestogo -4 winc -500");
  expect_clock(60.0, 0.0, 30, 1.0);
  go("go wtime 60000 movestogo 1");
  expect_clock(60.0, 0.0, 1, 1.0);
  go("go wtime 0");  // no time left is still a clock
  expect_clock(0.0, 0.0, 30, 1.0);
  // Below zero is an empty clock too (not the absence of one, which would
  // let the search run without any limit).
  go("go wtime -1");
  expect_clock(0.0, 0.0, 30, 1.0);
}

TEST_F(UciGo, PonderOptionStretchesTheTime) {
  run("setoption name Ponder value true");
  go("go wtime 60000 btime 60000");
  expect_clock(60.0, 0.0, 30, 1.25);
  run("setoption name Ponder value false");
  go("go wtime 60000 btime 60000");
  expect_clock(60.0, 0.0, 30, 1.0);
}

TEST_F(UciGo, InfiniteAndPonder) {
  EXPECT_TRUE(go("go infinite"));
  EXPECT_TRUE(limits().infinite);
  EXPECT_FALSE(limits().timed);
  EXPECT_TRUE(go("go ponder wtime 5000 btime 5000"));
  EXPECT_TRUE(limits().infinite);
  EXPECT_TRUE(limits().timed);
  EXPECT_FALSE(go("go wtime 5000 btime 5000"));
  EXPECT_FALSE(limits().infinite);
}

TEST_F(UciGo, WordsAreMatchedByFixedLengthPrefixes) {
  go("go depthx 4");
  EXPECT_EQ(limits().depth_limit, 4);
  EXPECT_TRUE(go("go infinitely"));
  EXPECT_TRUE(go("go ponderous"));
  go("go dep 4");
  EXPECT_FALSE(limits().fixed_depth);
  go("go movestogo 10 movetime 100");
  EXPECT_DOUBLE_EQ(limits().hard_limit, 0.1);
  go("go wtimes 2000 movestogoal 7");
  expect_clock(2.0, 0.0, 7, 1.0);
}

TEST_F(UciGo, NodesAndSearchMovesChangeNothing) {
  EXPECT_FALSE(go("go nodes 1000 searchmoves e2e4 d2d4 depth 2"));
  EXPECT_TRUE(limits().fixed_depth);
  EXPECT_EQ(limits().depth_limit, 2);
  EXPECT_FALSE(limits().timed);
  // The value of "nodes" is taken as its value, not as a word.
  go("go nodes depth 3");
  EXPECT_FALSE(limits().fixed_depth);
}

TEST_F(UciGo, WordsWithoutValues) {
  for (const char* line : {"go depth", "go mate", "go movetime", "go wtime", "go btime", "go winc", "go binc",
                           "go movestogo", "go nodes", "go searchmoves", "go   ", "go depth  "}) {
    go(line);
    EXPECT_FALSE(limits().fixed_depth) << line;
    EXPECT_FALSE(limits().timed) << line;
    EXPECT_FALSE(limits().infinite) << line;
  }
}

TEST_F(UciGo, NonNumericValues) {
  go("go depth x");  // read as 0
  EXPECT_TRUE(limits().fixed_depth);
  EXPECT_EQ(limits().depth_limit, 0);
  go("go movetime abc");
  EXPECT_TRUE(limits().timed);
  EXPECT_DOUBLE_EQ(limits().hard_limit, 0.0);
}

TEST_F(UciGo, HugeValuesSaturate) {
  go("go depth 99999999999999999999");
  EXPECT_EQ(limits().depth_limit, INT_MAX);
  go("go mate 99999999999");
  EXPECT_EQ(limits().depth_limit, INT_MAX);
  go("go mate 2000000000");
  EXPECT_EQ(limits().depth_limit, INT_MAX);
  go("go depth -99999999999999999999");
  EXPECT_FALSE(limits().fixed_depth);
  go("go wtime 99999999999999 movestogo 99999999999");
  expect_clock(INT_MAX / 1000.0, 0.0, INT_MAX, 1.0);
  go("go movetime 99999999999999");
  EXPECT_DOUBLE_EQ(limits().hard_limit, INT_MAX / 1000.0);
}

// --- the lines the search's reports become -----------------------------------

namespace {

class UciLines : public orvo::test::UciFixture {
 protected:
  std::string pv_line(int score, int bound) {
    Search& s = search();
    s.state.best_score = score;
    s.state.best_bound = bound;
    s.state.best_depth = 7;
    const size_t from = mem->out.size();
    uci->new_best(s);
    return mem->out.substr(from);
  }
};

}  // namespace

TEST_F(UciLines, ScoresInCentipawnsAndMovesToMate) {
  Search& s = search();
  s.pv[0] = encode_move(E2, E4, 0, 0, PAWN);
  s.pv[1] = 0;
  s.seldepth = 9;
  s.nodes = 1234;
  s.clock.elapsed = 0.5;
  EXPECT_EQ(pv_line(29991, BOUND_EXACT), "info depth 7 seldepth 9 score mate 5 time 500 nodes 1234 pv e2e4\n");
  EXPECT_EQ(pv_line(-29990, BOUND_EXACT), "info depth 7 seldepth 9 score mate -5 time 500 nodes 1234 pv e2e4\n");
  EXPECT_EQ(pv_line(35, BOUND_LOWER), "info depth 7 seldepth 9 score cp 35 lowerbound time 500 nodes 1234 pv e2e4\n");
  EXPECT_EQ(pv_line(-35, BOUND_UPPER),
            "info depth 7 seldepth 9 score cp -35 upperbound time 500 nodes 1234 pv e2e4\n");
  EXPECT_EQ(pv_line(29745, BOUND_LOWER),
            "info depth 7 seldepth 9 score mate 128 lowerbound time 500 nodes 1234 pv e2e4\n");
  EXPECT_EQ(pv_line(29744, BOUND_EXACT), "info depth 7 seldepth 9 score cp 29744 time 500 nodes 1234 pv e2e4\n");
}

TEST_F(UciLines, IterationCurrentMoveAndPeriodicLines) {
  Search& s = search();
  s.seldepth = 11;
  s.nodes = 4321;
  s.clock.elapsed = 2.0;
  s.clock.nps = 2160.5;
  size_t from = mem->out.size();
  uci->iteration_done(s, 6);
  EXPECT_EQ(mem->out.substr(from), "info depth 6 seldepth 11 time 2000 nodes 4321\n");
  // The periodic line: at most once a second of the search.
  uci->search_started(s);
  from = mem->out.size();
  uci->progress(s);
  uci->progress(s);
  EXPECT_EQ(mem->out.substr(from), "info time 2000 nodes 4321 nps 2160 cpuload 0\n");
  // "currmove" names the best move so far, and only after a second.
  s.state.best_move = encode_move(G1, F3, 0, 0, KNIGHT);
  s.state.current_move_index = 4;
  s.clock.running = false;
  s.clock.accumulated = 0.5;
  from = mem->out.size();
  uci->root_move(s);
  EXPECT_EQ(mem->out.substr(from), "");
  s.clock.accumulated = 1.5;
  uci->root_move(s);
  EXPECT_EQ(mem->out.substr(from), "info currmove g1f3 currmovenumber 5\n");
}

// --- the additions: Threads, MultiPV, Move Overhead ------------------------------

TEST_F(UciSide, AdditionsAreHeldToTheirRangesAndTextIsIgnored) {
  struct Case {
    const char* name;
    const char* value;
    const char* kept;
  };
  const Case cases[] = {
      {"Threads", "4", "4"},         {"Threads", "-3", "1"},         {"Threads", "0", "1"},
      {"Threads", "100000", "256"},  {"Threads", "99999999999999", "256"},
      {"Threads", "abc", "256"},  // no number: the value stays
      {"MultiPV", "3", "3"},         {"MultiPV", "-1", "1"},         {"MultiPV", "1000", "256"},
      {"MultiPV", "", "256"},        {"MultiPV", "2x", "2"},
      {"Move Overhead", "30", "30"}, {"Move Overhead", "-500", "0"}, {"Move Overhead", "999999", "5000"},
      {"Move Overhead", "soon", "5000"},
  };
  for (const Case& c : cases) {
    run(std::string("setoption name ") + c.name + " value " + c.value);
    EXPECT_STREQ(uci->option_value(c.name), c.kept) << c.name << " " << c.value;
  }
}

TEST_F(UciSide, MoveOverheadIsTheTimeKeptBack) {
  for (const char* ms : {"1000", "30", "0", "5000"}) {
    run(std::string("setoption name Move Overhead value ") + ms);
    uci->set_limits("go wtime 60000 btime 60000 winc 100 binc 100");
    const TimeAllocation a = allocate_time(60.0, 0.1, 30, 1.0, std::atoi(ms) / 1000.0);
    EXPECT_DOUBLE_EQ(limits().target_time, a.target) << ms;
    EXPECT_DOUBLE_EQ(limits().hard_limit, a.hard) << ms;
  }
  // The default keeps the original rule: time x 0.95 - 1 s.
  run("setoption name Move Overhead value 1000");
  uci->set_limits("go wtime 60000 btime 60000");
  EXPECT_NEAR(limits().hard_limit, 14.0, 1e-9);
}

TEST_F(UciSide, MultiPvLinesInOrderEachIteration) {
  set_up();
  run("setoption name MultiPV value 3");
  const std::string out = run("go depth 4");
  const std::regex line("info depth ([0-9]+) seldepth [0-9]+ multipv ([0-9]+) score cp (-?[0-9]+)( \\w+bound)? .* pv (\\S+).*");
  int count[5] = {0, 0, 0, 0, 0};
  int last_depth = 0, last_number = 0, last_score = 0;
  std::vector<std::string> firsts;
  size_t at = 0;
  while (at < out.size()) {
    const size_t end = out.find('\n', at);
    const std::string l = out.substr(at, end - at);
    at = end + 1;
    std::smatch m;
    if (l.rfind("info depth", 0) == 0 && l.find(" pv ") != std::string::npos) {
      ASSERT_TRUE(std::regex_match(l, m, line)) << l;
      const int depth = std::stoi(m[1]), number = std::stoi(m[2]), score = std::stoi(m[3]);
      ++count[depth];
      if (depth == last_depth) {
        EXPECT_EQ(number, last_number + 1) << l;
        if (!m[4].matched) {
          EXPECT_LE(score, last_score) << l;  // best first
        }
      } else {
        EXPECT_EQ(number, 1) << l;
        firsts.clear();
      }
      firsts.push_back(m[5]);
      last_depth = depth, last_number = number, last_score = score;
    }
  }
  for (int d = 1; d <= 4; ++d) EXPECT_EQ(count[d], 3) << "depth " << d;
  // Three different first moves, and the move played is the first line's.
  ASSERT_EQ(firsts.size(), 3u);
  EXPECT_NE(firsts[0], firsts[1]);
  EXPECT_NE(firsts[1], firsts[2]);
  EXPECT_NE(firsts[0], firsts[2]);
  EXPECT_EQ(last_line(out).substr(9, firsts[0].size()), firsts[0]);
}

TEST_F(UciSide, MultiPvBeyondTheLegalMovesGivesOneLineAMove) {
  set_up();
  run("setoption name MultiPV value 50");
  run("position fen 4k3/8/8/8/8/8/8/R3K3 b - - 0 1");  // the Black king: d8 d7 e7 f7 f8
  const std::string out = run("go depth 2");
  for (int n = 1; n <= 5; ++n)
    EXPECT_TRUE(std::regex_search(out, std::regex("info depth 2 seldepth [0-9]+ multipv " + std::to_string(n) + " ")))
        << n << "\n" << out;
  EXPECT_EQ(out.find(" multipv 6 "), std::string::npos);
}

TEST_F(UciSide, OneLineIsTheOriginalOutput) {
  set_up();
  run("setoption name MultiPV value 1");
  const std::string out = run("go depth 3");
  EXPECT_EQ(out.find("multipv"), std::string::npos);
}

TEST_F(UciSide, ThreadsSearchTheSameRootAndAnswerWithALegalMove) {
  set_up();
  run("setoption name Threads value 4");
  for (const char* fen : {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
                          "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1"}) {
    run(std::string("position fen ") + fen);
    const std::string out = run("go depth 7");
    const std::string last = last_line(out);
    ASSERT_EQ(last.rfind("bestmove ", 0), 0u) << out;
    EXPECT_TRUE(legal_text(pos(), last.substr(9, 4))) << last;
    EXPECT_EQ(search().threads(), 4);
    // The nodes reported are those of every thread.
    EXPECT_GT(search().total_nodes(), search().nodes);
  }
}

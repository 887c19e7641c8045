// The xboard side through the real orvo binary: exact transcripts.
#include <gtest/gtest.h>

#include "tests/support/process.h"

using orvo::test::run_orvo;
using orvo::test::split_lines;

namespace {

const char* const kStartDiagram =
    "\n"
    "       +---+---+---+---+---+---+---+---+\n"
    "    8  |(R)|(N)|(B)|(Q)|(K)|(B)|(N)|(R)|\n"
    "       +---+---+---+---+---+---+---+---+\n"
    "    7  |(P)|(P)|(P)|(P)|(P)|(P)|(P)|(P)|\n"
    "       +---+---+---+---+---+---+---+---+\n"
    "    6  |   | . |   | . |   | . |   | . |\n"
    "       +---+---+---+---+---+---+---+---+\n"
    "    5  | . |   | . |   | . |   | . |   |\n"
    "       +---+---+---+---+---+---+---+---+\n"
    "    4  |   | . |   | . |   | . |   | . |\n"
    "       +---+---+---+---+---+---+---+---+\n"
    "    3  | . |   | . |   | . |   | . |   |\n"
    "       +---+---+---+---+---+---+---+---+\n"
    "    2  | P | P | P | P | P | P | P | P |\n"
    "       +---+---+---+---+---+---+---+---+\n"
    "    1  | R | N | B | Q | K | B | N | R |\n"
    "       +---+---+---+---+---+---+---+---+\n"
    "         a   b   c   d   e   f   g   h\n"
    "\n";

// What the first "xboard" prints before its empty line when run without an
// ini file: the book and the bitbase library cannot be opened.
const std::string kInitLines =
    "error opening database: " + std::string(38, ' ') + "\n" + "EgbbProbe not Loaded!\n";

// Output after the two banner lines and the initialisation messages.
std::string after_banner(const std::string& out) {
  size_t first = out.find('\n');
  size_t second = out.find('\n', first + 1);
  std::string rest = out.substr(second + 1);
  if (rest.compare(0, kInitLines.size(), kInitLines) == 0) rest = rest.substr(kInitLines.size());
  return rest;
}

}  // namespace

TEST(XboardE2E, Transcript) {
  auto r = run_orvo(
      "xboard\n"
      "protover 2\n"
      "setboard rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1\n"
      "perft 3\n"
      "fen\n"
      "d\n"
      "quit\n");
  ASSERT_FALSE(r.timed_out);
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("\n" + kInitLines + "\nfeature"), std::string::npos) << r.out;
  EXPECT_EQ(r.err, "\"Orvo214.ini\" not found.\n\n");
  std::string out = after_banner(r.out);
  std::string expected = std::string("\n") +
      "feature ping=0 playother=0 san=0 usermove=1 time=1 draw=0 sigint=0 sigterm=0 reuse=0 "
      "analyze=1 myname=\"Orvo v2.14a_x64\" variants=\"normal\" setboard=1 colors=0 ics=0 name=0 "
      "pause=0 done=1\n" +
      kStartDiagram +
      "depth          moves   captures en_passant  promotion     castle\n"
      "perft(1):         20          0          0          0          0\n"
      "perft(2):        400          0          0          0          0\n"
      "perft(3):       8902         34          0          0          0\n"
      "\n";
  ASSERT_EQ(out.compare(0, expected.size(), expected), 0) << out;
  // Then "<n> ms", the FEN, the diagram again and the goodbye.
  std::string rest = out.substr(expected.size());
  size_t ms = rest.find(" ms\n");
  ASSERT_NE(ms, std::string::npos);
  rest = rest.substr(ms + 4);
  EXPECT_EQ(rest, std::string("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1\n") +
                      kStartDiagram + "Orvo is leaving.\n");
}

TEST(XboardE2E, PingAndSeveralCommandsOnOneLine) {
  auto r = run_orvo("xb\nping 7\nping\nfoo ping 3 bar\naccepted ping black ping ping 5 random\n");
  auto lines = split_lines(after_banner(r.out));
  ASSERT_EQ(lines.size(), 6u) << r.out;
  EXPECT_EQ(lines[0], "");
  EXPECT_EQ(lines[1], "pong 7");
  EXPECT_EQ(lines[2], "pong 0");
  EXPECT_EQ(lines[3], "pong 3");
  EXPECT_EQ(lines[4], "pong 5");  // "accepted" takes "ping", "black" takes "ping"
  EXPECT_EQ(lines[5], "Orvo is leaving main_loop.");
  EXPECT_EQ(r.status, 0);
}

TEST(XboardE2E, EndOfInputOrEmptyLineLeavesMainLoop) {
  auto r = run_orvo("xboard\n");
  EXPECT_EQ(after_banner(r.out), "\nOrvo is leaving main_loop.\n");
  EXPECT_EQ(r.status, 0);
  r = run_orvo("xboard\n\nping 1\n");
  EXPECT_EQ(after_banner(r.out), "\nOrvo is leaving main_loop.\n");
  EXPECT_EQ(r.status, 0);
}

TEST(XboardE2E, FenMoveNumberCountsMovesSinceSetup) {
  auto r = run_orvo("xboard\nsb 8/8/8/8/8/8/8/K6k b - - 45 80\nfen\nquit\n");
  EXPECT_NE(r.out.find("\n8/8/8/8/8/8/8/K6k b - - 0 1\n"), std::string::npos) << r.out;
}

TEST(XboardE2E, BadSetboardInput) {
  std::string long_placement(300, 'p');
  const std::string inputs[] = {
      "setboard garbage\nfen\n",
      "setboard\nfen\n",
      "setboard 8/8/8/8/8/8/8/8\nfen\n",
      "setboard 8/8/8/8/8/8/8/K6k b\nfen\n",
      "setboard 8/8/8/8/8/8/8/K6k b KQ\nfen\nperft 2\n",
      "setboard " + long_placement + " w - -\nfen\nperft 2\n",
      "setboard k7/8/8/8/8/8/8/KK6 w - - 0 1\nperft 3\nfen\n",
      "setboard 8/8/8/8/8/8/8/8 w - - 0 1\nperft 3\nfen\n",
      "setboard PPPPPPPP/pppppppp/8/8/8/8/PPPPPPPP/pppppppp w KQkq e3\nperft 3\nfen\n",
      "perft 99999\nperft -1\nperft x\n",
      std::string(10000, 'y') + "\nping 9\n",
  };
  for (const auto& in : inputs) {
    auto r = run_orvo("xboard\n" + in + "quit\n", 60);
    EXPECT_FALSE(r.timed_out) << in;
    EXPECT_EQ(r.status, 0) << in;
    EXPECT_NE(r.out.find("Orvo is leaving.\n"), std::string::npos) << in;
  }
}

TEST(XboardE2E, SetboardWithoutArgumentsDoesNothing) {
  auto r = run_orvo("xboard\nsetboard\nfen\nquit\n");
  // No diagram: the position is still the empty board of start-up.
  EXPECT_EQ(r.out.find("+---+"), std::string::npos);
}

TEST(XboardE2E, TooDeepPerftIsRefused) {
  auto r = run_orvo("xboard\nperft 99999\nquit\n");
  EXPECT_NE(r.out.find("perft: depth 99999 is too deep, the largest is 10\n"), std::string::npos);
}

TEST(XboardE2E, EvalPrintsTheScore) {
  auto r = run_orvo(
      "xboard\n"
      "setboard rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1\n"
      "eval\n"
      "setboard 4k3/8/8/8/8/8/8/4K3 w - - 0 1\n"
      "eval\n"
      "quit\n");
  auto lines = split_lines(r.out);
  // The start position is symmetric; bare kings are a dead draw.
  int evals = 0;
  for (const auto& l : lines)
    if (l == "0") ++evals;
  EXPECT_EQ(evals, 2) << r.out;
}

TEST(XboardE2E, EvalPrintsExactScores) {
  // Positions whose score follows from the evaluation rules by hand. "eval"
  // uses an open window (no lazy exit) and the position's own castling
  // rights as the root rights; "setboard" starts every position with the
  // halfmove clock 0, so no fifty-move scaling applies.
  struct Case {
    const char* fen;
    const char* score;
  };
  const Case cases[] = {
      // The start position is symmetric between the colours: every term,
      // the two castling terms (-13 and +13) included, cancels. 0.
      {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1", "0"},
      // Bare kings: neither side has pawns or more than a minor piece, so
      // both win bits go (flags 0) and the final scaling gives 0.
      {"4k3/8/8/8/8/8/8/4K3 w - - 0 1", "0"},
      // KNK: White has no pawns and 3 piece units, Black nothing: flags 0,
      // and White's material advantage scales to 0.
      {"4k3/8/8/8/8/8/8/4KN2 w - - 0 1", "0"},
      // A lone White pawn on d2 (Ke1, Ke8; endgame, no castling rights, so
      // both kings count as castled on the e-file). Material 100. Pawn
      // structure: square -10, isolated -8 and its half -4, passed
      // 4075/4075 x 2 = 2: -20. Passed-pawn term 0 (the king on e1 stands
      // behind the pawn), pawn race 0 (the king is not ahead of it). King
      // safety: endgame table for queenside pawns, -20 for e1 and -20 for
      // e8: 0. White's e-file shelter: d-file 3/2 = 1 (own pawn on its
      // second rank, no enemy pawn), e and f empty 4 + 4: 9, remapped (no
      // Black queen) to 6, T[6][0] = 42. Black's: d-file 1 (the empty-set
      // advance addend) + 3 (no own pawn), e and f 4 + 4: 12, remapped to
      // 8, T[8][0] = 56. 100 - 20 - 42 + 56 = 94; flags 1 keeps it.
      {"4k3/8/8/8/8/8/3P4/4K3 w - - 0 1", "94"},
      // KBNK without pawns: material 650 plus the dark-corner table at the
      // Black king's a1, 100. Flags 1 (only White can win), positive score:
      // nothing is divided. 750.
      {"8/8/8/8/8/2K2N2/8/k4B2 w - - 0 1", "750"},
      // KRK without pawns, kings a1 and c1 (distance 2): 500 + 15 x (3 - 2)
      // + edge[a1] 100 = 615.
      {"8/8/8/8/8/8/8/k1K4R w - - 0 1", "615"},
      // KQK with the bare Black king on a8 to move and stalemated (Qb6,
      // Kc7 in its zone): flags 0. Pawnless path: 975 + 15 x (3 - 2) +
      // edge[a8] 100 = 1090, divided by 4 since White's bit is clear: 272,
      // from Black's view -272.
      {"k7/2K5/1Q6/8/8/8/8/8 b - - 0 1", "-272"},
      // King and pawn against king, Ke6, Pe5, Ke8, White to move (endgame,
      // no castling rights). Material 100. Pawn structure: square 16,
      // isolated -8 and -4, passed 95: 99. Passed-pawn term 0 (the king is
      // on the pawn's file, not beside it). Pawn race: the king is ahead of
      // the pawn, nearer to it than the Black king (1 against 3), on the
      // sixth rank: 525. King safety: kingside-pawns endgame table, e6 60
      // and e8 -20: 80. White's e-file shelter: d and f empty 4 + 4, e-file
      // 3/2 = 1 plus 1 + 1 (no own pawn on e2 nor e3): 11, remapped to 7,
      // T[7][0] = 49. Black's: 4 + 4, e-file 1 + 3: 12, remapped to 8,
      // T[8][0] = 56. 100 + 99 + 525 + 80 - 49 + 56 = 811; flags 1.
      {"4k3/8/4K3/4P3/8/8/8/8 w - - 0 1", "811"},
  };
  std::string input = "xboard\n";
  for (const Case& c : cases) input += std::string("setboard ") + c.fen + "\neval\n";
  auto r = run_orvo(input + "quit\n");
  ASSERT_FALSE(r.timed_out);
  EXPECT_EQ(r.status, 0);
  const std::string out = after_banner(r.out);
  // The first setboard prints the start diagram, then its score.
  std::string first = "\n";
  first += kStartDiagram;
  first += "0\n";
  EXPECT_EQ(out.substr(0, first.size()), first);
  // Each score is the line after a diagram; the diagrams hold no line of
  // digits alone.
  std::vector<std::string> scores;
  for (const auto& l : split_lines(out))
    if (!l.empty() && l.find_first_not_of("-0123456789") == std::string::npos) scores.push_back(l);
  ASSERT_EQ(scores.size(), std::size(cases)) << out;
  for (size_t i = 0; i < scores.size(); ++i) EXPECT_EQ(scores[i], cases[i].score) << cases[i].fen;
  EXPECT_EQ(out.substr(out.size() - 17), "Orvo is leaving.\n");
}

// The xboard GUI reads the engine's standard error on the pipe of its
// output and takes any line with "not found" for a failed start; there the
// message about the missing settings file stays out. Where standard error is
// a channel of its own it is written as before (Transcript above).
TEST(XboardE2E, MissingSettingsFileIsNotReportedOnTheOutputPipe) {
  auto r = orvo::test::run_orvo_merged("xboard\nprotover 2\nquit\n");
  ASSERT_FALSE(r.timed_out);
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out.find("not found"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("feature ping=0"), std::string::npos);
}

// Every line reaches the pipe in one write: a reader that does not buffer
// never sees half a line.
TEST(XboardE2E, EveryLineLeavesInOneWrite) {
  const auto writes = orvo::test::run_orvo_writes(
      "xboard\nprotover 2\nping 3\nnew\nsd 3\nusermove e2e4\nfen\nd\nperft 2\neval\nquit\n");
  ASSERT_GT(writes.size(), 10u);
  bool pong = false, move = false;
  for (const auto& w : writes) {
    EXPECT_FALSE(w.empty());
    EXPECT_EQ(w.back(), '\n') << "a write that ends inside a line: [" << w << "]";
    pong = pong || w == "pong 3\n";
    move = move || w.rfind("move ", 0) == 0;
  }
  EXPECT_TRUE(pong);
  EXPECT_TRUE(move);
}

TEST(XboardE2E, UciLinesLeaveInOneWriteToo) {
  const auto writes = orvo::test::run_orvo_writes("uci\nisready\ngo depth 3\nisready\nquit\n");
  int readyok = 0;
  for (const auto& w : writes) {
    EXPECT_EQ(w.back(), '\n') << "[" << w << "]";
    readyok += w == "readyok\n";
  }
  EXPECT_EQ(readyok, 2);
}

// Each command that takes an argument, with the argument missing, and other
// malformed input: no crash, no hang, and the loop goes on.
TEST(XboardE2E, MissingArgumentsAndGarbage) {
  const std::string inputs[] = {
      "ping\n",      "sd\n",        "st\n",        "test\n",        "perft\n",
      "usermove\n",  "time\n",      "level\n",     "setboard\n",    "sb\n",
      "protover\n",  "accepted\n",  "rejected\n",  "otim\n",        "black\n",
      "white\n",     "level x y z\ntime 1000\n",   "level 0 0:30 1\ntime 1000\n",
      "new\nforce\nusermove @@@@\nusermove e2e4e4\nusermove e9e4\nusermove \x01\x02\x03\x04\n",
      "new\nforce\nusermove " + std::string(300, 'e') + "\n",
      "new\n" + std::string(10000, 'x') + "\n",
      "new\nping " + std::string(10000, '9') + "\n",
      "new\nforce\nusermove e2e4 " + std::string(254, ' ') + "\nfen\n",
      "test 0\ntest 10\ntest -3\ntest 99999999999\n",
      "time 99999999999\nlevel 99999999 99999999 99999999\nst 99999999999\nsd 99999999999\n",
      "undo\nundo\nundo\n",
      "exit\nexit\n",
      "?\n?\n",
  };
  for (const auto& in : inputs) {
    auto r = run_orvo("xboard\n" + in + "ping 4242\nquit\n", 60);
    EXPECT_FALSE(r.timed_out) << in.substr(0, 60);
    EXPECT_EQ(r.status, 0) << in.substr(0, 60);
    EXPECT_NE(r.out.find("pong 4242\n"), std::string::npos) << in.substr(0, 60);
    EXPECT_NE(r.out.find("Orvo is leaving.\n"), std::string::npos) << in.substr(0, 60);
  }
}

// A line of exactly 255 characters arrives with its newline as a piece of
// its own, which is not an empty line: the loop goes on.
TEST(XboardE2E, LineOfExactly255CharactersDoesNotEndTheLoop) {
  std::string line = "ping 1";
  line += std::string(255 - line.size(), ' ');
  auto r = run_orvo("xboard\n" + line + "\nping 2\nquit\n");
  EXPECT_NE(r.out.find("pong 2\n"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("Orvo is leaving.\n"), std::string::npos);
}

// Lines of any length: a line arrives in pieces of 255 characters, each
// obeyed as a line of its own; neither a piece of blanks nor the newline
// that comes as a piece of its own (a length that is a multiple of 255) is
// taken for the empty line that ends the loop.
TEST(XboardE2E, LinesOfAnyLength) {
  const std::string input = "xboard\n" + std::string(255 * 32768, 'x') + "\nping 1\nping 2" +
                            std::string(1 << 20, ' ') + "\nnew\nforce\nusermove e2e4" +
                            std::string(255 * 4096 - 13, '\t') + "\nfen\nquit\n";
  auto r = run_orvo(input, 120);
  ASSERT_FALSE(r.timed_out);
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("pong 1\npong 2\n"), std::string::npos);
  EXPECT_NE(r.out.find("\nrnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq - 0 1\n"), std::string::npos);
  EXPECT_NE(r.out.find("Orvo is leaving.\n"), std::string::npos);
}

// A set-up board with more moves than a move list holds (258 here, the
// list holds 256): the moves that do not fit are left out, and perft, the
// evaluation and a search run on what is left.
TEST(XboardE2E, SetUpPositionWithMoreMovesThanTheListHolds) {
  auto r = run_orvo("xboard\nsetboard Q1QQQQQQ/Q6Q/3Q4/1Q4Q1/Q5Q1/Q5Q1/Q2QQ3/QQQnnQQQ w - - 0 1\n"
                    "perft 2\neval\nsd 2\ngo\nfen\nquit\n",
                    60);
  ASSERT_FALSE(r.timed_out);
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("perft(1):        256 "), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("\nmove "), std::string::npos);
  EXPECT_NE(r.out.find(" b - - "), std::string::npos);  // the move was played
}

// A game far past the key history's size: the history is a ring, so a long
// game neither overruns it nor stops taking moves.
TEST(XboardE2E, GameLongerThanTheHistory) {
  std::string input = "xboard\nnew\nforce\n";
  static const char* cycle[] = {"g1f3", "g8f6", "f3g1", "f6g8"};
  for (int i = 0; i < 3000; ++i) input += std::string("usermove ") + cycle[i % 4] + "\n";
  input += "fen\nundo\nundo\nfen\nsd 2\ngo\nquit\n";
  auto r = run_orvo(input, 60);
  ASSERT_FALSE(r.timed_out);
  EXPECT_EQ(r.out.find("play move failed"), std::string::npos);
  EXPECT_NE(r.out.find("\nrnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 3000 \n"), std::string::npos)
      << "move number 1501 is left out";
  // Deliberate: the undo record keeps the fifty-move counter in one byte,
  // so a take-back above 127 brings it back negative (2998 -> -74).
  EXPECT_NE(r.out.find("\nrnbqkb1r/pppppppp/5n2/8/8/5N2/PPPPPPPP/RNBQKB1R w KQkq - -74 \n"), std::string::npos)
      << r.out.substr(r.out.size() - 300);
  EXPECT_NE(r.out.find("\nmove "), std::string::npos);
}

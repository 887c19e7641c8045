// Real use: a book built with "create" from the shared collection, then
// played from by the real binary over UCI, the engine playing both sides.
// Book moves come at once, without search lines, and are moves of the
// collection in their position; once the book runs out the engine searches.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "book/record.h"
#include "position/fen.h"
#include "position/makemove.h"
#include "position/movegen.h"
#include "tests/book/book_files.h"
#include "tests/support/data.h"
#include "tests/support/positions.h"
#include "tests/support/process.h"

using namespace orvo;
using namespace orvo::test;

namespace {

bool starts_with(const std::string& s, const std::string& prefix) {
  return s.compare(0, prefix.size(), prefix) == 0;
}

// The first record of every key, as the probe reads the file.
std::map<u64, BookRecord> first_records(const std::string& bytes) {
  std::map<u64, BookRecord> book;
  for (size_t i = 0; i + 16 <= bytes.size(); i += 16) {
    const BookRecord r =
        decode_book_record(reinterpret_cast<const unsigned char*>(bytes.data() + i));
    book.emplace(r.key, r);
  }
  return book;
}

// The move of "bestmove e2e4 ponder ..." or "move e2e4" (the word at
// offset) in the position.
Move best_move(const board& b, const std::string& line, size_t offset = 9) {
  const size_t end = line.find(' ', offset);
  const std::string text =
      line.substr(offset, end == std::string::npos ? std::string::npos : end - offset);
  if (text.size() < 4) return 0;
  const std::string from = text.substr(0, 2), to = text.substr(2, 2);
  const int promo = text.size() > 4 ? std::string("..nbrq").find(text[4]) : -1;
  return find_move(b, from.c_str(), to.c_str(), promo);
}

std::string coordinate(Move m) {
  char text[6] = {char('a' + file_of(move_from(m))), char('8' - row_of(move_from(m))),
                  char('a' + file_of(move_to(m))), char('8' - row_of(move_to(m))), 0, 0};
  if (move_promotion(m)) text[4] = "..nbrq"[move_promotion(m)];
  return text;
}

// Builds the book of the shared collection with "create" into dir, with an
// ini file naming it; returns the book's bytes.
std::string create_shared_book(const TempDir& dir, const std::string& pgn) {
  const std::string book_file = dir.file("book.bin");
  write_file(dir.file("Orvo214.ini"), "book_path=" + book_file + "\n");
  const RunResult built = run_orvo("create\n" + pgn + "\n10\n2000\n1\n", 60, dir.path());
  EXPECT_EQ(built.status, 0);
  return read_file(book_file);
}

// A book of the shared collection, built with "create" in a directory of
// its own whose ini file names it.
class SharedBook : public ::testing::Test {
 protected:
  void SetUp() override {
    ORVO_REQUIRE_DATA(pgn, "pgn/masters-korchnoi-carlsen.pgn");
    build_tables();
    bytes = create_shared_book(dir, pgn);
    ASSERT_GT(bytes.size(), 16u * 1000);
    book = first_records(bytes);
  }
  TempDir dir;
  std::string bytes;
  std::map<u64, BookRecord> book;
};

}  // namespace

TEST_F(SharedBook, UciPlaysBookMovesAtOnceThenSearches) {

  Session s(dir.path());
  s.send("uci");
  ASSERT_EQ(s.wait_for("uciok", 10), "uciok");
  s.send("isready");
  ASSERT_EQ(s.wait_for("readyok", 30), "readyok");
  bool opened = false;
  for (const std::string& line : s.lines())
    opened |= line == "Opening database: " + std::to_string(bytes.size() / 16) + " moves";
  EXPECT_TRUE(opened);

  board b;
  set_position(b, start_fen);
  std::string moves;
  int book_moves = 0;
  bool searched = false;
  for (int ply = 0; ply < 60 && !searched; ++ply) {
    const size_t from = s.lines().size();
    s.send("position startpos" + (moves.empty() ? std::string() : " moves" + moves));
    s.send("go movetime 300");
    const std::string best = s.wait_for("bestmove ", 30);
    ASSERT_FALSE(best.empty()) << "no move at ply " << ply;
    bool thinking = false;
    for (size_t i = from; i < s.lines().size(); ++i)
      thinking |= starts_with(s.lines()[i], "info depth") || starts_with(s.lines()[i], "info currmove");
    const Move m = best_move(b, best);
    ASSERT_NE(m, 0u) << best;
    if (thinking) {
      searched = true;
    } else {
      // A book move: its record exists and the side to move scored with it.
      const auto it = book.find(book_entry_key(b.key, m));
      ASSERT_NE(it, book.end()) << "ply " << ply << ": " << best << " is not in the book";
      const BookRecord& r = it->second;
      EXPECT_GT((b.side == WHITE ? r.white_wins : r.black_wins) + r.draws, 0) << best;
      ASSERT_EQ(searched, false);
      ++book_moves;
    }
    undo u;
    ASSERT_TRUE(make(b, m, u));
    moves += ' ';
    moves += coordinate(m);
  }
  RecordProperty("book_moves", book_moves);
  // No upper bound: the book is built from the first 10 moves of each
  // game, but the probe knows positions, not plies, and a walk through the
  // book's moves can reach a recorded position again later by another move
  // order (24 book moves were once seen); each of them was checked above.
  EXPECT_GE(book_moves, 2);
  EXPECT_TRUE(searched);
  s.send("quit");
  EXPECT_EQ(s.wait_exit(10), 0);
}

TEST(BookPlay, ThreeFailedProbesLeaveTheBookAloneUntilTheNextGame) {
  build_tables();
  TempDir dir;
  const std::string book_file = dir.file("book.bin");
  write_file(dir.file("Orvo214.ini"), "book_path=" + book_file + "\n");
  write_file(dir.file("games.pgn"), "[Result \"1/2-1/2\"]\n\n1. e4 e5 1/2-1/2\n\n");
  const RunResult built =
      run_orvo("create\n" + dir.file("games.pgn") + "\n10\n1000\n1\n", 30, dir.path());
  ASSERT_EQ(built.status, 0);
  ASSERT_EQ(read_file(book_file).size(), 32u);

  Session s(dir.path());
  s.send("uci");
  ASSERT_EQ(s.wait_for("uciok", 10), "uciok");
  s.send("isready");
  ASSERT_EQ(s.wait_for("readyok", 30), "readyok");
  // Whether the engine searched for its move from this position.
  const auto searched = [&](const std::string& position, std::string& best) {
    const size_t from = s.lines().size();
    s.send(position);
    s.send("go depth 2");
    best = s.wait_for("bestmove ", 30);
    bool thinking = false;
    for (size_t i = from; i < s.lines().size(); ++i)
      thinking |= starts_with(s.lines()[i], "info depth");
    return thinking;
  };
  std::string best;
  EXPECT_FALSE(searched("position startpos", best));
  EXPECT_EQ(best, "bestmove e2e4");
  // Three positions outside the book, then the start position is searched.
  EXPECT_TRUE(searched("position startpos moves d2d4", best));
  EXPECT_TRUE(searched("position startpos moves g1f3", best));
  EXPECT_TRUE(searched("position startpos moves c2c4", best));
  EXPECT_TRUE(searched("position startpos", best));
  s.send("ucinewgame");
  EXPECT_FALSE(searched("position startpos", best));
  EXPECT_EQ(best, "bestmove e2e4");
  EXPECT_FALSE(searched("position startpos moves e2e4", best));
  EXPECT_EQ(best.substr(0, 13), "bestmove e7e5");
  s.send("quit");
  EXPECT_EQ(s.wait_exit(10), 0);
}

TEST_F(SharedBook, XboardPlaysBookMovesAtOnceThenSearches) {
  // The engine plays White from the book; Black answers with the book's
  // most played moves as long as there are any.

  Session s(dir.path());
  s.send("xboard");
  s.send("protover 2");
  ASSERT_NE(s.wait_for("feature", 10), "");
  s.send("new");
  s.send("post");
  s.send("st 1");
  board b;
  set_position(b, start_fen);
  int book_moves = 0;
  bool searched = false;
  std::string command = "go";
  for (int move = 0; move < 30 && !searched; ++move) {
    const size_t from = s.lines().size();
    s.send(command);
    const std::string answer = s.wait_for("move ", 30);
    ASSERT_FALSE(answer.empty()) << "no move after " << command;
    bool thinking = false;
    for (size_t i = from; i < s.lines().size(); ++i) {
      const std::string& line = s.lines()[i];
      const size_t first = line.find_first_not_of(' ');
      thinking |= first != std::string::npos && line[first] >= '0' && line[first] <= '9';
    }
    const Move m = best_move(b, answer, 5);
    ASSERT_NE(m, 0u) << answer;
    if (thinking) {
      searched = true;
      break;
    }
    const auto it = book.find(book_entry_key(b.key, m));
    ASSERT_NE(it, book.end()) << answer << " is not in the book";
    EXPECT_GT(it->second.white_wins + it->second.draws, 0);
    ++book_moves;
    undo u;
    ASSERT_TRUE(make(b, m, u));
    // Black's reply: the book move played most often, else any legal move.
    MoveList list;
    generate_all(b, list);
    Move reply = 0;
    int most = -1;
    for (int i = 0; i < list.count; ++i) {
      undo v;
      if (!make(b, list.moves[i], v)) continue;
      unmake(b, v);
      const auto known = book.find(book_entry_key(b.key, list.moves[i]));
      const int games = known == book.end() ? 0 : known->second.games;
      if (games > most) most = games, reply = list.moves[i];
    }
    if (!reply) break;  // no legal reply: the game is over
    ASSERT_TRUE(make(b, reply, u));
    command = "usermove " + coordinate(reply);
  }
  RecordProperty("book_moves", book_moves);
  // No upper bound, for the same reason as in the UCI game above.
  EXPECT_GE(book_moves, 2);
  EXPECT_TRUE(searched);
  s.send("quit");
  EXPECT_EQ(s.wait_exit(10), 0);
}

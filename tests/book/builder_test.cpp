// The builder's rules on small hand-made collections: header filters,
// move-number counting, the record rule, capacity and counter wrap.
#include "book/builder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "position/fen.h"
#include "position/makemove.h"
#include "io/movetext.h"
#include "tests/book/book_files.h"

using namespace orvo;
using namespace orvo::test;

namespace {

std::vector<BookRecord> records_of(const std::string& bytes) {
  std::vector<BookRecord> out;
  for (size_t i = 0; i + 16 <= bytes.size(); i += 16)
    out.push_back(decode_book_record(reinterpret_cast<const unsigned char*>(bytes.data() + i)));
  return out;
}

// Entry keys of the moves of a line of SAN from the start position.
std::vector<u64> keys_of(const std::vector<std::string>& sans) {
  build_tables();
  board b;
  set_position(b, start_fen);
  std::vector<u64> keys;
  for (const std::string& san : sans) {
    const Move m = parse_san(b, san.c_str());
    EXPECT_NE(m, 0u) << san;
    keys.push_back(book_entry_key(b.key, m));
    undo u;
    make(b, m, u);
  }
  return keys;
}

// A game: its tag lines (a neutral one when none is given), a blank line,
// the move text and a blank line.
std::string game(const std::string& tags, const std::string& moves) {
  return (tags.empty() ? std::string("[Event \"?\"]") : tags) + "\n\n" + moves + "\n\n";
}

struct Counts {
  int games, white, black, draws;
};

void expect_record(const BookRecord& r, u64 key, Counts c) {
  EXPECT_EQ(r.key, key);
  EXPECT_EQ(r.games, c.games);
  EXPECT_EQ(r.white_wins, c.white);
  EXPECT_EQ(r.black_wins, c.black);
  EXPECT_EQ(r.draws, c.draws);
}

class Builder : public ::testing::Test {
 protected:
  std::vector<BookRecord> build(const std::string& pgn, const BookSettings& s,
                                unsigned capacity = BOOK_CAPACITY) {
    last_ = build_book_from_text(pgn, s, dir_, capacity);
    EXPECT_EQ(last_.bytes.size(), size_t(last_.written) * 16);
    return records_of(last_.bytes);
  }
  TempDir dir_;
  BuiltBook last_;
};

const std::string E4_E5 = "1. e4 e5 2. Nf3 Nc6";

}  // namespace

TEST_F(Builder, RatingsBelowTheMinimumSkipTheGame) {
  const std::string pgn =
      game("[Result \"1-0\"]\n[WhiteElo \"2450\"]\n[BlackElo \"1990\"]", "1. e4 e5 1-0");
  EXPECT_TRUE(build(pgn, settings(10, 2000)).empty());
  // 900 is raised to 1000 by the dialogue; the game passes then.
  const auto r = build(pgn, settings(10, LOWEST_MIN_ELO));
  ASSERT_EQ(r.size(), 2u);
  const auto k = keys_of({"e4", "e5"});
  expect_record(r[0], k[0], {1, 1, 0, 0});
  expect_record(r[1], k[1], {1, 1, 0, 0});
}

TEST_F(Builder, RatingIsTheFourCharactersAfterTheFirstQuote) {
  // An empty rating reads as 0 and fails; a fifth digit is not read, so
  // "12345" is 1234; a line without a quote gives no rating.
  EXPECT_TRUE(build(game("[WhiteElo \"\"]", "1. e4"), settings(5)).empty());
  EXPECT_TRUE(build(game("[WhiteElo \"12345\"]", "1. e4"), settings(5, 1235)).empty());
  EXPECT_EQ(build(game("[WhiteElo \"12345\"]", "1. e4"), settings(5, 1234)).size(), 1u);
  EXPECT_EQ(build(game("[WhiteElo 1500]", "1. e4"), settings(5, 3000)).size(), 1u);
  // Any line with "Elo" is a rating line.
  EXPECT_TRUE(build(game("[Event \"Elo cup\"]", "1. e4"), settings(5)).empty());
}

TEST_F(Builder, OnlyTheFirstMatchingTestCountsPerLine) {
  // "1-0" comes before "Elo": this line is a White win, not a rating.
  const auto r = build(game("[WhiteElo \"1-0\"]", "1. e4"), settings(5, 3000));
  ASSERT_EQ(r.size(), 1u);
  expect_record(r[0], keys_of({"e4"})[0], {1, 1, 0, 0});
  // A drawn result line is not also a win.
  const auto d = build(game("[Result \"1/2-1/2\"]", "1. e4"), settings(5));
  ASSERT_EQ(d.size(), 1u);
  expect_record(d[0], keys_of({"e4"})[0], {1, 0, 0, 1});
}

TEST_F(Builder, DrawsExcludedContributeNothing) {
  const std::string pgn = game("[Result \"1/2-1/2\"]", E4_E5 + " 1/2-1/2");
  EXPECT_TRUE(build(pgn, settings(10, LOWEST_MIN_ELO, false)).empty());
  const auto r = build(pgn, settings(10, LOWEST_MIN_ELO, true));
  const auto k = keys_of({"e4", "e5", "Nf3", "Nc6"});
  ASSERT_EQ(r.size(), 4u);
  for (int i = 0; i < 4; ++i) expect_record(r[i], k[i], {1, 0, 0, 1});
}

TEST_F(Builder, SameOpeningWonByEachSideSharesItsRecords) {
  const std::string pgn = game("[Result \"1-0\"]", E4_E5 + " 1-0") +
                          game("[Result \"0-1\"]", E4_E5 + " 0-1");
  const auto r = build(pgn, settings(10));
  const auto k = keys_of({"e4", "e5", "Nf3", "Nc6"});
  ASSERT_EQ(r.size(), 4u);
  for (int i = 0; i < 4; ++i) expect_record(r[i], k[i], {2, 1, 1, 0});
}

TEST_F(Builder, GameWithoutResultCountsUnderGamesOnly) {
  const std::string pgn = game("[Result \"*\"]", "1. e4 *") + game("[Event \"x\"]", "1. e4");
  const auto r = build(pgn, settings(10));
  ASSERT_EQ(r.size(), 1u);
  expect_record(r[0], keys_of({"e4"})[0], {2, 0, 0, 0});
}

TEST_F(Builder, DepthZeroRecordsNothingAfterTheFirstMoveNumber) {
  EXPECT_TRUE(build(game("[Result \"1-0\"]", E4_E5), settings(0)).empty());
  // Before the first move number the count is 0, which is not above 0.
  const auto r = build(game("[Result \"1-0\"]", "e4 e5 1. Nf3"), settings(0));
  ASSERT_EQ(r.size(), 2u);
  EXPECT_EQ(r[1].key, keys_of({"e4", "e5"})[1]);
}

TEST_F(Builder, DepthCountsMoveNumbersNotPlies) {
  // Depth 1: both moves of move 1, nothing after "2.".
  const auto r = build(game("", E4_E5), settings(1));
  ASSERT_EQ(r.size(), 2u);
  const auto k = keys_of({"e4", "e5"});
  EXPECT_EQ(r[0].key, k[0]);
  EXPECT_EQ(r[1].key, k[1]);
  // A negative depth records nothing at all.
  EXPECT_TRUE(build(game("", "e4 " + E4_E5), settings(-1)).empty());
}

TEST_F(Builder, MoveWrittenOntoItsNumberIsLost) {
  // "1.e4" is a move number; e5 is then read in the start position, where
  // White is to move, and fails; the rest of the game fails with it.
  EXPECT_TRUE(build(game("", "1.e4 e5 2.Nf3 Nc6"), settings(10)).empty());
}

TEST_F(Builder, RepeatedMoveNumberCountsAgain) {
  // "1..." counts as a second move number, so with depth 1 Black's reply
  // after it is no longer recorded.
  const auto r = build(game("", "1. e4 {best} 1... e5"), settings(1));
  ASSERT_EQ(r.size(), 1u);
  EXPECT_EQ(r[0].key, keys_of({"e4"})[0]);
  EXPECT_EQ(build(game("", "1. e4 {best} 1... e5"), settings(2)).size(), 2u);
}

TEST_F(Builder, UnknownMoveIsSkippedAndTheGameGoesOnFromTheSamePosition) {
  // "Nf6" is not a White move in the start position; "d4" is read there
  // and "Nf3" is then read for Black and fails.
  const auto r = build(game("", "1. Nf6 d4 2. Nf3"), settings(10));
  ASSERT_EQ(r.size(), 1u);
  EXPECT_EQ(r[0].key, keys_of({"d4"})[0]);
}

TEST_F(Builder, TokensNotStartingWithALetterAreSkipped) {
  const auto r = build(game("", "1. e4 $1 (1... c5) e5 1-0 *"), settings(10));
  // "(1..." is a move number; "c5)" is read for Black as "c5" (the SAN
  // reader ignores what follows the square), and "e5" is then White's.
  const auto k = keys_of({"e4", "c5", "e5"});
  ASSERT_EQ(r.size(), 3u);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(r[i].key, k[i]);
}

TEST_F(Builder, LastGameWithoutBlankLineIsRecordedToTheEndOfTheFile) {
  // The last line also lacks its line end, so its last character goes:
  // "Nc6" would be read as "Nc", which fails; "Nf3 Nc6 " keeps it.
  const auto r = build("[Result \"1-0\"]\n\n1. e4 e5\n2. Nf3 Nc6 ", settings(10));
  ASSERT_EQ(r.size(), 4u);
  EXPECT_EQ(r[3].key, keys_of({"e4", "e5", "Nf3", "Nc6"})[3]);
  const auto cut = build("[Result \"1-0\"]\n\n1. e4 e5\n2. Nf3 Nc6", settings(10));
  EXPECT_EQ(cut.size(), 3u);
}

TEST_F(Builder, RecordsKeepTheOrderInWhichTheyWereFirstMet) {
  const std::string pgn = game("", "1. d4 d5") + game("", "1. e4 e5") + game("", "1. d4 e5");
  const auto r = build(pgn, settings(10));
  ASSERT_EQ(r.size(), 5u);
  const auto d = keys_of({"d4", "d5"}), e = keys_of({"e4", "e5"}), de = keys_of({"d4", "e5"});
  EXPECT_EQ(r[0].key, d[0]);
  EXPECT_EQ(r[1].key, d[1]);
  EXPECT_EQ(r[2].key, e[0]);
  EXPECT_EQ(r[3].key, e[1]);
  EXPECT_EQ(r[4].key, de[1]);
  EXPECT_EQ(r[0].games, 2);
}

TEST_F(Builder, CountersWrapPast65535) {
  std::string pgn;
  const std::string one = game("[Result \"1-0\"]", "1. e4 1-0");
  for (int i = 0; i < 65537; ++i) pgn += one;
  const auto r = build(pgn, settings(1));
  ASSERT_EQ(r.size(), 1u);
  EXPECT_EQ(r[0].games, 1);
  EXPECT_EQ(r[0].white_wins, 1);
}

TEST_F(Builder, PairsBeyondTheCapacityAreDroppedButKnownOnesStillCount) {
  const std::string pgn = game("[Result \"1-0\"]", "1. e4 e5 2. Nf3") +
                          game("[Result \"0-1\"]", "1. d4 d5 2. e4") +
                          game("[Result \"0-1\"]", "1. e4 e5 2. Nf3");
  const auto r = build(pgn, settings(10), 4);
  ASSERT_EQ(r.size(), 4u);
  const auto e = keys_of({"e4", "e5", "Nf3"}), d = keys_of({"d4"});
  expect_record(r[0], e[0], {2, 1, 1, 0});
  expect_record(r[1], e[1], {2, 1, 1, 0});
  expect_record(r[2], e[2], {2, 1, 1, 0});
  expect_record(r[3], d[0], {1, 0, 1, 0});
}

TEST_F(Builder, ImpossibleCastlingIsCountedButNotPlayed) {
  // O-O in the start position: the SAN reader returns it untested, the
  // record is written, the board stays, and e4 is then White's move.
  const auto r = build(game("", "1. O-O e4"), settings(10));
  ASSERT_EQ(r.size(), 2u);
  board b;
  set_position(b, start_fen);
  EXPECT_EQ(r[0].key, book_entry_key(b.key, encode_move(E1, G1, 0, 0, KING)));
  EXPECT_EQ(r[1].key, keys_of({"e4"})[0]);
}

TEST_F(Builder, LegalCastlingIsPlayed) {
  const auto r = build(game("", "1. e4 e5 2. Nf3 Nc6 3. Bc4 Bc5 4. O-O Nf6 5. d3"), settings(10));
  ASSERT_EQ(r.size(), 9u);
  EXPECT_EQ(r[8].key,
            keys_of({"e4", "e5", "Nf3", "Nc6", "Bc4", "Bc5", "O-O", "Nf6", "d3"})[8]);
}

TEST_F(Builder, SpinnerShowsEveryMoveNumberOfIncludedGames) {
  build(game("[Result \"1-0\"]", "1. e4 e5 2. Nf3 Nc6 3. Bb5") +
            game("[WhiteElo \"900\"]", "1. d4 d5") + game("", "1. c4"),
        settings(1));
  EXPECT_EQ(last_.printed, std::string("|\r \r/\r") + "|\r");
}

TEST_F(Builder, SpinnerRunsThroughItsSixteenCharacters) {
  std::string moves;
  for (int i = 1; i <= 17; ++i) moves += std::to_string(i) + ". ";
  build(game("", moves), settings(0));
  EXPECT_EQ(last_.printed, std::string("|\r \r/\r \r-\r \r\\\r \r|\r \r/\r \r-\r \r\\\r \r|\r"));
}

TEST_F(Builder, EmptyCollectionWritesAnEmptyBook) {
  const auto r = build("", settings(10));
  EXPECT_TRUE(r.empty());
  EXPECT_EQ(last_.written, 0u);
  EXPECT_EQ(last_.printed, "");
}

TEST_F(Builder, UnwritablePathIsReported) {
  BookBuilder builder(settings(10));
  testing::internal::CaptureStdout();
  const std::string path = dir_.file("no/such/dir/book.bin");
  EXPECT_EQ(builder.write(path.c_str()), 0u);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "error opening file \"" + path + "\"for writing.\n");
}

TEST_F(Builder, CastlingAgainAfterTheKingMovedLeavesTheBoardSound) {
  // The second O-O finds no king on e1: it is counted, not played, and
  // White's Re1 follows in the same position, onto an empty e1.
  const auto r = build(game("", "1. e4 e5 2. Nf3 Nc6 3. Bc4 Bc5 4. O-O Nf6 5. O-O Re1"),
                       settings(10));
  ASSERT_EQ(r.size(), 10u);
  EXPECT_EQ(r[9].key, keys_of({"e4", "e5", "Nf3", "Nc6", "Bc4", "Bc5", "O-O", "Nf6", "Re1"})[8]);
}

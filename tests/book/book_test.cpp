#include "book/book.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "position/fen.h"
#include "position/makemove.h"
#include "position/movegen.h"
#include "position/tables.h"
#include "tools/ini.h"

using namespace orvo;

namespace {

constexpr const char* AFTER_E4 = "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3 0 1";

class BookTest : public ::testing::Test {
 protected:
  void SetUp() override {
    init_tables();
    c = std::make_unique<Fixture>();
    char templ[] = "/tmp/orvo_book_XXXXXX";
    ASSERT_NE(mkdtemp(templ), nullptr);
    dir_ = templ;
    path_ = dir_ + "/book.bin";
    std::snprintf(book_path, sizeof book_path, "%s", path_.c_str());
  }
  void TearDown() override {
    c.reset();
    std::filesystem::remove_all(dir_);
  }

  // The entry key computed from its definition: low 52 bits of the
  // position key, from-square in bits 52-57, to-square in bits 58-63.
  static u64 entry(u64 position_key, int from, int to) {
    return (position_key & ((u64(1) << 52) - 1)) | u64(from) << 52 | u64(to) << 58;
  }
  BookRecord record(const char* fen, int from, int to, u16 white, u16 black, u16 draws) {
    board b;
    set_position(b, fen);
    return BookRecord{entry(b.key, from, to), u16(white + black + draws), white, black, draws};
  }
  void write_book(const std::vector<BookRecord>& records, const std::string& tail = "") {
    std::ofstream out(path_, std::ios::binary);
    for (const BookRecord& r : records) {
      unsigned char raw[16];
      encode_book_record(r, raw);
      out.write(reinterpret_cast<const char*>(raw), 16);
    }
    out << tail;
  }
  // Probes with the generated moves of the position, as the search's root
  // list holds them before ordering.
  bool probe(const char* fen, Move& out, std::string* printed = nullptr) {
    set_position(c->pos, fen);
    generate_all(c->pos, list_);
    testing::internal::CaptureStdout();
    const bool hit = c->book.probe(c->pos, book_path, list_.moves, list_.count, out);
    const std::string text = testing::internal::GetCapturedStdout();
    if (printed) *printed = text;
    return hit;
  }
  bool open(std::string& printed) {
    testing::internal::CaptureStdout();
    const bool ok = c->book.open(book_path);
    printed = testing::internal::GetCapturedStdout();
    return ok;
  }

  // The book and the position it is asked about.
  struct Fixture {
    Book book;
    board pos;
  };
  std::unique_ptr<Fixture> c;
  char book_path[PATH_SIZE] = {};
  MoveList list_;
  std::string dir_, path_;
};

}  // namespace

TEST_F(BookTest, RecordsAreSixteenLittleEndianBytes) {
  const BookRecord r{0x0123456789ABCDEFull, 0x0102, 0x0304, 0x0506, 0x0708};
  unsigned char raw[16];
  encode_book_record(r, raw);
  const unsigned char expected[16] = {0xEF, 0xCD, 0xAB, 0x89, 0x67, 0x45, 0x23, 0x01,
                                      0x02, 0x01, 0x04, 0x03, 0x06, 0x05, 0x08, 0x07};
  EXPECT_EQ(std::memcmp(raw, expected, 16), 0);
  const BookRecord back = decode_book_record(raw);
  EXPECT_EQ(back.key, r.key);
  EXPECT_EQ(back.games, r.games);
  EXPECT_EQ(back.white_wins, r.white_wins);
  EXPECT_EQ(back.black_wins, r.black_wins);
  EXPECT_EQ(back.draws, r.draws);
}

TEST_F(BookTest, EntryKeyTakesFromAndToSquaresOnly) {
  const u64 key = 0xFEDCBA9876543210ull;
  EXPECT_EQ(book_entry_key(key, encode_move(E2, E4, 0, 0, PAWN)), entry(key, E2, E4));
  EXPECT_EQ(book_entry_key(key, encode_move(E7, E8, ROOK, QUEEN, PAWN)),
            book_entry_key(key, encode_move(E7, E8, ROOK, KNIGHT, PAWN)));
}

TEST_F(BookTest, OpeningAMissingFileIsReported) {
  std::string printed;
  EXPECT_FALSE(open(printed));
  EXPECT_EQ(printed, "error opening database: " + path_ + "\n");
  EXPECT_FALSE(c->book.is_open());
}

TEST_F(BookTest, BlankPathNeverOpens) {
  std::memset(book_path, ' ', 38);
  book_path[38] = 0;
  std::string printed;
  EXPECT_FALSE(open(printed));
  EXPECT_EQ(printed, "error opening database: " + std::string(38, ' ') + "\n");
}

TEST_F(BookTest, EmptyFileOpensWithNoMovesAndEveryProbeFails) {
  write_book({});
  std::string printed;
  EXPECT_TRUE(open(printed));
  EXPECT_EQ(printed, "Opening database: 0 moves\n");
  Move m = 0;
  EXPECT_FALSE(probe(start_fen, m));
  EXPECT_FALSE(probe(start_fen, m));
  EXPECT_EQ(c->book.failures(), 2u);
}

TEST_F(BookTest, OpenCountsWholeRecordsAndStaysOpen) {
  write_book({record(start_fen, E2, E4, 1, 0, 0), record(start_fen, D2, D4, 1, 0, 0)}, "12345678");
  std::string printed;
  EXPECT_TRUE(open(printed));
  EXPECT_EQ(printed, "Opening database: 2 moves\n");
  EXPECT_EQ(c->book.records(), 2u);
  EXPECT_TRUE(open(printed));
  EXPECT_EQ(printed, "");  // read once: nothing is read again
  EXPECT_TRUE(c->book.is_open());
}

TEST_F(BookTest, OnlyTheSideToMovesSuccessesCount) {
  // One record with White wins 0, Black wins 5, draws 0.
  write_book({record(start_fen, E2, E4, 0, 5, 0), record(AFTER_E4, E7, E5, 0, 5, 0)});
  Move m = 0;
  std::string printed;
  EXPECT_FALSE(probe(start_fen, m, &printed));
  EXPECT_EQ(printed, "Opening database: 2 moves\n");  // opened by the probe
  EXPECT_EQ(c->book.failures(), 0u);  // known position: not a failed probe
  for (int i = 0; i < 20; ++i) {
    ASSERT_TRUE(probe(AFTER_E4, m));
    EXPECT_EQ(m, encode_move(E7, E5, 0, 0, PAWN));
  }
  EXPECT_EQ(c->book.failures(), 0u);
}

TEST_F(BookTest, DrawsCountForBothSides) {
  write_book({record(start_fen, G1, F3, 0, 9, 1)});
  Move m = 0;
  ASSERT_TRUE(probe(start_fen, m));
  EXPECT_EQ(m, encode_move(G1, F3, 0, 0, KNIGHT));
}

TEST_F(BookTest, TruncatedSharesBelowOnePercentAreNeverChosen) {
  // Weights 1, 1 and 198: shares 0, 0 and 99.
  write_book({record(start_fen, E2, E4, 1, 0, 0), record(start_fen, D2, D4, 0, 0, 1),
              record(start_fen, C2, C4, 190, 3, 8)});
  for (unsigned seed = 1; seed <= 300; ++seed) {
    std::srand(seed);
    Move m = 0;
    ASSERT_TRUE(probe(start_fen, m));
    ASSERT_EQ(m, encode_move(C2, C4, 0, 0, PAWN)) << seed;
  }
}

TEST_F(BookTest, ChoiceIsSpreadOverTheShares) {
  write_book({record(start_fen, E2, E4, 10, 0, 0), record(start_fen, D2, D4, 10, 0, 0)});
  int e4 = 0, d4 = 0;
  std::srand(12345);
  for (int i = 0; i < 400; ++i) {
    Move m = 0;
    ASSERT_TRUE(probe(start_fen, m));
    if (m == encode_move(E2, E4, 0, 0, PAWN)) ++e4;
    if (m == encode_move(D2, D4, 0, 0, PAWN)) ++d4;
  }
  EXPECT_EQ(e4 + d4, 400);
  EXPECT_GT(e4, 100);
  EXPECT_GT(d4, 100);
}

TEST_F(BookTest, ThreeUnknownPositionsCountThreeFailures) {
  write_book({record(AFTER_E4, E7, E5, 0, 0, 1), record(start_fen, E2, E4, 0, 0, 0)});
  Move m = 0;
  EXPECT_FALSE(probe("4k3/8/8/8/8/8/8/4K3 w - - 0 1", m));
  EXPECT_FALSE(probe("4k3/8/8/8/8/8/8/4K3 b - - 0 1", m));
  EXPECT_FALSE(probe(start_fen, m));  // found, weight 0: no failure
  EXPECT_FALSE(probe("4k3/8/8/8/8/8/8/3K4 w - - 0 1", m));
  EXPECT_EQ(c->book.failures(), 3u);
}

TEST_F(BookTest, PromotionsShareOneRecordAndTheFirstInTheListWins) {
  const char* fen = "8/4P3/8/8/8/8/k7/7K w - - 0 1";
  write_book({record(fen, E7, E8, 3, 0, 0)});
  set_position(c->pos, fen);
  const Move moves[4] = {encode_move(E7, E8, 0, ROOK, PAWN), encode_move(E7, E8, 0, QUEEN, PAWN),
                         encode_move(E7, E8, 0, KNIGHT, PAWN), encode_move(H1, G1, 0, 0, KING)};
  testing::internal::CaptureStdout();
  for (unsigned seed = 1; seed <= 100; ++seed) {
    std::srand(seed);
    Move m = 0;
    ASSERT_TRUE(c->book.probe(c->pos, book_path, moves, 4, m));
    ASSERT_EQ(m, moves[0]) << seed;
  }
  testing::internal::GetCapturedStdout();
  // In the generated list the queen promotion comes first.
  for (unsigned seed = 1; seed <= 100; ++seed) {
    std::srand(seed);
    Move m = 0;
    ASSERT_TRUE(probe(fen, m));
    ASSERT_EQ(m, encode_move(E7, E8, 0, QUEEN, PAWN)) << seed;
  }
}

TEST_F(BookTest, SharedPromotionRecordCountsOnceAmongOtherMoves) {
  // Promotion record weight 1, king move weight 1: 50 % each, not 75 %
  // for the three promotions together.
  const char* fen = "8/4P3/8/8/8/8/k7/7K w - - 0 1";
  write_book({record(fen, E7, E8, 1, 0, 0), record(fen, H1, G1, 1, 0, 0)});
  int promotions = 0, king = 0;
  std::srand(777);
  for (int i = 0; i < 1000; ++i) {
    Move m = 0;
    ASSERT_TRUE(probe(fen, m));
    (move_piece(m) == PAWN ? promotions : king)++;
  }
  EXPECT_GT(king, 400);
  EXPECT_GT(promotions, 400);
}

TEST_F(BookTest, FirstMatchingRecordIsTheMovesRecord) {
  write_book({record(start_fen, E2, E4, 0, 1, 0), record(start_fen, E2, E4, 50, 0, 0)});
  Move m = 0;
  EXPECT_FALSE(probe(start_fen, m));  // the first record has weight 0
}

TEST_F(BookTest, PartRecordAtTheEndIsNeverRead) {
  const BookRecord last = record(start_fen, E2, E4, 5, 0, 0);
  unsigned char raw[16];
  encode_book_record(last, raw);
  write_book({record(AFTER_E4, E7, E5, 0, 0, 1)}, std::string(reinterpret_cast<char*>(raw), 15));
  Move m = 0;
  EXPECT_FALSE(probe(start_fen, m));
  EXPECT_EQ(c->book.failures(), 1u);
}

TEST_F(BookTest, MissingFileIsTriedForEveryRootMove) {
  Move m = 0;
  std::string printed;
  EXPECT_FALSE(probe(start_fen, m, &printed));
  std::string one = "error opening database: " + path_ + "\n";
  std::string expected;
  for (int i = 0; i < 20; ++i) expected += one;
  EXPECT_EQ(printed, expected);
  EXPECT_EQ(c->book.failures(), 1u);
}

TEST_F(BookTest, FullCountersAreReadWhole) {
  write_book({record(start_fen, E2, E4, 65535, 0, 0), record(start_fen, D2, D4, 0, 0, 1)});
  for (int i = 0; i < 50; ++i) {
    Move m = 0;
    ASSERT_TRUE(probe(start_fen, m));
    EXPECT_EQ(m, encode_move(E2, E4, 0, 0, PAWN));
  }
}

TEST_F(BookTest, OnlyListedMovesCanBeReturned) {
  write_book({record(start_fen, E2, E4, 5, 0, 0), record(start_fen, D2, D4, 5, 0, 0)});
  set_position(c->pos, start_fen);
  const Move moves[1] = {encode_move(D2, D4, 0, 0, PAWN)};
  testing::internal::CaptureStdout();
  for (int i = 0; i < 20; ++i) {
    Move m = 0;
    ASSERT_TRUE(c->book.probe(c->pos, book_path, moves, 1, m));
    EXPECT_EQ(m, moves[0]);
  }
  testing::internal::GetCapturedStdout();
}

TEST_F(BookTest, BookIsReadOnceWhenOpened) {
  write_book({record(start_fen, E2, E4, 5, 0, 0)});
  std::string printed;
  ASSERT_TRUE(open(printed));
  // Replaced on disk: the records read at opening still answer.
  write_book({record(start_fen, D2, D4, 5, 0, 0)});
  for (int i = 0; i < 10; ++i) {
    Move m = 0;
    ASSERT_TRUE(probe(start_fen, m, &printed));
    EXPECT_EQ(m, encode_move(E2, E4, 0, 0, PAWN));
    EXPECT_EQ(printed, "");
  }
}

TEST_F(BookTest, AllZeroRecordsOpenAndFindNothing) {
  write_book(std::vector<BookRecord>(1000, BookRecord{0, 0, 0, 0, 0}));
  std::string printed;
  EXPECT_TRUE(open(printed));
  EXPECT_EQ(printed, "Opening database: 1000 moves\n");
  Move m = 0;
  EXPECT_FALSE(probe(start_fen, m));
  EXPECT_EQ(c->book.failures(), 1u);
}

TEST_F(BookTest, GarbageOfOddLengthIsSafe) {
  std::string garbage;
  u64 x = 88172645463325252ull;
  for (int i = 0; i < 160003; ++i) {
    x ^= x << 13, x ^= x >> 7, x ^= x << 17;
    garbage += char(x & 0xFF);
  }
  // The record sought sits after the garbage; the tail of 3 bytes is
  // never read.
  write_book({}, garbage.substr(0, 160000));
  {
    std::ofstream out(path_, std::ios::binary | std::ios::app);
    unsigned char raw[16];
    encode_book_record(record(start_fen, G1, F3, 0, 0, 4), raw);
    out.write(reinterpret_cast<const char*>(raw), 16);
    out << garbage.substr(160000);
  }
  std::string printed;
  EXPECT_TRUE(open(printed));
  EXPECT_EQ(printed, "Opening database: 10001 moves\n");
  for (int i = 0; i < 10; ++i) {
    Move m = 0;
    ASSERT_TRUE(probe(start_fen, m));
    EXPECT_EQ(m, encode_move(G1, F3, 0, 0, KNIGHT));
  }
  Move m = 0;
  EXPECT_FALSE(probe(AFTER_E4, m));
}

TEST_F(BookTest, LargeBookFindsTheFirstRecordOfEachKey) {
  std::vector<BookRecord> records;
  for (u32 i = 0; i < 200000; ++i) records.push_back(BookRecord{u64(i + 1) << 20 | i, 1, 1, 1, 1});
  records.push_back(record(start_fen, E2, E4, 0, 7, 0));  // weight 0 for White
  records.push_back(record(start_fen, E2, E4, 9, 0, 0));  // a later copy: never read
  records.push_back(record(start_fen, D2, D4, 3, 0, 0));
  write_book(records);
  for (int i = 0; i < 20; ++i) {
    Move m = 0;
    ASSERT_TRUE(probe(start_fen, m));
    EXPECT_EQ(m, encode_move(D2, D4, 0, 0, PAWN));
  }
  EXPECT_EQ(c->book.records(), 200003u);
}

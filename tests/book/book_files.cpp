#include "tests/book/book_files.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "position/tables.h"

namespace orvo::test {

TempDir::TempDir() {
  char templ[] = "/tmp/orvo_book_test_XXXXXX";
  if (mkdtemp(templ)) path_ = templ;
}

TempDir::~TempDir() {
  if (!path_.empty()) std::filesystem::remove_all(path_);
}

void write_file(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(bytes.data(), std::streamsize(bytes.size()));
}

std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream all;
  all << in.rdbuf();
  return all.str();
}

void build_tables() { init_tables(); }

BuiltBook build_book(const std::string& pgn_path, const BookSettings& s, const TempDir& dir,
                     unsigned capacity) {
  build_tables();
  BuiltBook built;
  std::FILE* pgn = std::fopen(pgn_path.c_str(), "r");
  if (!pgn) return built;
  auto builder = std::make_unique<BookBuilder>(s, capacity);
  testing::internal::CaptureStdout();
  builder->read_games(pgn);
  std::fclose(pgn);
  const std::string book = dir.file("orvo.bin");
  built.written = builder->write(book.c_str());
  built.printed = testing::internal::GetCapturedStdout();
  built.bytes = read_file(book);
  return built;
}

BuiltBook build_book_from_text(const std::string& pgn, const BookSettings& s, const TempDir& dir,
                               unsigned capacity) {
  const std::string path = dir.file("games.pgn");
  write_file(path, pgn);
  return build_book(path, s, dir, capacity);
}

BookSettings settings(int depth, int min_elo, bool draws) {
  BookSettings s;
  s.move_depth = depth;
  s.min_elo = min_elo;
  s.include_draws = draws ? 1 : 0;
  return s;
}

}  // namespace orvo::test

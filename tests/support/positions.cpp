#include "tests/support/positions.h"

#include <fstream>
#include <sstream>

#include "position/fen.h"
#include "position/tables.h"

namespace orvo::test {

board from_fen(const std::string& fen) {
  init_tables();
  board b;
  set_position(b, fen.c_str());
  return b;
}

std::vector<SuiteLine> read_perft_suite(const std::string& path) {
  std::vector<SuiteLine> out;
  std::ifstream in(path);
  std::string line;
  while (std::getline(in, line)) {
    size_t semi = line.find(';');
    if (semi == std::string::npos) continue;
    SuiteLine s;
    s.fen = line.substr(0, semi);
    while (!s.fen.empty() && s.fen.back() == ' ') s.fen.pop_back();
    s.counts.push_back(0);
    std::stringstream rest(line.substr(semi));
    std::string field;
    while (std::getline(rest, field, ';')) {
      std::stringstream f(field);
      std::string depth;
      long long n;
      if (f >> depth >> n) s.counts.push_back(n);
    }
    out.push_back(s);
  }
  return out;
}

Recomputed recompute_keys(const board& b) {
  board copy;
  char text[128];
  write_fen(b, text);
  set_position(copy, text);
  return {copy.key, copy.pawn_key, copy.mat_key};
}

}  // namespace orvo::test

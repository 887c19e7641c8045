#include "tests/support/positions.h"

#include <fstream>
#include <sstream>

#include "position/fen.h"
#include "position/makemove.h"
#include "position/movegen.h"
#include "position/tables.h"

namespace orvo::test {

board from_fen(const std::string& fen) {
  init_tables();
  board b;
  set_position(b, fen.c_str());
  return b;
}

Move find_move(const board& b, const char* from, const char* to, int promo) {
  MoveList l;
  generate_all(b, l);
  for (int i = 0; i < l.count; ++i)
    if (move_from(l.moves[i]) == sq(from) && move_to(l.moves[i]) == sq(to) &&
        (promo < 0 || move_promotion(l.moves[i]) == promo))
      return l.moves[i];
  return 0;
}

int count_legal(board& b) {
  MoveList l;
  generate_all(b, l);
  int legal = 0;
  undo u;
  for (int i = 0; i < l.count; ++i)
    if (make(b, l.moves[i], u)) {
      ++legal;
      unmake(b, u);
    }
  return legal;
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

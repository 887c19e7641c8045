#include "tests/eval/eval_test_util.h"

#include <cctype>
#include <fstream>
#include <sstream>
#include <vector>

#include "position/makemove.h"
#include "position/movegen.h"

namespace orvo::test {

namespace {

void expand(board& b, int plies, std::vector<board>& out) {
  out.push_back(b);
  if (plies == 0) return;
  MoveList list;
  generate_all(b, list);
  for (int i = 0; i < list.count; ++i) {
    undo u;
    if (!make(b, list.moves[i], u)) continue;
    expand(b, plies - 1, out);
    unmake(b, u);
  }
}

}  // namespace

std::vector<board> suite_positions(const std::string& path, int plies) {
  build_eval_tables();
  std::vector<board> out;
  std::ifstream in(path);
  std::string line;
  while (std::getline(in, line)) {
    const std::string fen_text = line.substr(0, line.find(';'));
    if (fen_text.find('/') == std::string::npos) continue;
    board b;
    set_position(b, fen_text.c_str());
    expand(b, plies, out);
  }
  return out;
}

std::vector<board> random_walks(const std::vector<board>& roots, int walks, int plies) {
  std::vector<board> out;
  u64 state = 0x9E3779B97F4A7C15ull;
  for (const board& root : roots) {
    for (int w = 0; w < walks; ++w) {
      board b = root;
      for (int p = 0; p < plies; ++p) {
        MoveList list;
        generate_all(b, list);
        int legal[MAX_MOVES], n = 0;
        for (int i = 0; i < list.count; ++i) {
          undo u;
          if (make(b, list.moves[i], u)) {
            legal[n++] = i;
            unmake(b, u);
          }
        }
        if (n == 0) break;
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        undo u;
        make(b, list.moves[legal[(state >> 33) % u64(n)]], u);
        out.push_back(b);
      }
    }
  }
  return out;
}

int cold_eval(board& b, int alpha, int beta) {
  Evaluator& e = evaluator();
  e.pawn_table(b.side)[b.pawn_key & eval::PAWN_TABLE_MASK] = eval::pawn_record{};
  e.material_cache()[b.mat_key & (eval::MATERIAL_CACHE_SIZE - 1)] = {0, eval::BOTH_CAN_WIN};
  return e.evaluate(b, alpha, beta);
}

std::string flip_fen(const std::string& fen_text) {
  std::istringstream in(fen_text);
  std::string placement, side = "w", castle = "-", ep = "-", rest;
  in >> placement >> side >> castle >> ep;
  std::getline(in, rest);

  std::vector<std::string> ranks;
  std::string cur;
  for (char c : placement) {
    if (c == '/') {
      ranks.push_back(cur);
      cur.clear();
    } else {
      cur += char(std::isupper(static_cast<unsigned char>(c)) ? std::tolower(c) : std::toupper(c));
    }
  }
  ranks.push_back(cur);
  std::string out;
  for (size_t i = ranks.size(); i-- > 0;) {
    out += ranks[i];
    if (i) out += '/';
  }
  out += side == "w" ? " b " : " w ";
  std::string flipped_castle;
  for (char c : castle) {
    if (c == '-') continue;
    flipped_castle += char(std::isupper(static_cast<unsigned char>(c)) ? std::tolower(c) : std::toupper(c));
  }
  // Keep the usual order KQkq.
  std::string ordered;
  for (char c : std::string("KQkq"))
    if (flipped_castle.find(c) != std::string::npos) ordered += c;
  out += ordered.empty() ? "-" : ordered;
  out += ' ';
  if (ep.size() == 2 && ep[1] >= '1' && ep[1] <= '8')
    out += std::string(1, ep[0]) + char('1' + ('8' - ep[1]));
  else
    out += "-";
  out += rest.empty() ? " 0 1" : rest;
  return out;
}

}  // namespace orvo::test

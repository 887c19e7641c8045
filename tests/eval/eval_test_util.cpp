#include "tests/eval/eval_test_util.h"

#include <cctype>
#include <sstream>
#include <vector>

namespace orvo::test {

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

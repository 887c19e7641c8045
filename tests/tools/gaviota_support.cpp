#include "tests/tools/gaviota_support.h"

#include <gtb-probe.h>

#include <dlfcn.h>

#include <cctype>
#include <cstdio>

namespace orvo::test {

std::string gaviota_egbb_dir() { return ORVO_EGBB_DIR "/"; }

bool open_reference_tables() {
  static int opened = -1;
  if (opened >= 0) return opened == 1;
  void* h = dlopen((gaviota_egbb_dir() + "egbbdll.dll").c_str(), RTLD_NOW | RTLD_LOCAL);
  auto load = h ? reinterpret_cast<int (*)(char*, int, int)>(dlsym(h, "load_egbb_5men")) : nullptr;
  char path[1024];
  std::snprintf(path, sizeof path, "%s", gaviota_egbb_dir().c_str());
  opened = load && load(path, 1 << 22, 1) == 1 ? 1 : 0;
  return opened == 1;
}

std::vector<Man> men_of(const std::string& fen) {
  std::vector<Man> men;
  int rank = 7, file = 0;
  for (const char c : fen) {
    if (c == ' ') break;
    if (c == '/') {
      --rank;
      file = 0;
    } else if (std::isdigit(static_cast<unsigned char>(c))) {
      file += c - '0';
    } else {
      men.push_back({c, rank * 8 + file});
      ++file;
    }
  }
  return men;
}

std::string fen_of(const std::vector<Man>& men, int side) {
  char grid[64];
  for (char& c : grid) c = 0;
  for (const Man& m : men) grid[m.square] = m.letter;
  std::string fen;
  for (int rank = 7; rank >= 0; --rank) {
    int empty = 0;
    for (int file = 0; file < 8; ++file) {
      const char c = grid[rank * 8 + file];
      if (!c) {
        ++empty;
        continue;
      }
      if (empty) fen += char('0' + empty);
      empty = 0;
      fen += c;
    }
    if (empty) fen += char('0' + empty);
    if (rank) fen += '/';
  }
  fen += side == 0 ? " w - - 0 1" : " b - - 0 1";
  return fen;
}

int gaviota_reference(const std::vector<Man>& men, int side) {
  unsigned ws[8], bs[8];
  unsigned char wp[8], bp[8];
  int nw = 0, nb = 0;
  for (const Man& m : men) {
    unsigned char kind = tb_NOPIECE;
    switch (std::tolower(m.letter)) {
      case 'k': kind = tb_KING; break;
      case 'q': kind = tb_QUEEN; break;
      case 'r': kind = tb_ROOK; break;
      case 'b': kind = tb_BISHOP; break;
      case 'n': kind = tb_KNIGHT; break;
      case 'p': kind = tb_PAWN; break;
    }
    if (std::isupper(m.letter)) {
      ws[nw] = unsigned(m.square);
      wp[nw++] = kind;
    } else {
      bs[nb] = unsigned(m.square);
      bp[nb++] = kind;
    }
  }
  ws[nw] = bs[nb] = tb_NOSQUARE;
  wp[nw] = bp[nb] = tb_NOPIECE;
  unsigned info = tb_UNKNOWN, plies = 0;
  if (!tb_probe_hard(unsigned(side), tb_NOSQUARE, tb_NOCASTLE, ws, bs, wp, bp, &info, &plies))
    return UNKNOWN_SCORE;
  if (info == tb_DRAW) return 0;
  if (info != tb_WMATE && info != tb_BMATE) return UNKNOWN_SCORE;
  const bool mover_wins = (info == tb_WMATE) == (side == 0);
  return mover_wins ? WIN_SCORE - int(plies) : -(WIN_SCORE - int(plies));
}

}  // namespace orvo::test

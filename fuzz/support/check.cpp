#include "fuzz/support/check.h"

#include <cstdio>
#include <cstdlib>

#include "position/fen.h"
#include "position/tables.h"

namespace orvo::fuzz {

void check_failed(const char* what, const char* file, int line) {
  std::fprintf(stderr, "orvo fuzz check failed: %s (%s:%d)\n", what, file, line);
  std::fflush(stderr);
  std::abort();
}

bool same_position(const board& a, const board& b) {
  board x = a;
  for (int c : {WHITE, BLACK})
    if (popcount(a.kings(c)) > 1) x.king_sq[c] = b.king_sq[c];
  return x == b;
}

void check_board(const board& b) {
  u64 key = 0, pawn_key = 0, occ_file = 0, occ_h1a8 = 0, occ_a1h8 = 0;
  int material[2] = {0, 0}, pieces[2] = {0, 0}, pawns[2] = {0, 0}, units[2] = {0, 0}, kings[2] = {0, 0};
  for (int sq = 0; sq < 64; ++sq) {
    const u64 bit = 1ull << sq;
    const int p = b.piece[sq];
    ORVO_FUZZ_CHECK(p >= EMPTY && p <= KING);
    if (p == EMPTY) {
      ORVO_FUZZ_CHECK(b.color[sq] == NO_COLOR);
      ORVO_FUZZ_CHECK(!(b.occupied & bit));
      continue;
    }
    const int c = b.color[sq];
    ORVO_FUZZ_CHECK(c == WHITE || c == BLACK);
    const u64* own = b.bb(c);
    const u64* opp = b.bb(c ^ 1);
    ORVO_FUZZ_CHECK(own[BB_ALL] & bit);
    ORVO_FUZZ_CHECK(!(opp[BB_ALL] & bit));
    for (int t = PAWN; t <= QUEEN; ++t) ORVO_FUZZ_CHECK(bool(own[t - 1] & bit) == (t == p));
    key ^= zobrist[c][p][sq];
    if (p == PAWN) pawn_key ^= zobrist[c][p][sq];
    material[c] += piece_value[p];
    if (p == PAWN) ++pawns[c];
    if (p >= KNIGHT && p <= QUEEN) {
      ++pieces[c];
      units[c] += phase_unit[p];
    }
    if (p == KING) ++kings[c];
  }
  for (int i = 0; i < 64; ++i) {
    if (b.piece[rot90_map[i]]) occ_file |= 1ull << i;
    if (b.piece[rot_h1a8_map[i]]) occ_h1a8 |= 1ull << i;
    if (b.piece[rot_a1h8_map[i]]) occ_a1h8 |= 1ull << i;
  }
  ORVO_FUZZ_CHECK(b.occupied == (b.white[BB_ALL] | b.black[BB_ALL]));
  ORVO_FUZZ_CHECK(popcount(b.occupied) == popcount(b.white[BB_ALL]) + popcount(b.black[BB_ALL]));
  ORVO_FUZZ_CHECK(b.occ_file == occ_file && b.occ_diag_h1a8 == occ_h1a8 && b.occ_diag_a1h8 == occ_a1h8);
  ORVO_FUZZ_CHECK(b.side == WHITE || b.side == BLACK);
  ORVO_FUZZ_CHECK(b.xside == (b.side ^ 1));
  ORVO_FUZZ_CHECK(b.castle < 16);
  ORVO_FUZZ_CHECK(b.ep == -1 || (b.ep >= 0 && b.ep < 64 && b.piece[b.ep] == EMPTY));
  key ^= zobrist_castle_ep[b.castle];
  if (b.ep != -1) key ^= zobrist_castle_ep[b.ep];
  key ^= zobrist_side[b.side];
  ORVO_FUZZ_CHECK(b.key == key);
  ORVO_FUZZ_CHECK(b.pawn_key == pawn_key);
  for (int c : {WHITE, BLACK}) {
    ORVO_FUZZ_CHECK(b.material[c] == material[c]);
    ORVO_FUZZ_CHECK(b.pieces_count[c] == pieces[c]);
    ORVO_FUZZ_CHECK(b.pawn_count[c] == pawns[c]);
    ORVO_FUZZ_CHECK(b.phase_units[c] == units[c]);
    if (kings[c] == 1) ORVO_FUZZ_CHECK(b.piece[b.king_sq[c]] == KING && b.color[b.king_sq[c]] == c);
  }
}

}  // namespace orvo::fuzz

namespace orvo::fuzz {

void check_game_board(const board& b) {
  if (!(b == board{})) check_board(b);
}

}  // namespace orvo::fuzz

#include "position/board.h"

#include <algorithm>
#include <cstring>

namespace orvo {

namespace {

template <typename T, std::size_t N>
bool same(const T (&a)[N], const T (&b)[N]) {
  return std::equal(a, a + N, b);
}

}  // namespace

bool board::operator==(const board& o) const {
  const bool fields =
      same(piece, o.piece) && same(color, o.color) && same(king_sq, o.king_sq) && hist_ply == o.hist_ply &&
      fifty == o.fifty && side == o.side && xside == o.xside && castle == o.castle && ep == o.ep &&
      last_move == o.last_move && same(white, o.white) && same(black, o.black) && occupied == o.occupied &&
      pawns_all == o.pawns_all && occ_diag_h1a8 == o.occ_diag_h1a8 && occ_diag_a1h8 == o.occ_diag_a1h8 &&
      occ_file == o.occ_file && key == o.key && pawn_key == o.pawn_key && mat_key == o.mat_key &&
      same(material, o.material) && same(pieces_count, o.pieces_count) && same(pawn_count, o.pawn_count) &&
      same(phase_units, o.phase_units) && in_check == o.in_check && same(castled, o.castled) &&
      phase == o.phase && same(king_attack, o.king_attack) && same(positional, o.positional);
  if (!fields) return false;
  const int plies = std::min(std::max(hist_ply, 0), KEY_HISTORY_SIZE);
  for (int i = 0; i < plies; ++i)
    if (key_history[(hist_ply - 1 - i) & (KEY_HISTORY_SIZE - 1)] !=
        o.key_history[(hist_ply - 1 - i) & (KEY_HISTORY_SIZE - 1)])
      return false;
  return true;
}

}  // namespace orvo

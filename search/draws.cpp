#include "search/draws.h"

#include "position/makemove.h"
#include "position/movegen.h"
#include "position/tables.h"

namespace orvo {

int repetition_count(const board& b) {
  const int n = b.hist_ply, f = b.fifty;
  if (n < 2 || n - 2 < n - f) return 0;
  int count = 0;
  for (int i = n - 2; i >= n - f && i >= 0; i -= 2)
    if (b.key_history[i & (KEY_HISTORY_SIZE - 1)] == b.key) ++count;
  return count;
}

bool has_no_legal_move(board& b) {
  MoveList l;
  generate_all(b, l);
  undo u;
  for (int i = 0; i < l.count; ++i)
    if (make(b, l.moves[i], u)) {
      unmake(b, u);
      return false;
    }
  return true;
}

namespace {

constexpr u64 LIGHT_SQUARES = 0xAA55AA55AA55AA55ull;  // a8 (bit 0) is a light square

// Tournament managers check a draw claim and forfeit the claimer when they
// disagree. cutechess-cli holds a knight to be mating material (also in
// king and knight against king), and xboard takes king and bishop against
// king and knight for a game that goes on. So the claim is made only for
// what both accept: bare kings, and bishops that all stand on squares of
// one colour, with no knight on the board.
bool front_ends_accept_material_draw(const board& b) {
  if (b.white[BB_KNIGHT] | b.black[BB_KNIGHT]) return false;
  const u64 bishops = b.white[BB_BISHOP] | b.black[BB_BISHOP];
  return (bishops & LIGHT_SQUARES) == 0 || (bishops & ~LIGHT_SQUARES) == 0;
}

}  // namespace

GameEnd game_end(board& b) {
  if (b.fifty >= 100) return GameEnd::fifty_moves;
  if (repetition_count(b) >= 2) return GameEnd::repetition;
  if (b.phase == 2 && b.pawn_count[WHITE] == 0 && b.pawn_count[BLACK] == 0) {
    const int w = b.phase_units[WHITE], k = b.phase_units[BLACK];
    const bool two_knights_w = w == 6 && popcount(b.white[BB_KNIGHT]) == 2 && k == 0;
    const bool two_knights_b = k == 6 && popcount(b.black[BB_KNIGHT]) == 2 && w == 0;
    if (((w == 0 && k == 0) || (w < 4 && k < 4) || two_knights_w || two_knights_b) &&
        front_ends_accept_material_draw(b))
      return GameEnd::insufficient_material;
  }
  if (!has_no_legal_move(b)) return GameEnd::none;
  if (!is_attacked(b, b.king_sq[b.side], b.xside)) return GameEnd::stalemate;
  return b.side == WHITE ? GameEnd::white_mated : GameEnd::black_mated;
}

}  // namespace orvo

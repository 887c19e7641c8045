// The bitbase library's two entry points, as the engine calls them:
//   int load_egbb_5men(char* path, int cache_size, int load_options)
//   int probe_egbb_5men(int side, int white_king, int black_king,
//                       int piece1, int square1, int piece2, int square2,
//                       int piece3, int square3)
// answered from the Gaviota endgame tables. Nothing else is exported.
#include <gtb-probe.h>

#include <cstddef>

#include "tools/egbb_gaviota/scale.h"
#include "tools/egbb_gaviota/tables.h"
#include "tools/egbb_gaviota/translate.h"

#define EGBB_EXPORT extern "C" __attribute__((visibility("default")))

namespace egbb_gaviota {
namespace {

bool distance = true;  // answers carry the distance to mate

// The Gaviota answer, turned to the side to move's score.
int score(unsigned side, unsigned info, unsigned plies) {
  if (info == tb_DRAW) return DRAW_SCORE;
  const bool white_wins = info == tb_WMATE;
  if (!white_wins && info != tb_BMATE) return UNKNOWN_SCORE;  // forbidden, unknown
  const int win = distance ? win_in(plies) : WDL_WIN_SCORE;
  const bool mover_wins = white_wins == (side == tb_WHITE_TO_MOVE);
  return mover_wins ? win : -win;
}

// Tables are closed when the engine releases the library.
__attribute__((destructor)) void unload() { close_tables(); }

}  // namespace
}  // namespace egbb_gaviota

using namespace egbb_gaviota;

// Returns 1 when tables were found, 0 otherwise (with a message).
EGBB_EXPORT int load_egbb_5men(char* path, int cache_size, int load_options) {
  distance = (load_options & LOAD_DISTANCE) != 0;
  const std::size_t bytes = cache_size > 0 ? std::size_t(cache_size) : 0;
  return open_tables(path, bytes) ? 1 : 0;
}

EGBB_EXPORT int probe_egbb_5men(int side, int white_king, int black_king, int piece1,
                                int square1, int piece2, int square2, int piece3,
                                int square3) {
  const int pieces[PAIRS] = {piece1, piece2, piece3};
  const int squares[PAIRS] = {square1, square2, square3};
  GaviotaPosition p;
  if (!translate(side, white_king, black_king, pieces, squares, p)) return UNKNOWN_SCORE;
  // Two bare kings: a draw that no table holds.
  if (p.men == 0) return DRAW_SCORE;
  if (!tables_open()) return UNKNOWN_SCORE;
  unsigned info = tb_UNKNOWN, plies = 0;
  const bool found =
      distance ? tb_probe_hard(p.side, tb_NOSQUARE, tb_NOCASTLE, p.white_squares,
                               p.black_squares, p.white_pieces, p.black_pieces, &info, &plies)
               : tb_probe_WDL_hard(p.side, tb_NOSQUARE, tb_NOCASTLE, p.white_squares,
                                   p.black_squares, p.white_pieces, p.black_pieces, &info);
  return found ? score(p.side, info, plies) : UNKNOWN_SCORE;
}

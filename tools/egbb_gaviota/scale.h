// The scores the bitbase library answers with, always from the side to
// move's point of view.
//
// A draw scores 0. A win in n plies (n half-moves until mate, as the
// Gaviota tables count them) scores WIN_SCORE - n, so the nearer win scores
// higher; a loss in n plies scores -(WIN_SCORE - n), so the longer defence
// scores higher. A side already mated scores -WIN_SCORE.
//
// Why 3000: a win must stand clearly above any evaluation (a queen ahead
// with all bonuses evaluates to about 1100) and below the engine's mate
// scores, which start at 29744. The engine's transposition table treats
// scores beyond +-3000 as mate scores and shifts them by the ply; the
// library's scores count from the probed position, not from the root, so
// they must stay inside +-3000 to be stored unchanged.
#pragma once

namespace egbb_gaviota {

constexpr int DRAW_SCORE = 0;
constexpr int WIN_SCORE = 3000;
// Distances are capped here; no table of five men or fewer needs more.
constexpr int MAX_DISTANCE = 255;
// Win/draw/loss answers (load options without the distance bit) carry no
// distance: they score as the farthest win, below every counted one.
constexpr int WDL_WIN_SCORE = WIN_SCORE - MAX_DISTANCE;
// The answer for a position the tables do not hold.
constexpr int UNKNOWN_SCORE = 99999;

// Bit 0 of the load options: answer with the distance to mate (slower
// probes of the full tables); without it, win/draw/loss only.
constexpr int LOAD_DISTANCE = 1;

inline int win_in(unsigned plies) {
  return WIN_SCORE - int(plies > unsigned(MAX_DISTANCE) ? MAX_DISTANCE : plies);
}

}  // namespace egbb_gaviota

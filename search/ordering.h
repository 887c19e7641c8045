// Move ordering: the staged move picker, the capture and quiet scorers,
// static exchange evaluation, and the test for moves taken from the
// transposition table or the killer slots.
#pragma once
#include "position/board.h"

namespace orvo {

class chess;

// Piece values of the exchange evaluation and capture ordering.
constexpr int see_value[7] = {0, 100, 325, 325, 500, 975, 10000};

struct MovePicker {
  MoveList list;
  Move deferred[MAX_MOVES];  // losing captures, handed out after the quiet moves
  int deferred_count;
  Move hash_move, killer1, killer2;
  int ply;
  int read;
  int phase_index;
  int stage;
};

void clearKillers(chess& c);
void update_killers(chess& c, int ply, Move m);
// Returns whether the side to move, in check, has exactly one legal move.
bool initPicker(chess& c, board& b, MovePicker& p, Move hashMove, bool inCheck, int ply);
// The next move, legal or not (make decides), or 0 when none is left.
Move nextMove(chess& c, board& b, MovePicker& p);

int see(const board& b, int from, int to);
bool isPseudoLegal(const board& b, Move m);

void sortByScore(MoveList& l);
void selectBest(MoveList& l, int i);
void score_captures(const board& b, MoveList& l);
void score_quiets(const chess& c, const board& b, MoveList& l);
// Makes every move: illegal -50000, legal capture or promotion 50000, legal
// pawn move 25000, any other legal move 0. Returns the legal count.
int scoreEvasions(board& b, MoveList& l);

}  // namespace orvo

// Move ordering: the staged move picker, the capture and quiet scorers,
// static exchange evaluation, and the test for moves taken from the
// transposition table or the killer slots.
#pragma once
#include "position/board.h"

namespace orvo {

// Piece values of the exchange evaluation and capture ordering.
constexpr int see_value[7] = {0, 100, 325, 325, 500, 975, 10000};

// The killer slots of each ply and the number of plies that have them.
constexpr int KILLER_PLIES = 64;

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

// What move ordering learns during a search (killers, history) and the
// staged move picker that uses it.
class Ordering {
 public:
  Ordering();

  // Zeroes every killer slot and writes the picker's phase table afresh.
  void clear_killers();
  void clear_history();
  // The move becomes killer 1 of the ply; the old killer 1 moves to slot 2.
  void update_killers(int ply, Move m);
  // Returns whether the side to move, in check, has exactly one legal move.
  bool init_picker(board& b, MovePicker& p, Move hash_move, bool in_check, int ply);
  // The next move, legal or not (make decides), or 0 when none is left.
  Move next_move(board& b, MovePicker& p);
  // Captures and promotions by the capture scorer; quiet moves by history,
  // for the first few quiet moves ever scored (see quiet_scored).
  void score_quiets(const board& b, MoveList& l);

  Move killers[KILLER_PLIES][2];
  i32 history[2][64][64];
  i32 phase_table[8];
  i32 evasion_start, normal_start;
  // Quiet moves scored in the life of this object. Deliberate: only the
  // first four ever get their history score; every later quiet move scores
  // 0 and keeps its generation order. Never reset.
  i32 quiet_scored = 0;
};

int see(const board& b, int from, int to);
bool is_pseudo_legal(const board& b, Move m);

// Stable descending insertion sort of the whole list.
void sort_by_score(MoveList& l);
// Brings the highest score among places i..count-1 to place i (the first
// such maximum wins).
void select_best(MoveList& l, int i);
void score_captures(const board& b, MoveList& l);
// The evasion score of a move make would refuse: below every other.
constexpr int ILLEGAL_EVASION = -50000;
// Scores every move as make would take it: illegal -50000, legal capture or
// promotion 50000, legal pawn move 25000, any other legal move 0. Returns
// the legal count.
int score_evasions(const board& b, MoveList& l);
// Bubble sort of moves by their scores, descending; equal scores keep their
// order. The root lists are sorted so.
void bubble_sort(Move* moves, i32* scores, int count);

}  // namespace orvo

#include "engine/chess.h"

#include <cstdlib>
#include <cstring>
#include <ctime>

#include "eval/eval.h"
#include "position/tables.h"

namespace orvo {

chess::chess() {
  book_records = 0;
  book_failures = 0;
  // Only the opening book's choice among moves uses this generator.
  std::srand(unsigned(std::time(nullptr)));
  build_bit_tables();
  build_movegen_tables();  // the movegen member has built them already; once only
  std::memset(game_history, 0, sizeof game_history);
  std::memset(killers, 0, sizeof killers);
  std::memset(history, 0, sizeof history);
  std::memset(phase_table, 0, sizeof phase_table);
  evasion_start = normal_start = 0;
  root_depth = 0;
  std::memset(pv, 0, sizeof pv);
  build_direction_tables();
  uci_mode = xboard_mode = 0;
  searching = force_mode = ponder_search = pondering = ponder_hit = ponder_interrupted = 0;
  computer_side = -1;
  ponder_on = 0;
  post_on = 1;
  show_board = game_over = quit_requested = book_on = 0;
  ponder_move_text[0] = 0;
  move_number = -1;
  pending_move[0] = pending_time[0] = 0;
  analyzing = has_deferred = ponder_cancelled = running_suite = 0;
  deferred[0] = 0;
  build_eval_tables();
}

chess::~chess() = default;

}  // namespace orvo

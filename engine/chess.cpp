#include "engine/chess.h"

#include <cstdlib>
#include <ctime>

#include "eval/eval.h"
#include "position/tables.h"

namespace orvo {

chess::chess() {
  // Only the opening book's choice among moves uses this generator.
  std::srand(unsigned(std::time(nullptr)));
  init_tables();
  build_eval_tables();
}

chess::~chess() = default;

}  // namespace orvo

#include "position/makemove.h"

#include "position/make_body.h"

namespace orvo {

using namespace make_detail;

bool make(board& b, Move m, undo& u) {
  return b.side == WHITE ? make_t<WHITE>(b, m, u) : make_t<BLACK>(b, m, u);
}

bool make_accepts(const board& b, Move m) {
  return b.side == WHITE ? make_accepts_t<WHITE>(b, m) : make_accepts_t<BLACK>(b, m);
}

u64 evasion_targets(const board& b) {
  return b.side == WHITE ? evasion_targets_t<WHITE>(b) : evasion_targets_t<BLACK>(b);
}

void unmake(board& b, const undo& u) {
  if (b.xside == WHITE)
    unmake_t<WHITE>(b, u);
  else
    unmake_t<BLACK>(b, u);
}

}  // namespace orvo

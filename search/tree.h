// Shared by the searches of the tree and of the root (search.cpp and
// think.cpp): node types, extensions and the principal-variation copy.
#pragma once
#include "search/search.h"

namespace orvo::tree {

// Node types: a PV node (open window), an expected cut node and an
// expected all node.
constexpr int PV_NODE = 0, CUT_NODE = 1, ALL_NODE = -1;

// Extensions: half a ply for a single reply in check or a recapture that
// wins material, a ply for a check, three quarters for the (inert) pawn
// test; never more than a ply at a node.
constexpr int SINGLE_REPLY_EXTENSION = PLY / 2, CHECK_EXTENSION = PLY;
constexpr int RECAPTURE_EXTENSION = PLY / 2, PAWN_EXTENSION = 3 * PLY / 4;
constexpr int MAX_EXTENSION = PLY;

// The pawn test of the extensions: a pawn of the mover, read on its
// from-square after make has emptied it (so it never fires: deliberate,
// kept in this form), going to the second row from the mover's far side.
inline bool pawn_extension_test(const board& after, int from, int to, int mover) {
  return after.piece[from] == PAWN && row_of(to) == (mover == BLACK ? 1 : 6);
}

// Copies the child's principal variation behind the move.
inline void build_pv(Move* pv, Move m, const Move* child) {
  pv[0] = m;
  int i = 0;
  for (; i < MAX_PLY && child[i]; ++i) pv[i + 1] = child[i];
  pv[i + 1] = 0;
}

}  // namespace orvo::tree

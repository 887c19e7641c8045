// A freshly initialised engine for search tests.
#pragma once
#include <gtest/gtest.h>

#include <memory>

#include "engine/chess.h"
#include "eval/eval.h"
#include "position/fen.h"
#include "search/hash.h"
#include "search/ordering.h"
#include "search/search.h"

namespace orvo::test {

class SearchTest : public ::testing::Test {
 protected:
  void SetUp() override {
    c = std::make_unique<chess>();
    c->uci_mode = 1;  // limits are cleared by resetSearch
    tt_resize(16);
    eval_allocate_caches();
  }
  void TearDown() override { c->uci_mode = 0; }

  void setup(const char* fen) {
    set_position(c->pos, fen);
    resetSearch(*c);
    clearKillers(*c);  // as think does: the picker's phase table
  }
  Move think_depth(const char* fen, int depth) {
    setup(fen);
    limits.fixedDepth = true;
    limits.depthLimit = depth;
    return think(*c);
  }
  std::unique_ptr<chess> c;
};

}  // namespace orvo::test

// A fresh search object, with its own table, for search tests.
#pragma once
#include <gtest/gtest.h>

#include <memory>

#include "eval/eval.h"
#include "position/fen.h"
#include "position/game.h"
#include "position/tables.h"
#include "search/hash.h"
#include "search/ordering.h"
#include "search/search.h"

namespace orvo::test {

class SearchTest : public ::testing::Test {
 protected:
  void SetUp() override {
    init_tables();
    build_eval_tables();
    tt = std::make_unique<hash>();
    tt->resize(16);
    s = std::make_unique<Search>(*tt);
    c = std::make_unique<Game>();
  }

  void setup(const char* fen) {
    set_position(c->pos, fen);
    s->reset(true);  // limits cleared too
    s->ordering.clear_killers();  // as think does: the picker's phase table
  }
  Move think_depth(const char* fen, int depth) {
    setup(fen);
    s->limits.fixed_depth = true;
    s->limits.depth_limit = depth;
    return s->think(c->pos);
  }
  std::unique_ptr<hash> tt;
  std::unique_ptr<Search> s;
  std::unique_ptr<Game> c;  // the game position is c->pos
};

}  // namespace orvo::test

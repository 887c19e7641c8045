#include <gtest/gtest.h>

#include "position/tables.h"

using namespace orvo;

class Tables : public ::testing::Test {
 protected:
  void SetUp() override { init_tables(); }
};

TEST_F(Tables, NextSquareDoesNotWrapAcrossEdges) {
  EXPECT_EQ(next_sq[EAST][H1], -1);
  EXPECT_EQ(next_sq[WEST][A8], -1);
  EXPECT_EQ(next_sq[SOUTH][A1], -1);
  EXPECT_EQ(next_sq[NORTH][A1], A2);
}

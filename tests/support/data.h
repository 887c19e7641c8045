// Where the shared test data lives; tests skip when it is absent.
#pragma once
#include <string>

namespace orvo::test {

// Full path of a file under the shared data folder, or "" when missing.
std::string data_file(const std::string& relative);

}  // namespace orvo::test

// Skips the current test with a message when the data file is absent.
#define ORVO_REQUIRE_DATA(var, relative)                                          \
  const std::string var = ::orvo::test::data_file(relative);                     \
  if (var.empty())                                                                \
    GTEST_SKIP() << "test data " << (relative) << " not found under "            \
                 << ORVO_SHARED_DATA << " (the shared data folder beside the "   \
                 << "repository); skipping"

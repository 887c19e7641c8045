#include <cstring>
#include <vector>

#include "fuzz/support/target.h"

namespace orvo::fuzz {

namespace {

std::vector<Target>& targets() {
  static std::vector<Target> all;
  return all;
}

}  // namespace

const Target* find_target(const char* name) {
  for (const Target& t : targets())
    if (std::strcmp(t.name, name) == 0) return &t;
  return nullptr;
}

bool register_target(const Target& t) {
  targets().push_back(t);
  return true;
}

}  // namespace orvo::fuzz

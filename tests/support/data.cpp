#include "tests/support/data.h"

#include <fstream>

namespace orvo::test {

std::string data_file(const std::string& relative) {
  std::string path = std::string(ORVO_SHARED_DATA) + "/" + relative;
  std::ifstream in(path);
  return in ? path : std::string();
}

}  // namespace orvo::test

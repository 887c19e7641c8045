// Every saved input of every fuzz target, run through the target once: the
// crashes the fuzzers found (each fixed since) and inputs kept because they
// reach a limit. The targets abort on a failed check, and the sanitizer
// build catches what the release build would not.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "fuzz/support/target.h"

namespace fs = std::filesystem;

namespace {

std::vector<std::string> target_names() {
  std::istringstream in(ORVO_FUZZ_TARGET_NAMES);
  std::vector<std::string> names;
  std::string name;
  while (std::getline(in, name, ',')) names.push_back(name);
  return names;
}

std::vector<fs::path> inputs_of(const std::string& target) {
  std::vector<fs::path> files;
  const fs::path dir = fs::path(ORVO_FUZZ_INPUTS) / target;
  if (fs::is_directory(dir))
    for (const auto& e : fs::directory_iterator(dir))
      if (e.is_regular_file()) files.push_back(e.path());
  std::sort(files.begin(), files.end());
  return files;
}

std::string read_bytes(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

class FuzzReplay : public ::testing::TestWithParam<std::string> {};

TEST_P(FuzzReplay, SavedInputsRunClean) {
  const orvo::fuzz::Target* t = orvo::fuzz::find_target(GetParam().c_str());
  ASSERT_NE(t, nullptr) << "no target " << GetParam();
  if (t->setup) t->setup();
  const auto files = inputs_of(GetParam());
  for (const fs::path& f : files) {
    SCOPED_TRACE(f.string());
    const std::string bytes = read_bytes(f);
    EXPECT_EQ(t->body(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()), 0);
  }
  RecordProperty("inputs", int(files.size()));
}

INSTANTIATE_TEST_SUITE_P(Targets, FuzzReplay, ::testing::ValuesIn(target_names()),
                         [](const auto& info) { return info.param; });

}  // namespace

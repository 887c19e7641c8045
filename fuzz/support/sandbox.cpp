#include "fuzz/support/sandbox.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace orvo::fuzz {

namespace {

std::string make_scratch_dir() {
  const char* tmp = std::getenv("TMPDIR");
  std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/orvo-fuzz.XXXXXX";
  if (!mkdtemp(pattern.data()) || chdir(pattern.c_str()) != 0) {
    std::perror("orvo fuzz: scratch directory");
    std::abort();
  }
  static std::string removed_at_exit;
  removed_at_exit = pattern;
  std::atexit([] {
    std::error_code ignored;
    std::filesystem::remove_all(removed_at_exit, ignored);
  });
  return pattern;
}

}  // namespace

const std::string& scratch_dir() {
  static const std::string dir = make_scratch_dir();
  return dir;
}

std::string write_scratch_file(const char* name, const uint8_t* data, size_t size) {
  const std::string path = scratch_dir() + "/" + name;
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (!f || (size && std::fwrite(data, 1, size, f) != size) || std::fclose(f) != 0) {
    std::perror(path.c_str());
    std::abort();
  }
  return path;
}

std::string as_text(const uint8_t* data, size_t size) {
  std::string s(reinterpret_cast<const char*>(data), size);
  s.resize(std::strlen(s.c_str()));
  return s;
}

}  // namespace orvo::fuzz

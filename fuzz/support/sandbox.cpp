#include "fuzz/support/sandbox.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "eval/eval.h"
#include "position/makemove.h"
#include "search/hash.h"
#include "search/internal.h"
#include "search/search.h"

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

void reset_engine_globals() {
  limits = SearchLimits{};
  state = SearchState{};
  search_clock = SearchClock{};
  stats = SearchStats{};
  nodes = 0;
  seldepth = 0;
  poll_countdown = poll_interval = 10000;
  // A run that ended inside a search left the search's abort point behind.
  abort_point = nullptr;
  root_castle = 0;
  std::memset(KeyHistory, 0, sizeof KeyHistory);
  tt_clear();
  clear_material_cache();
}

QuietOutput::QuietOutput() {
  std::fflush(stdout);
  saved_ = dup(1);
  const int null = open("/dev/null", O_WRONLY);
  dup2(null, 1);
  close(null);
}

QuietOutput::~QuietOutput() {
  std::fflush(stdout);
  dup2(saved_, 1);
  close(saved_);
}

std::string as_text(const uint8_t* data, size_t size) {
  std::string s(reinterpret_cast<const char*>(data), size);
  s.resize(std::strlen(s.c_str()));
  return s;
}

}  // namespace orvo::fuzz

// The settings file: any bytes as "Orvo214.ini" in the current directory.
// The table size stays within its accepted range and both paths stay one
// terminated word inside their buffers.
#include <cstring>

#include "fuzz/support/check.h"
#include "fuzz/support/sandbox.h"
#include "fuzz/support/target.h"
#include "tools/ini.h"

using namespace orvo;
using namespace orvo::fuzz;

namespace {

void check_path(const char* path) {
  const void* end = std::memchr(path, 0, PATH_SIZE);
  ORVO_FUZZ_CHECK(end != nullptr);
  if (std::strcmp(path, "                                      ") == 0) return;
  for (const char* p = path; *p; ++p) ORVO_FUZZ_CHECK(*p != ' ' && *p != '\t' && *p != '\n' && *p != '\r');
}

}  // namespace

ORVO_FUZZ_TARGET(ini) {
  scratch_dir();  // the current directory
  write_scratch_file(INI_FILE_NAME, data, size);
  Settings settings;  // as a fresh process has them
  bool found;
  {
    QuietOutput quiet;
    found = read_ini(settings);
  }
  ORVO_FUZZ_CHECK(found);
  ORVO_FUZZ_CHECK(settings.hash_size == HASH_SIZE_DEFAULT || (settings.hash_size >= 8 && settings.hash_size <= 512));
  check_path(settings.egbb_path);
  check_path(settings.book_path);
  return 0;
}

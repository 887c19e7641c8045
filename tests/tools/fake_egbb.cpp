// A stand-in for the bitbase library: records how it was loaded and probed
// and answers with a score the test chooses.
#include <cstring>

extern "C" {

namespace {
char load_path[256];
int load_cache = -1, load_options = -1, load_calls = 0;
int probe_args[9];
int probe_calls = 0;
int probe_result = 0;
}  // namespace

__attribute__((visibility("default"))) int load_egbb_5men(char* path, int cache_size,
                                                          int load_opts) {
  std::strncpy(load_path, path, sizeof load_path - 1);
  load_cache = cache_size;
  load_options = load_opts;
  ++load_calls;
  return 1;
}

__attribute__((visibility("default"))) int probe_egbb_5men(int side, int white_king,
                                                           int black_king, int piece1,
                                                           int square1, int piece2, int square2,
                                                           int piece3, int square3) {
  const int args[9] = {side, white_king, black_king, piece1, square1,
                       piece2, square2, piece3, square3};
  std::memcpy(probe_args, args, sizeof args);
  ++probe_calls;
  return probe_result;
}

// Read back by the test through the handle of the loaded library.
__attribute__((visibility("default"))) const char* fake_load_path() { return load_path; }
__attribute__((visibility("default"))) int fake_load_cache() { return load_cache; }
__attribute__((visibility("default"))) int fake_load_options() { return load_options; }
__attribute__((visibility("default"))) int fake_load_calls() { return load_calls; }
__attribute__((visibility("default"))) const int* fake_probe_args() { return probe_args; }
__attribute__((visibility("default"))) int fake_probe_calls() { return probe_calls; }
__attribute__((visibility("default"))) void fake_set_probe_result(int r) { probe_result = r; }
}

// games/orvo in the Debian package: runs the build of the engine that this
// processor can run.
//
// The package holds two builds of the engine in lib/orvo/: orvo-x86-64,
// for any amd64 processor, and orvo-x86-64-v2, for those with popcnt and
// SSE4.2 (x86-64-v2: also SSE3, SSSE3, SSE4.1, CMPXCHG16B and LAHF/SAHF),
// which is faster. This program, itself built for baseline x86-64, asks
// the processor which it has and replaces itself with that build, with
// the same arguments; standard input, output and error pass through
// untouched. ORVO_CPU=x86-64 or ORVO_CPU=x86-64-v2 in the environment
// chooses a build by hand (to compare them, say).
#include <cerrno>
#include <climits>
#include <cpuid.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

#ifndef ORVO_ENGINE_DIR_FROM_DISPATCHER
#define ORVO_ENGINE_DIR_FROM_DISPATCHER "../lib/orvo"
#endif
#ifndef ORVO_ENGINE_DIR
#define ORVO_ENGINE_DIR "/usr/lib/orvo"
#endif

namespace {

// The features of x86-64-v2 beyond baseline x86-64, from CPUID.
bool has_x86_64_v2() {
  unsigned eax, ebx, ecx, edx;
  if (!__get_cpuid(1, &eax, &ebx, &ecx, &edx)) return false;
  const unsigned leaf1 = bit_SSE3 | bit_SSSE3 | bit_CMPXCHG16B | bit_SSE4_1 | bit_SSE4_2 | bit_POPCNT;
  if ((ecx & leaf1) != leaf1) return false;
  if (!__get_cpuid(0x80000001, &eax, &ebx, &ecx, &edx)) return false;
  return (ecx & bit_LAHF_LM) != 0;
}

// The folder of the engine's builds: beside this program's own folder
// (games/ and lib/orvo/ under one prefix), or the installed one when
// /proc does not say where this program is.
std::string engine_dir() {
  char self[PATH_MAX];
  const ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  if (n <= 0) return ORVO_ENGINE_DIR;
  self[n] = '\0';
  char* slash = std::strrchr(self, '/');
  if (slash == nullptr) return ORVO_ENGINE_DIR;
  *slash = '\0';
  return std::string(self) + "/" + ORVO_ENGINE_DIR_FROM_DISPATCHER;
}

}  // namespace

int main(int argc, char** argv) {
  (void)argc;
  std::string level = has_x86_64_v2() ? "x86-64-v2" : "x86-64";
  if (const char* forced = std::getenv("ORVO_CPU")) {
    if (std::strcmp(forced, "x86-64") != 0 && std::strcmp(forced, "x86-64-v2") != 0) {
      std::fprintf(stderr, "orvo: ORVO_CPU must be x86-64 or x86-64-v2, not \"%s\"\n", forced);
      return 1;
    }
    level = forced;
  }
  const std::string engine = engine_dir() + "/orvo-" + level;
  execv(engine.c_str(), argv);
  std::fprintf(stderr, "orvo: cannot run the engine %s: %s\n", engine.c_str(), std::strerror(errno));
  return 1;
}

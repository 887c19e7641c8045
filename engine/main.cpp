// Orvo: a chess engine for xboard and UCI front ends.
#include <cstdio>
#include <cstring>
#include <memory>

#include "engine/bench_command.h"
#include "engine/chess.h"
#include "engine/main_loop.h"
#include "io/output.h"

int main(int argc, char** argv) {
  // Unbuffered from the first byte, so that anything written through stdio
  // reaches the front end at once, also before a protocol is chosen.
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  // A deliberate addition: "orvo bench [DEPTH]", the benchmark that engine
  // testing frameworks run. Orvo reads no other argument.
  if (argc >= 2 && std::strcmp(argv[1], "bench") == 0) return orvo::bench_command(argc - 2, argv + 2);
  orvo::out("Orvo %s\n", orvo::ORVO_VERSION);
  // The build's date is SOURCE_DATE_EPOCH's, set by the package build, so
  // that two builds of one commit are the same; other builds name none.
  // The instruction set is the -march the engine was compiled for.
#ifdef ORVO_BUILD_DATE
  orvo::out("built %s for %s with g++ %s\n", ORVO_BUILD_DATE, ORVO_BUILD_ARCH, __VERSION__);
#else
  orvo::out("built for %s with g++ %s\n", ORVO_BUILD_ARCH, __VERSION__);
#endif
  auto engine = std::make_unique<orvo::chess>();
  return orvo::main_loop(*engine);
}

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
  orvo::out("built %s %s with g++ %s\n", __DATE__, __TIME__, __VERSION__);
  auto engine = std::make_unique<orvo::chess>();
  return orvo::main_loop(*engine);
}

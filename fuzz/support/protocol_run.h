// Runs one protocol loop on the fuzzer's bytes through the in-memory front
// end (front_end.h), with a fresh engine object. The first byte sets how
// often a search looks at its input (every 1000, 100, 10 or 1 nodes
// instead of Orvo's 10000), so that commands reach searches at every stage
// and every search stays short; the rest is what the front end sends.
#pragma once
#include <cstddef>
#include <cstdint>

namespace orvo::fuzz {

enum class Protocol { uci, xboard };

void run_protocol(Protocol protocol, const uint8_t* data, size_t size);

// The scratch directory with a settings file asking for the smallest
// table, made before the first run.
void set_up_protocols();

}  // namespace orvo::fuzz

// Runs one protocol on the fuzzer's bytes through the in-memory front end
// (front_end.h), with a fresh engine object and fresh search state. The
// first byte sets how often a search looks at its input (every 1000, 100,
// 10 or 1 nodes instead of Orvo's 10000), so that commands reach searches
// at every stage and every search stays short; the rest is what the front
// end sends.
//
// Link with wraps.cpp and its wraps, besides front_end.h's.
#pragma once
#include <cstddef>
#include <cstdint>

namespace orvo {
class chess;
}

namespace orvo::fuzz {

// "uci" or "xboard": the first line main_loop reads.
void run_protocol(const char* first_line, const uint8_t* data, size_t size);

// The once-only set-up of both protocols (settings file with the smallest
// table, table, caches, bitbase attempt), done before the first run so that
// every run sees the same engine.
void set_up_protocols();

}  // namespace orvo::fuzz

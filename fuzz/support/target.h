// One fuzz target per file:
//
//   ORVO_FUZZ_TARGET(name) { ... return 0; }
//
// defines the target's body, run on every input, and ORVO_FUZZ_SETUP(name)
// { ... } (optional, before it) what runs once before the first input.
// Built into a fuzzer, the file provides libFuzzer's entry points; built
// with ORVO_FUZZ_REPLAY (the regression tests), it registers the target
// under its name, so that the saved inputs can be replayed by name.
#pragma once
#include <cstddef>
#include <cstdint>

namespace orvo::fuzz {

using TargetBody = int (*)(const uint8_t*, size_t);
using TargetSetup = void (*)();

struct Target {
  const char* name;
  TargetSetup setup;  // may be null
  TargetBody body;
};

// Registered targets (replay builds); null for an unknown name.
const Target* find_target(const char* name);
bool register_target(const Target& t);

}  // namespace orvo::fuzz

#define ORVO_FUZZ_SETUP(name) static void name##_setup()

#ifdef ORVO_FUZZ_REPLAY
#define ORVO_FUZZ_ENTRY(name, setup)                                           \
  static const bool name##_registered =                                        \
      ::orvo::fuzz::register_target({#name, setup, name##_body});
#else
#define ORVO_FUZZ_ENTRY(name, setup)                                           \
  extern "C" int LLVMFuzzerInitialize(int*, char***) {                        \
    ::orvo::fuzz::TargetSetup s = setup;                                       \
    if (s) s();                                                                \
    return 0;                                                                  \
  }                                                                            \
  extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {   \
    return name##_body(data, size);                                            \
  }
#endif

// ORVO_FUZZ_TARGET(name) for a target without set-up,
// ORVO_FUZZ_TARGET_WITH_SETUP(name) after ORVO_FUZZ_SETUP(name) { ... }.
#define ORVO_FUZZ_TARGET_IMPL(name, setup)                                     \
  static int name##_body(const uint8_t* data, size_t size);                   \
  ORVO_FUZZ_ENTRY(name, setup)                                                 \
  static int name##_body(const uint8_t* data, size_t size)
#define ORVO_FUZZ_TARGET(name) ORVO_FUZZ_TARGET_IMPL(name, nullptr)
#define ORVO_FUZZ_TARGET_WITH_SETUP(name) ORVO_FUZZ_TARGET_IMPL(name, name##_setup)

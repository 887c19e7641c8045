# What the fuzzers (fuzz/) and the replay of their saved inputs
# (tests/fuzz/) share: the targets and the support sources. The protocol
# targets drive the real loops through the engine's I/O seam (io/channel.h).
set(ORVO_FUZZ_DIR ${CMAKE_CURRENT_LIST_DIR})
set(ORVO_FUZZ_TARGETS fen movetext ini epd pgn book uci xboard)
set(ORVO_FUZZ_SUPPORT_SOURCES
  ${ORVO_FUZZ_DIR}/support/front_end.cpp
  ${ORVO_FUZZ_DIR}/support/sandbox.cpp
  ${ORVO_FUZZ_DIR}/support/check.cpp
  ${ORVO_FUZZ_DIR}/support/protocol_run.cpp)

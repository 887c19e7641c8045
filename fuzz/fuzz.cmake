# What the fuzzers (fuzz/) and the replay of their saved inputs
# (tests/fuzz/) share: the targets, the support sources and the link-time
# wraps.
set(ORVO_FUZZ_DIR ${CMAKE_CURRENT_LIST_DIR})
set(ORVO_FUZZ_TARGETS fen movetext ini epd pgn book uci xboard)
set(ORVO_FUZZ_SUPPORT_SOURCES
  ${ORVO_FUZZ_DIR}/support/front_end.cpp
  ${ORVO_FUZZ_DIR}/support/sandbox.cpp
  ${ORVO_FUZZ_DIR}/support/check.cpp
  ${ORVO_FUZZ_DIR}/support/protocol_run.cpp)
# Compiled into each wrapped target itself (see support/wraps.h).
set(ORVO_FUZZ_WRAP_SOURCES ${ORVO_FUZZ_DIR}/support/wraps.cpp)
# The in-memory front end (standard input and exit) of the protocol targets
# and of the EPD runner's, and the protocol harness (poll interval, shallow
# perft), work by wrapping these symbols at link time.
set(ORVO_FUZZ_WRAPPED_TARGETS epd uci xboard)
set(ORVO_FUZZ_WRAPS
  -Wl,--wrap=read -Wl,--wrap=poll -Wl,--wrap=ioctl -Wl,--wrap=exit
  -Wl,--wrap=_ZN4orvo11resetSearchERNS_5chessE
  -Wl,--wrap=_ZN4orvo13perft_commandERNS_5boardEPKc)

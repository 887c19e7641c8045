#include "fuzz/support/wraps.h"

#include <cstdlib>

#include "position/board.h"
#include "search/internal.h"

namespace orvo {
class chess;
}

extern "C" {
void __real__ZN4orvo11resetSearchERNS_5chessE(orvo::chess& c);
void __real__ZN4orvo13perft_commandERNS_5boardEPKc(orvo::board& b, const char* arg);
}

namespace orvo::fuzz {

int search_poll_interval = 1000;

namespace {
constexpr const char* DEEPEST_PERFT = "2";
}

}  // namespace orvo::fuzz

extern "C" {

void __wrap__ZN4orvo11resetSearchERNS_5chessE(orvo::chess& c) {
  __real__ZN4orvo11resetSearchERNS_5chessE(c);
  orvo::poll_countdown = orvo::poll_interval = orvo::fuzz::search_poll_interval;
}

void __wrap__ZN4orvo13perft_commandERNS_5boardEPKc(orvo::board& b, const char* arg) {
  using orvo::fuzz::DEEPEST_PERFT;
  __real__ZN4orvo13perft_commandERNS_5boardEPKc(b, std::atoi(arg) > std::atoi(DEEPEST_PERFT) ? DEEPEST_PERFT : arg);
}

}  // extern "C"

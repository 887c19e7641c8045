// The one engine object: it builds the start-up tables and owns, from
// start-up to exit, the parts of the engine that the protocols work on.
#pragma once
#include "protocol/core.h"

namespace orvo {

class chess {
 public:
  chess();
  virtual ~chess();
  chess(const chess&) = delete;
  chess& operator=(const chess&) = delete;

  Core core;
};

}  // namespace orvo

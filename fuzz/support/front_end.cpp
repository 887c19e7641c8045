#include "fuzz/support/front_end.h"

#include <cstring>

namespace orvo::fuzz {

long FuzzChannel::read_raw(char* buf, std::size_t n) {
  const size_t k = n < left_ ? n : left_;
  if (k == 0) return 0;  // an empty input has no data pointer at all
  std::memcpy(buf, data_, k);
  data_ += k;
  left_ -= k;
  return long(k);
}

}  // namespace orvo::fuzz

#include "book/spinner.h"

#include "io/output.h"

namespace orvo {

namespace {

// A bar, slash, dash or backslash, each followed by a blank.
constexpr char spinner_chars[] = "| / - \\ | / - \\ ";
constexpr int SPINNER_LENGTH = sizeof spinner_chars - 1;
static_assert(SPINNER_LENGTH == 16);

}  // namespace

void Spinner::tick(i64 count) {
  if (used_ + 2 > BUFFER_SIZE) flush();
  buffer_[used_++] = spinner_chars[count % SPINNER_LENGTH];
  buffer_[used_++] = '\r';
}

void Spinner::flush() {
  if (used_ > 0) write_stdout(buffer_, size_t(used_));
  used_ = 0;
}

}  // namespace orvo

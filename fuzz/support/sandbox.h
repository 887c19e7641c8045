// What every target needs around a run: a private working directory, and
// the engine's output sent nowhere while it talks.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/support/front_end.h"

namespace orvo::fuzz {

// A fresh directory of this process under $TMPDIR (or /tmp), made the
// current directory on the first call, where Orvo looks for its ini file.
// Removed, with what the targets wrote into it, when the process ends.
const std::string& scratch_dir();
// Writes the bytes into a file of the scratch directory; its full path.
std::string write_scratch_file(const char* name, const uint8_t* data, size_t size);

// Nothing to read and nothing written, for the life of the object.
class QuietOutput {
 public:
  QuietOutput() : front_end_(nullptr, 0) {}

 private:
  FrontEnd front_end_;
};

// The input as a NUL-terminated string (bytes after a NUL are dropped).
std::string as_text(const uint8_t* data, size_t size);

}  // namespace orvo::fuzz

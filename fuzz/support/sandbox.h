// What every target needs around a run: a private working directory, the
// engine's process-wide search state put back as a fresh process has it,
// and standard output sent nowhere while Orvo talks.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace orvo::fuzz {

// A fresh directory of this process under $TMPDIR (or /tmp), made the
// current directory on the first call, where Orvo looks for its ini file.
// Removed, with what the targets wrote into it, when the process ends.
const std::string& scratch_dir();
// Writes the bytes into a file of the scratch directory; its full path.
std::string write_scratch_file(const char* name, const uint8_t* data, size_t size);

// Limits, results, counters, the abort point, the key history and the
// tables back to their state at start-up (the tables emptied), so that a run
// does not depend on the runs before it.
void reset_engine_globals();

// Sends descriptor 1 to /dev/null until destroyed (stdio's buffer is
// flushed first), so that the engine's output costs nothing.
class QuietOutput {
 public:
  QuietOutput();
  ~QuietOutput();
  QuietOutput(const QuietOutput&) = delete;
  QuietOutput& operator=(const QuietOutput&) = delete;

 private:
  int saved_;
};

// The input as a NUL-terminated string (bytes after a NUL are dropped).
std::string as_text(const uint8_t* data, size_t size);

}  // namespace orvo::fuzz

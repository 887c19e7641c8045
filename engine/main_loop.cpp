#include "engine/main_loop.h"

#include <cstring>
#include <memory>

#include "book/create.h"
#include "engine/chess.h"
#include "io/input.h"
#include "io/output.h"
#include "protocol/uci.h"
#include "protocol/xboard.h"
#include "tools/ini.h"

namespace orvo {

namespace {

// The first line that "uci", "xb" or "xboard" is: the protocol owns the
// rest of the program.
int run_uci(chess& c) {
  auto uci = std::make_unique<Uci>(c.core);
  return uci->run().status;
}

int run_xboard(chess& c) {
  auto xb = std::make_unique<Xboard>(c.core);
  xb->init();
  out("\n");
  const LoopEnd end = xb->loop();
  // The loop ends at the end of input or an empty line; "quit" has said
  // goodbye itself.
  if (!end.quit) out("Orvo is leaving main_loop.\n");
  return end.status;
}

}  // namespace

bool do_command(chess& c, const char* line, int& status) {
  status = 0;
  if (std::strcmp(line, "uci") == 0) {
    status = run_uci(c);
    return true;
  }
  if (std::strcmp(line, "xb") == 0 || std::strcmp(line, "xboard") == 0) {
    status = run_xboard(c);
    return true;
  }
  if (std::strncmp(line, "create", 6) == 0) {
    // The book path comes from the settings file.
    read_ini(c.core.settings);
    create_book(c.core.book, c.core.settings.book_path);
    return true;
  }
  if (std::strcmp(line, "quit") == 0) return true;
  out("unknown command\n");
  return false;
}

int main_loop(chess& c) {
  char line[256];
  int status = 0;
  while (read_line(line, sizeof line)) {
    // The last character goes: the newline, or the last character of a
    // line cut at 255 characters or ended without a newline.
    const size_t len = std::strlen(line);
    if (len > 0) line[len - 1] = 0;
    if (do_command(c, line, status)) return status;
  }
  // The end of input (or a read error): silently, with status 0.
  return 0;
}

}  // namespace orvo

#include "fuzz/support/front_end.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <csetjmp>
#include <cstdarg>
#include <cstring>

#include "io/input.h"

extern "C" {
ssize_t __real_read(int fd, void* buf, size_t n);
int __real_poll(struct pollfd* fds, nfds_t count, int timeout);
int __real_ioctl(int fd, unsigned long request, ...);
[[noreturn]] void __real_exit(int status);
}

namespace orvo::fuzz {

namespace {

enum class Mode { idle, running, draining };

Mode mode = Mode::idle;
const uint8_t* input = nullptr;
size_t input_left = 0;
std::jmp_buf run_end;
std::jmp_buf drain_end;
bool exited = false;
int exit_status = 0;

}  // namespace

void run_front_end(const uint8_t* data, size_t size, void (*body)(void*), void* arg) {
  drain_input();
  input = data;
  input_left = size;
  exited = false;
  exit_status = 0;
  mode = Mode::running;
  if (setjmp(run_end) == 0) body(arg);
  mode = Mode::idle;
  input = nullptr;
  input_left = 0;
}

void drain_input() {
  // Orvo's reader refills its buffer only once the buffer is empty: the
  // refill's read lands here and jumps back, leaving the buffer empty and
  // the reader not at the end of its input.
  mode = Mode::draining;
  if (setjmp(drain_end) == 0) {
    char line[256];
    for (;;) read_line(line, sizeof line);
  }
  mode = Mode::idle;
}

bool last_run_exited() { return exited; }
int last_exit_status() { return exit_status; }

}  // namespace orvo::fuzz

using namespace orvo::fuzz;

extern "C" {

ssize_t __wrap_read(int fd, void* buf, size_t n) {
  if (fd != 0 || mode == Mode::idle) return __real_read(fd, buf, n);
  if (mode == Mode::draining) std::longjmp(drain_end, 1);
  // Past the last byte the front end has nothing more to say: the run is
  // over (rather than the input closed, which would make every later run
  // start at its end).
  if (input_left == 0) std::longjmp(run_end, 1);
  const size_t k = n < input_left ? n : input_left;
  std::memcpy(buf, input, k);
  input += k;
  input_left -= k;
  return ssize_t(k);
}

int __wrap_poll(struct pollfd* fds, nfds_t count, int timeout) {
  if (mode != Mode::running || count != 1 || fds[0].fd != 0) return __real_poll(fds, count, timeout);
  // Always something to read: the next bytes, or the end of the run.
  fds[0].revents = POLLIN;
  return 1;
}

int __wrap_ioctl(int fd, unsigned long request, ...) {
  va_list args;
  va_start(args, request);
  void* arg = va_arg(args, void*);
  va_end(args);
  if (mode == Mode::running && fd == 0 && request == FIONREAD) {
    *static_cast<int*>(arg) = input_left > 0 ? int(input_left < 65536 ? input_left : 65536) : 1;
    return 0;
  }
  return __real_ioctl(fd, request, arg);
}

void __wrap_exit(int status) {
  if (mode != Mode::running) __real_exit(status);
  exited = true;
  exit_status = status;
  std::longjmp(run_end, 1);
}

}  // extern "C"

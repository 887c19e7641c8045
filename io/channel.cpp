#include "io/channel.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace orvo {

namespace {

DescriptorChannel descriptors;
Channel* current = &descriptors;

// Writes all n bytes to a descriptor, retrying where the system takes only
// part of them. A closed pipe ends the writing: nobody is listening.
void write_all(int fd, const char* text, std::size_t n) {
  while (n > 0) {
    const ssize_t w = ::write(fd, text, n);
    if (w < 0) {
      if (errno == EINTR) continue;
      return;
    }
    text += w;
    n -= std::size_t(w);
  }
}

}  // namespace

Channel& channel() { return *current; }

Channel* use_channel(Channel* c) {
  Channel* before = current;
  current = c ? c : &descriptors;
  return before;
}

bool Channel::fill() {
  head_ = tail_ = 0;
  if (ended_ || failed_) return false;
  const long n = read_raw(buffer_, sizeof buffer_);
  if (n > 0) {
    tail_ = int(n);
    return true;
  }
  if (n == 0)
    ended_ = true;
  else
    failed_ = true;
  return false;
}

bool Channel::read_line(char* buf, int size) {
  if (size < 2) return false;
  int n = 0;
  while (n < size - 1) {
    if (head_ == tail_ && !fill()) break;
    const char c = buffer_[head_++];
    buf[n++] = c;
    if (c == '\n') break;
  }
  buf[n] = 0;
  return n > 0;
}

int Channel::available() {
  if (head_ < tail_) return tail_ - head_;
  if (ended_ || failed_) return 1;
  return ready_raw();
}

long DescriptorChannel::read_raw(char* buf, std::size_t n) {
  for (;;) {
    const ssize_t r = ::read(0, buf, n);
    if (r >= 0) return long(r);
    if (errno != EINTR) return -1;
  }
}

int DescriptorChannel::ready_raw() {
  pollfd p{0, POLLIN, 0};
  if (::poll(&p, 1, 0) <= 0) return 0;
  if (!(p.revents & (POLLIN | POLLHUP | POLLERR | POLLNVAL))) return 0;
  int bytes = 0;
  if (::ioctl(0, FIONREAD, &bytes) != 0 || bytes < 1) bytes = 1;
  return bytes;
}

void DescriptorChannel::write_out(const char* text, std::size_t n) { write_all(1, text, n); }
void DescriptorChannel::write_err(const char* text, std::size_t n) { write_all(2, text, n); }

bool DescriptorChannel::err_is_own_channel() const {
  struct stat o {}, e{};
  if (::fstat(1, &o) != 0 || ::fstat(2, &e) != 0) return true;
  const bool stream = S_ISFIFO(e.st_mode) || S_ISSOCK(e.st_mode);
  return !(stream && o.st_dev == e.st_dev && o.st_ino == e.st_ino);
}

long MemoryChannel::read_raw(char* buf, std::size_t n) {
  const std::size_t left = input_.size() - read_;
  const std::size_t k = n < left ? n : left;
  std::memcpy(buf, input_.data() + read_, k);
  read_ += k;
  return long(k);
}

}  // namespace orvo

#include "tests/support/process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <sys/socket.h>

namespace orvo::test {

namespace {

double now_s() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

// Forks orvo with three pipes; returns the pid. With merge, standard error
// is the pipe of standard output.
int spawn(const std::string& dir, int& in_fd, int& out_fd, int* err_fd, bool merge = false,
          const std::vector<std::string>& args = {}) {
  int in[2], out[2], err[2];
  // Close-on-exec: a second orvo started later must not inherit this one's
  // pipes, or closing this one's input would never reach it as an end.
  if (pipe2(in, O_CLOEXEC) || pipe2(out, O_CLOEXEC) || pipe2(err, O_CLOEXEC)) return -1;
  signal(SIGPIPE, SIG_IGN);
  int pid = fork();
  if (pid == 0) {
    dup2(in[0], 0);
    dup2(out[1], 1);
    dup2(merge ? out[1] : err[1], 2);
    for (int fd : {in[0], in[1], out[0], out[1], err[0], err[1]}) close(fd);
    if (!dir.empty() && chdir(dir.c_str()) != 0) _exit(126);
    std::vector<char*> argv{const_cast<char*>(ORVO_BINARY)};
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    execv(ORVO_BINARY, argv.data());
    _exit(127);
  }
  close(in[0]);
  close(out[1]);
  close(err[1]);
  in_fd = in[1];
  out_fd = out[0];
  if (err_fd)
    *err_fd = err[0];
  else
    close(err[0]);
  return pid;
}

int decode(int status) { return WIFEXITED(status) ? WEXITSTATUS(status) : -1; }

}  // namespace

RunResult run_orvo_with(const std::string& input, double timeout_s, const std::string& dir, bool merge,
                        const std::vector<std::string>& args = {});

RunResult run_orvo_merged(const std::string& input, double timeout_s, const std::string& dir) {
  return run_orvo_with(input, timeout_s, dir, true);
}

RunResult run_orvo(const std::string& input, double timeout_s, const std::string& dir) {
  return run_orvo_with(input, timeout_s, dir, false);
}

RunResult run_orvo_args(const std::vector<std::string>& args, const std::string& input, double timeout_s,
                        const std::string& dir) {
  return run_orvo_with(input, timeout_s, dir, false, args);
}

std::vector<std::string> run_orvo_writes(const std::string& input, double timeout_s,
                                         const std::string& dir) {
  std::vector<std::string> packets;
  int in[2], sv[2];
  if (pipe2(in, O_CLOEXEC) || socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, sv)) return packets;
  signal(SIGPIPE, SIG_IGN);
  const int pid = fork();
  if (pid == 0) {
    dup2(in[0], 0);
    dup2(sv[1], 1);
    const int null_fd = open("/dev/null", O_WRONLY);
    dup2(null_fd, 2);
    for (int fd : {in[0], in[1], sv[0], sv[1], null_fd}) close(fd);
    if (!dir.empty() && chdir(dir.c_str()) != 0) _exit(126);
    execl(ORVO_BINARY, ORVO_BINARY, static_cast<char*>(nullptr));
    _exit(127);
  }
  close(in[0]);
  close(sv[1]);
  size_t done = 0;
  while (done < input.size()) {
    const ssize_t w = write(in[1], input.data() + done, input.size() - done);
    if (w <= 0) break;
    done += size_t(w);
  }
  close(in[1]);
  const double deadline = now_s() + timeout_s;
  while (now_s() < deadline) {
    pollfd p{sv[0], POLLIN, 0};
    if (poll(&p, 1, 50) <= 0) continue;
    char buf[65536];
    const ssize_t got = recv(sv[0], buf, sizeof buf, 0);
    if (got <= 0) break;
    packets.emplace_back(buf, size_t(got));
  }
  close(sv[0]);
  kill(pid, SIGKILL);
  waitpid(pid, nullptr, 0);
  return packets;
}

RunResult run_orvo_with(const std::string& input, double timeout_s, const std::string& dir, bool merge,
                        const std::vector<std::string>& args) {
  RunResult r;
  int in_fd, out_fd, err_fd;
  int pid = spawn(dir, in_fd, out_fd, &err_fd, merge, args);
  if (pid < 0) return r;
  fcntl(in_fd, F_SETFL, O_NONBLOCK);
  size_t written = 0;
  const double deadline = now_s() + timeout_s;
  bool out_open = true, err_open = true;
  if (input.empty()) {
    close(in_fd);
    in_fd = -1;
  }
  while ((out_open || err_open) && now_s() < deadline) {
    pollfd fds[3];
    int n = 0;
    if (out_open) fds[n++] = {out_fd, POLLIN, 0};
    if (err_open) fds[n++] = {err_fd, POLLIN, 0};
    if (in_fd >= 0) fds[n++] = {in_fd, POLLOUT, 0};
    if (poll(fds, n, 50) < 0 && errno != EINTR) break;
    for (int i = 0; i < n; ++i) {
      if (!fds[i].revents) continue;
      if (fds[i].fd == in_fd) {
        ssize_t w = write(in_fd, input.data() + written, input.size() - written);
        if (w > 0) written += size_t(w);
        if (w < 0 && errno != EAGAIN) written = input.size();
        if (written >= input.size()) {
          close(in_fd);
          in_fd = -1;
        }
        continue;
      }
      char buf[65536];
      ssize_t got = read(fds[i].fd, buf, sizeof buf);
      if (got <= 0) {
        (fds[i].fd == out_fd ? out_open : err_open) = false;
      } else {
        (fds[i].fd == out_fd ? r.out : r.err).append(buf, size_t(got));
      }
    }
  }
  if (in_fd >= 0) close(in_fd);
  if (out_open || err_open) {
    r.timed_out = true;
    kill(pid, SIGKILL);
  }
  close(out_fd);
  close(err_fd);
  int status = 0;
  waitpid(pid, &status, 0);
  r.status = r.timed_out ? -1 : decode(status);
  return r;
}

std::vector<std::string> split_lines(const std::string& text) {
  std::vector<std::string> lines;
  size_t start = 0;
  while (start < text.size()) {
    size_t nl = text.find('\n', start);
    if (nl == std::string::npos) {
      lines.push_back(text.substr(start));
      break;
    }
    lines.push_back(text.substr(start, nl - start));
    start = nl + 1;
  }
  return lines;
}

Session::Session(const std::string& dir) : start_(now_s()) {
  pid_ = spawn(dir, in_fd_, out_fd_, nullptr);
}

Session::~Session() {
  if (in_fd_ >= 0) close(in_fd_);
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  if (out_fd_ >= 0) close(out_fd_);
}

void Session::send(const std::string& line) {
  if (in_fd_ < 0) return;
  std::string text = line + "\n";
  size_t done = 0;
  while (done < text.size()) {
    ssize_t w = write(in_fd_, text.data() + done, text.size() - done);
    if (w <= 0) break;
    done += size_t(w);
  }
}

void Session::close_input() {
  if (in_fd_ >= 0) close(in_fd_);
  in_fd_ = -1;
}

double Session::elapsed() const { return now_s() - start_; }

long Session::status_field(const char* format) const {
  if (pid_ <= 0) return -1;
  std::FILE* f = std::fopen(("/proc/" + std::to_string(pid_) + "/status").c_str(), "r");
  if (!f) return -1;
  char line[256];
  long value = -1;
  while (std::fgets(line, sizeof line, f))
    if (std::sscanf(line, format, &value) == 1) break;
  std::fclose(f);
  return value;
}

long Session::rss_kb() const { return status_field("VmRSS: %ld kB"); }
long Session::threads() const { return status_field("Threads: %ld"); }

bool Session::pump(double timeout_s) {
  if (eof_) return false;
  pollfd p{out_fd_, POLLIN, 0};
  int ms = timeout_s <= 0 ? 0 : int(timeout_s * 1000);
  if (poll(&p, 1, ms) <= 0) return true;
  char buf[65536];
  ssize_t got = read(out_fd_, buf, sizeof buf);
  if (got <= 0) {
    eof_ = true;
    return false;
  }
  partial_.append(buf, size_t(got));
  size_t nl;
  while ((nl = partial_.find('\n')) != std::string::npos) {
    lines_.push_back(partial_.substr(0, nl));
    partial_.erase(0, nl + 1);
  }
  return true;
}

std::string Session::wait_for(const std::string& prefix, double timeout_s) {
  const double deadline = now_s() + timeout_s;
  for (;;) {
    for (; scanned_ < lines_.size(); ++scanned_)
      if (lines_[scanned_].compare(0, prefix.size(), prefix) == 0) return lines_[scanned_++];
    double left = deadline - now_s();
    if (left <= 0) return "";
    if (!pump(left > 0.1 ? 0.1 : left) && scanned_ >= lines_.size()) return "";
  }
}

int Session::wait_exit(double timeout_s) {
  const double deadline = now_s() + timeout_s;
  while (now_s() < deadline) {
    int status = 0;
    int r = waitpid(pid_, &status, WNOHANG);
    if (r == pid_) {
      pid_ = -1;
      while (pump(0)) {
      }
      return decode(status);
    }
    pump(0.05);
  }
  return -1;
}

}  // namespace orvo::test

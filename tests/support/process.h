// Runs the real orvo binary as a child process for end-to-end tests.
#pragma once
#include <string>
#include <vector>

namespace orvo::test {

struct RunResult {
  std::string out;    // everything written to standard output
  std::string err;    // everything written to standard error
  int status = -1;    // exit status, or -1 when killed or signalled
  bool timed_out = false;
};

// Starts orvo in directory dir (current directory when empty), writes input
// to its standard input and closes it, and collects the output until the
// process ends or timeout_s seconds have passed (then it is killed).
RunResult run_orvo(const std::string& input, double timeout_s = 30.0,
                   const std::string& dir = "");

// Like run_orvo, with these arguments on orvo's command line.
RunResult run_orvo_args(const std::vector<std::string>& args, const std::string& input = "",
                        double timeout_s = 30.0, const std::string& dir = "");

// Like run_orvo, with standard error on the very pipe of standard output,
// as the xboard GUI starts an engine. Everything lands in out.
RunResult run_orvo_merged(const std::string& input, double timeout_s = 30.0,
                          const std::string& dir = "");

// Runs orvo with standard output on a packet socket, where every write()
// arrives as a packet of its own; returns the packets in order. Standard
// error goes to /dev/null.
std::vector<std::string> run_orvo_writes(const std::string& input, double timeout_s = 30.0,
                                         const std::string& dir = "");

// An interactive session: write lines, wait for output lines.
class Session {
 public:
  explicit Session(const std::string& dir = "");
  // Resident memory of the process in kB (from /proc), or -1.
  long rss_kb() const;
  // Threads of the process (from /proc), or -1.
  long threads() const;
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  void send(const std::string& line);  // the newline is added
  void close_input();
  // Waits until a line satisfying the predicate (starts with prefix) has
  // arrived; returns it, or "" on timeout or end of output.
  std::string wait_for(const std::string& prefix, double timeout_s);
  // Every complete line received so far.
  const std::vector<std::string>& lines() const { return lines_; }
  // Waits for the process to end; returns its exit status or -1.
  int wait_exit(double timeout_s);
  // Seconds since the session started.
  double elapsed() const;

 private:
  long status_field(const char* format) const;
  bool pump(double timeout_s);  // reads what is there; false at end of output
  int pid_ = -1, in_fd_ = -1, out_fd_ = -1;
  std::string partial_;
  std::vector<std::string> lines_;
  size_t scanned_ = 0;
  double start_;
  bool eof_ = false;
};

// Splits text into lines (without their newlines).
std::vector<std::string> split_lines(const std::string& text);

}  // namespace orvo::test

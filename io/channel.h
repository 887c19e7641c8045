// The engine's one door to the outside: every line it reads, every test for
// waiting input and every text it writes (standard output and standard
// error) go through the channel in use. By default that is the process's
// own descriptors 0, 1 and 2; a test or a fuzz target puts a front end in
// memory in its place and drives the real protocol loops through it.
#pragma once
#include <cstddef>
#include <string>

namespace orvo {

class Channel {
 public:
  // Largest piece of input taken in at once.
  static constexpr int BUFFER_SIZE = 1 << 16;

  Channel() = default;
  virtual ~Channel() = default;
  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;

  // Reads like fgets: at most size - 1 characters, up to and including a
  // newline. False at the end of input with nothing read, or on a read
  // error (then error() is true).
  bool read_line(char* buf, int size);
  // Pending input without blocking: the bytes already taken in, else 1 or
  // more when the source is ready. An input that has ended counts as
  // waiting, so that the reader then meets the end.
  int available();
  // True once the input has ended (or failed) and everything taken in has
  // been read.
  bool at_eof() const { return head_ == tail_ && (ended_ || failed_); }
  bool error() const { return failed_; }

  // Writes the bytes at once, the whole of them.
  virtual void write_out(const char* text, std::size_t n) = 0;
  virtual void write_err(const char* text, std::size_t n) = 0;
  // True when standard error reaches someone other than the reader of
  // standard output (a terminal, a log file, a manager that reads it apart).
  virtual bool err_is_own_channel() const { return true; }

 protected:
  // One read of at most n bytes: the count, 0 at the end, -1 on an error.
  virtual long read_raw(char* buf, std::size_t n) = 0;
  // Without blocking: 0 when a read would wait, else the bytes a read would
  // give (at least 1; also 1 at the end of the input).
  virtual int ready_raw() = 0;

 private:
  bool fill();

  char buffer_[BUFFER_SIZE];
  int head_ = 0, tail_ = 0;
  bool ended_ = false, failed_ = false;
};

// Standard input, output and error of the process.
class DescriptorChannel final : public Channel {
 public:
  void write_out(const char* text, std::size_t n) override;
  void write_err(const char* text, std::size_t n) override;
  bool err_is_own_channel() const override;

 protected:
  long read_raw(char* buf, std::size_t n) override;
  int ready_raw() override;
};

// A front end in memory: the input is a text given in advance (its end is
// the end of input), the output and the errors are collected.
class MemoryChannel final : public Channel {
 public:
  explicit MemoryChannel(std::string input = "") : input_(std::move(input)) {}
  // More input, as if the front end had sent it.
  void feed(const std::string& text) { input_ += text; }
  // Held open, the front end is still there when all its input has been
  // read: a poll finds nothing waiting instead of the end of input. (A read
  // then still meets the end: a channel in memory cannot wait.)
  void hold_open(bool open) { held_open_ = open; }
  void write_out(const char* text, std::size_t n) override { out.append(text, n); }
  void write_err(const char* text, std::size_t n) override { err.append(text, n); }

  std::string out, err;

 protected:
  long read_raw(char* buf, std::size_t n) override;
  int ready_raw() override {
    if (input_.size() > read_) return int(input_.size() - read_);
    return held_open_ ? 0 : 1;
  }

 private:
  std::string input_;
  std::size_t read_ = 0;
  bool held_open_ = false;
};

// The channel in use.
Channel& channel();
// Puts a channel in place of the one in use until another replaces it;
// nullptr brings back the process's descriptors. Returns the one before.
Channel* use_channel(Channel* c);

// Installs a channel for the life of a scope.
class ChannelScope {
 public:
  explicit ChannelScope(Channel& c) : before_(use_channel(&c)) {}
  ~ChannelScope() { use_channel(before_); }
  ChannelScope(const ChannelScope&) = delete;
  ChannelScope& operator=(const ChannelScope&) = delete;

 private:
  Channel* before_;
};

}  // namespace orvo

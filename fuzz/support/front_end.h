// A front end in memory for the targets: standard input served from the
// fuzzer's bytes (their end is the end of input), standard output and
// standard error discarded, through the engine's one I/O seam.
#pragma once
#include <cstddef>
#include <cstdint>

#include "io/channel.h"

namespace orvo::fuzz {

class FuzzChannel final : public Channel {
 public:
  FuzzChannel(const uint8_t* data, size_t size) : data_(data), left_(size) {}
  void write_out(const char*, std::size_t) override {}
  void write_err(const char*, std::size_t) override {}

 protected:
  long read_raw(char* buf, std::size_t n) override;
  // Always something to read: the next bytes, or the end of the input.
  int ready_raw() override { return left_ > 0 ? int(left_ < Channel::BUFFER_SIZE ? left_ : Channel::BUFFER_SIZE) : 1; }

 private:
  const uint8_t* data_;
  size_t left_;
};

// Puts a front end with these bytes in place of standard input and output
// for the life of the object.
class FrontEnd {
 public:
  FrontEnd(const uint8_t* data, size_t size) : channel_(data, size), scope_(channel_) {}

 private:
  FuzzChannel channel_;
  ChannelScope scope_;
};

}  // namespace orvo::fuzz

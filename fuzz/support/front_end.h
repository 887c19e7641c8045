// A front end in memory for the protocol targets. Standard input is served
// from the fuzzer's bytes at the system-call boundary (read, poll and
// ioctl on descriptor 0 are wrapped at link time), so Orvo's own reader and
// everything above it run unchanged. The run ends, without ending the
// process, when Orvo reads past the last byte (the front end has said all
// it will say) or calls exit ("quit", the end of a loop): both jump back to
// run_front_end.
//
// Link with -Wl,--wrap=read,--wrap=poll,--wrap=ioctl,--wrap=exit.
#pragma once
#include <cstddef>
#include <cstdint>

namespace orvo::fuzz {

// Runs body with standard input holding exactly these bytes. Returns when
// body returns, when Orvo reads past the end of the bytes, or when it calls
// exit. Reads made while no run is going on go to the real descriptor.
void run_front_end(const uint8_t* data, size_t size, void (*body)(void*), void* arg);

// Empties Orvo's input buffer of whatever an earlier run left in it, so that
// every run starts from its own first byte.
void drain_input();

// Whether the last run ended by exit, and with which status.
bool last_run_exited();
int last_exit_status();

}  // namespace orvo::fuzz

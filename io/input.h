// Standard input, read through the channel in use (io/channel.h) with its
// own buffer: nothing is left in a stdio buffer, so input_available() sees
// every waiting line, also the ones already taken in.
#pragma once

namespace orvo {

// Reads like fgets: at most size - 1 characters, up to and including a
// newline. Returns false at end of input with nothing read, or on a read
// error (then input_error() is true).
bool read_line(char* buf, int size);
bool input_error();
// True once standard input has ended (or failed) and everything buffered
// has been read.
bool input_at_eof();
// Pending input without blocking: the bytes already buffered, else 1 or
// more when the input is readable. A closed input counts as waiting, so
// that the reader then sees the end of input.
int input_available();

}  // namespace orvo

#include "io/input.h"

#include "io/channel.h"

namespace orvo {

bool read_line(char* buf, int size) { return channel().read_line(buf, size); }
bool input_error() { return channel().error(); }
bool input_at_eof() { return channel().at_eof(); }
int input_available() { return channel().available(); }

}  // namespace orvo

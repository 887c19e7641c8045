// Numbers in command text, read like atoi but without its undefined
// behaviour: leading blanks, an optional sign, digits; 0 when there are
// none; values beyond the 32-bit range are clamped to it.
#pragma once

namespace orvo {

int read_int(const char* text);

// Reads up to count integers the way sscanf("%d %d ...") does: each one
// after optional white space; the scan stops at the first text that is not
// a number. Returns how many were read; the rest of out is left alone.
int scan_ints(const char* text, int* out, int count);

}  // namespace orvo

// "orvo bench [DEPTH]": the benchmark positions searched to DEPTH (default:
// the signature depth), ending with the line "N nodes M nps" that engine
// testing frameworks read.
#pragma once

namespace orvo {

// The arguments after "bench"; returns the exit status (2 for a depth that
// is not a number from 1 to the deepest search).
int bench_command(int argc, char** argv);

}  // namespace orvo

// The whole command line of kestrel-lab.
#pragma once

namespace lab {

// Runs what the words ask for; the exit status of the process: 0 done, 1 failed or a given limit missed, 2
// wrong use.
int RunCommandLine(int argc, const char* const* argv);

}  // namespace lab

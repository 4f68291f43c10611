// kestrel-lab: a gatekeeper, a call server and RTP peers for trying, measuring and loading the compressor
// module.
#include <csignal>

#include "tools/lab/CommandLine.h"

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    return lab::RunCommandLine(argc, argv);
}

#include "tools/lab/CommandLine.h"

#include <cstdio>

#include "tools/lab/Commands.h"

namespace lab {

int RunCommandLine(int argc, const char* const* argv) {
    CLI::App app{"Companion of the compressor module: a gatekeeper, a call server and RTP peers on one host.",
                 "kestrel-lab"};
    app.require_subcommand(1);
    app.footer("Every subcommand explains itself with examples: kestrel-lab load --help");
    int status = 0;
    AddGatekeeperCommand(app, status);
    AddSendCommand(app, status);
    AddCallCommand(app, status);
    AddLoadCommand(app, status);
    AddCodecCommand(app, status);
    AddDemoCommand(app, status);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const bool asked = error.get_exit_code() == 0;  // --help and its like
        for (const std::string& word : app.remaining(true))
            if (!asked) std::fprintf(stderr, "kestrel-lab: '%s' is not understood.\n", word.c_str());
        app.exit(error);
        return asked ? 0 : 2;
    }
    return status;
}

}  // namespace lab

// The subcommands of kestrel-lab. Each function adds one to `app`; when the user has chosen it, its callback
// runs the command and stores the exit status of the process in `status`: 0 done, 1 failed or a given limit
// missed, 2 wrong use.
#pragma once

#include <CLI/CLI.hpp>

namespace lab {

void AddGatekeeperCommand(CLI::App& app, int& status);
void AddSendCommand(CLI::App& app, int& status);
void AddCallCommand(CLI::App& app, int& status);
void AddLoadCommand(CLI::App& app, int& status);
void AddCodecCommand(CLI::App& app, int& status);
void AddDemoCommand(CLI::App& app, int& status);

}  // namespace lab

// The whole life of the process.
#pragma once

// Starts the module, runs until SIGINT or SIGTERM, and ends it in order. The exit status: 0, or -1 when an
// option lacks its argument.
int RunMain(int argc, char** argv);

// The command line options by which a module is chosen: one that runs, or a daemon of our own.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "tools/lab/ModuleSetup.h"

namespace lab {

class ModuleChoice {
 public:
    void AddOptions(CLI::App& command);

    // Starts or finds the module for `slots` slots, and tells the user at `progress` (null: nobody). False
    // with the reason in `error`.
    bool Prepare(ModuleSetup& module, int slots, FILE* progress, std::string& error) const;

 private:
    std::string address;
    std::string daemon;
    int rtpBase = 0;
};

// Writes "kestrel-lab: " and the matter to standard error; returns 1, the exit status of a failure.
int Complain(const std::string& matter);

}  // namespace lab

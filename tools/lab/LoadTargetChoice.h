// The command line options by which the target of a load run is chosen.
#pragma once

#include <memory>

#include "tools/lab/LoadTarget.h"
#include "tools/lab/ModuleChoice.h"

namespace lab {

class LoadTargetChoice {
 public:
    void AddOptions(CLI::App& command);

    // Starts or finds the target for `slots` slots, and tells the user at `progress`. Null with the reason in
    // `error`.
    std::unique_ptr<LoadTarget> Prepare(int slots, FILE* progress, std::string& error) const;

 private:
    std::unique_ptr<LoadTarget> PrepareProxy(std::string& error) const;
    std::unique_ptr<LoadTarget> PrepareForwarder(std::string& error) const;

    ModuleChoice module;
    std::string proxy;
    std::string forwarder;
    int pid = 0;
};

}  // namespace lab

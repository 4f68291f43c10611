// The compressor module as the target of a load run: a daemon of our own, or one that runs already.
#pragma once

#include <memory>

#include "tools/lab/LoadTarget.h"
#include "tools/lab/ModuleSetup.h"

namespace lab {

class LoadModuleTarget : public LoadTarget {
 public:
    // `module` is ready for use. `slots`: channels behind these are nobody's. `process`: of a module that we
    // did not start; 0: not known.
    LoadModuleTarget(std::unique_ptr<ModuleSetup> module, int slots, pid_t process);

    ULONG OwnAddress() const override { return module->OwnAddress(); }
    pid_t Process() const override { return process; }
    bool SetUp(int slot, std::span<Leg, 2> legs, std::string& error) override;
    bool Release(int slot) override;
    std::optional<double> AskMs() override;

 private:
    const std::unique_ptr<ModuleSetup> module;
    const UWORD unusedChan;
    const pid_t process;
};

}  // namespace lab

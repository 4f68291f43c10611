// Ends the module by SIGTERM and checks that it goes in its order.
#pragma once

#include "tools/lab/demo/DemoStep.h"

namespace lab {

class ShutdownStep : public DemoStep {
 public:
    std::string Title() const override { return "Shutdown"; }
    std::string Intro() const override;
    bool Run(DemoRun& run, ReportSection& section) override;
};

}  // namespace lab

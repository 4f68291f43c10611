// Starts the module and checks that it finds its gatekeeper, registers, and answers at its control port.
#pragma once

#include "tools/lab/demo/DemoStep.h"

namespace lab {

class DiscoveryStep : public DemoStep {
 public:
    std::string Title() const override { return "Start and registration"; }
    std::string Intro() const override;
    bool Run(DemoRun& run, ReportSection& section) override;

 private:
    static void CheckRegistration(const Gatekeeper::Module& registered, DemoRun& run, ReportSection& section);
    static void CheckResources(DemoRun& run, ReportSection& section);
    static void CheckControl(DemoRun& run, ReportSection& section);
};

}  // namespace lab

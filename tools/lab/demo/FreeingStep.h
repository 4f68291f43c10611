// Frees every slot in the middle of its calls, and checks that the module falls silent and gives everything
// back.
#pragma once

#include "tools/lab/demo/DemoStep.h"
#include "tools/lab/demo/ResourcesLine.h"
#include "tools/lab/demo/SrtpCallStep.h"

namespace lab {

class FreeingStep : public DemoStep {
 public:
    // `srtp` ran before and knows how many packets it forged.
    explicit FreeingStep(const SrtpCallStep& srtp) : srtp(srtp) {}

    std::string Title() const override { return "Freeing"; }
    std::string Intro() const override;
    bool Run(DemoRun& run, ReportSection& section) override;

 private:
    static void CheckStatistics(DemoRun& run, ReportSection& section);
    static void FreeAll(DemoRun& run, ReportSection& section);
    static bool CheckSilence(DemoRun& run, ReportSection& section);
    static void CheckPorts(DemoRun& run, ReportSection& section);
    void CheckForgeries(DemoRun& run, ReportSection& section) const;
    static bool CheckResources(DemoRun& run, ReportSection& section);

    const SrtpCallStep& srtp;
};

}  // namespace lab

// DTMF keys in both directions, the module's reports of them to the call server, keys that the call server
// sends, and keys that are blocked.
#pragma once

#include "tools/lab/demo/DemoStep.h"

namespace lab {

class DigitsStep : public DemoStep {
 public:
    static constexpr UWORD InternalChannel = 4;
    static constexpr UWORD ExternalChannel = 5;

    std::string Title() const override { return "DTMF keys"; }
    std::string Intro() const override;
    bool Run(DemoRun& run, ReportSection& section) override;

 private:
    using Digits = std::vector<RtpReceiver::Digit>;

    bool PressAll(DemoRun& run, ReportSection& section);
    bool FromCallServer(DemoRun& run, ReportSection& section);
    bool Blocked(DemoRun& run, ReportSection& section);
    static Digits TakeReports(DemoRun& run, UWORD chan);

    DemoLeg* internal = nullptr;
    DemoLeg* external = nullptr;
};

}  // namespace lab

// A conference of three: two talk through the slot that hosts it, the third hears both through a slot that
// joined.
#pragma once

#include <array>

#include "tools/lab/demo/DemoStep.h"

namespace lab {

class ConferenceStep : public DemoStep {
 public:
    static constexpr UWORD HostSlot = 6;
    static constexpr UWORD MemberSlot = 8;

    std::string Title() const override { return "Conference"; }
    std::string Intro() const override;
    bool Run(DemoRun& run, ReportSection& section) override;

 private:
    static constexpr size_t Parties = 4;

    bool Connect(DemoRun& run, ReportSection& section);
    bool Listen(DemoRun& run, ReportSection& section);
    bool Mix(DemoRun& run, ReportSection& section);
    bool Leave(DemoRun& run, ReportSection& section);

    std::array<DemoLeg*, Parties> legs{};
};

}  // namespace lab

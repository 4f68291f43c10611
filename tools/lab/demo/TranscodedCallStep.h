// A call between a G.711 leg and a G.729 leg, with different speech in both directions at once.
#pragma once

#include "tools/lab/demo/DemoStep.h"

namespace lab {

class TranscodedCallStep : public DemoStep {
 public:
    static constexpr UWORD InternalChannel = 0;
    static constexpr UWORD ExternalChannel = 1;

    std::string Title() const override { return "Transcoding"; }
    std::string Intro() const override;
    bool Run(DemoRun& run, ReportSection& section) override;

 private:
    struct Direction {
        DemoLeg* from;
        DemoLeg* to;
        std::vector<std::int16_t> said;
        std::shared_ptr<DelayMatcher> matcher;
    };

    static void Begin(Direction& direction);
    static void CheckDirection(const Direction& direction, DemoRun& run, ReportSection& section);
    static void CheckDelay(const Direction& direction, DemoRun& run, ReportSection& section);
};

}  // namespace lab

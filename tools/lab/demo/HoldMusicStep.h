// Hold music: a leg that is unmapped hears, through its slot, a multicast stream one second later, and its
// call again when it is mapped again.
#pragma once

#include "tools/lab/HoldMusicSource.h"
#include "tools/lab/demo/DemoStep.h"

namespace lab {

class HoldMusicStep : public DemoStep {
 public:
    static constexpr UWORD InternalChannel = 10;
    static constexpr UWORD ExternalChannel = 11;

    std::string Title() const override { return "Hold music"; }
    std::string Intro() const override;
    bool Run(DemoRun& run, ReportSection& section) override;

 private:
    bool Connect(DemoRun& run, ReportSection& section);
    bool Hold(DemoRun& run, ReportSection& section);
    bool Listen(DemoRun& run, ReportSection& section);
    bool Resume(DemoRun& run, ReportSection& section);
    bool Cancel(DemoRun& run, ReportSection& section);

    HoldMusicSource source;
    DemoLeg* internal = nullptr;
    DemoLeg* external = nullptr;
    std::vector<std::int16_t> music;
    std::vector<std::int16_t> said;
};

}  // namespace lab

// A call whose external leg is protected by SRTP, with a listener and forger on the wire.
#pragma once

#include "tools/lab/demo/DemoStep.h"
#include "tools/lab/demo/WireTap.h"

namespace lab {

class SrtpCallStep : public DemoStep {
 public:
    static constexpr UWORD InternalChannel = 2;
    static constexpr UWORD ExternalChannel = 3;

    std::string Title() const override { return "SRTP leg"; }
    std::string Intro() const override;
    bool Run(DemoRun& run, ReportSection& section) override;

    // The packets that were forged in this step, every one of which the module is to count as discarded.
    size_t Forged() const { return forged; }

 private:
    bool Connect(DemoRun& run, ReportSection& section);
    bool Speak(DemoRun& run, ReportSection& section);
    void CheckWire(ReportSection& section) const;
    void CheckSecrecy(const std::vector<UBYTE>& wire, ReportSection& section) const;
    bool Forge(DemoRun& run, ReportSection& section);
    bool SendForgeries(DemoRun& run);

    WireTap tap;
    DemoLeg* internal = nullptr;
    DemoLeg* external = nullptr;
    std::vector<std::int16_t> said;
    size_t forged = 0;
};

}  // namespace lab

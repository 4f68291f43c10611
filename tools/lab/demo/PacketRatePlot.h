// Packets per second of every leg over the time of a run: a row for each leg, with what went to the module
// above the row's middle and what came from it below, and the steps of the run shaded behind them.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "tools/lab/demo/SvgCanvas.h"

namespace lab {

class PacketRatePlot {
 public:
    // Running counts at one moment.
    struct Sample {
        double seconds;  // since the start of the run
        std::uint64_t sent;
        std::uint64_t received;
    };

    // Samples in the order of time.
    void AddLeg(std::string label, std::span<const Sample> samples);
    void AddStep(std::string name, double from, double to);
    std::string Svg() const;

 private:
    struct Leg {
        std::string label;
        std::vector<double> sent;  // packets per second in each interval
        std::vector<double> received;
    };
    struct Step {
        std::string name;
        double from;
        double to;
    };

    double Length() const;
    void DrawSteps(SvgCanvas& canvas, double perSecond, double bottom) const;
    void DrawLegs(SvgCanvas& canvas, double perSecond) const;

    std::vector<Leg> legs;
    std::vector<Step> steps;
};

}  // namespace lab

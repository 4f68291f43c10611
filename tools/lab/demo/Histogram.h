// How often each value of a measured quantity occurred, as bars of equal width; what was measured in two
// directions stands on top of one another in two colours.
#pragma once

#include <array>
#include <span>
#include <string>
#include <vector>

#include "tools/lab/demo/SvgCanvas.h"

namespace lab {

class Histogram {
 public:
    // `quantity` names the horizontal axis, `unit` its unit.
    Histogram(std::string quantity, std::string unit);

    // Values of the first or of the second direction, which `name` names in the picture.
    void Add(size_t direction, std::string name, std::span<const double> more);
    // The value below which `share` (0 to 1) of all values lie; 0 without values.
    double Percentile(double share) const;
    std::string Svg() const;

 private:
    static constexpr size_t Directions = 2;

    struct Series {
        std::string name;
        std::vector<double> values;
    };
    struct Bins {
        double first;
        double width;
        std::vector<std::array<size_t, Directions>> counts;

        size_t Index(double value) const { return static_cast<size_t>((value - first) / width); }
        double Range() const { return static_cast<double>(counts.size()) * width; }
        double Highest() const;
    };

    Bins Count() const;
    void DrawAxes(SvgCanvas& canvas, const Bins& bins) const;
    void DrawMarks(SvgCanvas& canvas, const Bins& bins) const;

    const std::string quantity;
    const std::string unit;
    std::array<Series, Directions> series;
    std::vector<double> all;  // ascending
};

}  // namespace lab

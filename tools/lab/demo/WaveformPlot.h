// Wave forms of recordings above one another on a common time axis.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace lab {

class WaveformPlot {
 public:
    enum class Side { In, Out };  // what went in, what came out: drawn in two colours

    // Samples at 8000 Hz; the plot keeps the outline that it draws, not the samples.
    void Add(std::string label, std::span<const std::int16_t> samples, Side side);
    std::string Svg() const;

 private:
    struct Extent {
        std::int16_t low = 0;
        std::int16_t high = 0;
    };
    struct Track {
        std::string label;
        std::vector<Extent> extents;  // of every 10 ms
        Side side;
    };

    std::vector<Track> tracks;
};

}  // namespace lab

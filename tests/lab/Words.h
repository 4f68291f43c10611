// Made-up speech for tests: never the same twice within it, loud throughout but for pauses, and quick to
// make.
#pragma once

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "tools/lab/Codec.h"

namespace lab::test {

// `pauseMs` of every second are silent.
inline std::vector<std::int16_t> Words(int seconds, int pauseMs = 0) {
    std::mt19937 random(7);
    std::vector<std::int16_t> samples(static_cast<std::size_t>(seconds) * SampleRate);
    double pitch = 0;
    double phase = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (i % 400 == 0) pitch = 90 + static_cast<double>(random() % 160);
        phase += 2 * 3.14159265 * pitch / SampleRate;
        const double voice = std::sin(phase) + 0.6 * std::sin(3 * phase) + 0.3 * std::sin(7 * phase);
        const bool silent = static_cast<int>(i % SampleRate) < pauseMs * SampleRate / 1000;
        samples[i] = silent ? std::int16_t{0} : static_cast<std::int16_t>(4000 * voice);
    }
    return samples;
}

}  // namespace lab::test

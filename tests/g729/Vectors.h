// Streams with the standard's exact results: those of our own in tests/data/g729, and the conformance vectors
// of the ITU-T where they are installed.
#pragma once

#include <array>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "platform/media/g729/Sizes.h"

namespace g729::test {

using Octets = std::array<std::uint8_t, FrameBytes>;
using Samples = std::array<std::int16_t, FrameSamples>;

struct Vector {
    std::string name;
    std::vector<Samples> input;   // of the coder; empty where the stream is for the decoder alone
    std::vector<Octets> frames;   // what the coder makes of it
    std::vector<bool> isErased;   // for each frame, what the decoder is told
    std::vector<Samples> output;  // what the decoder makes of both
};

std::vector<Vector> OwnVectors();

// From the folder that KESTREL_G729_VECTORS names, else ../shared/g729/vectors beside the project; none, with
// a line that says so, where there is no such folder.
std::vector<Vector> StandardVectors();

// What a failure prints of a frame.
template <typename T, std::size_t N>
std::string Shown(const std::array<T, N>& values) {
    std::string text;
    for (const T value : values) text += std::to_string(value) + ' ';
    return text;
}

}  // namespace g729::test

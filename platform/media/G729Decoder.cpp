#include "platform/media/G729Decoder.h"

#include <algorithm>
#include <cstring>

#include "platform/media/G711.h"
#include "platform/media/g729/Decoder.h"

using g729::FrameBytes;
using g729::FrameSamples;

namespace {

constexpr int SilentSample = 0xD5;  // A-law +0

}  // namespace

struct G729Decoder::State {
    g729::Decoder decoder;
    std::int16_t linear[FrameSamples];
};

G729Decoder::G729Decoder() : state(std::make_unique<State>()) {}

G729Decoder::~G729Decoder() = default;

int G729Decoder::Decode(unsigned char* frames, unsigned char* samples, int count) {
    const int whole = std::max(count, 0) / FrameBytes;
    for (int frame = 0; frame < whole; frame++) {
        state->decoder.Decode(frames, state->linear);
        LinearToAlaw(state->linear, samples, FrameSamples);
        frames += FrameBytes;
        samples += FrameSamples;
    }
    const int left = std::max(count, 0) % FrameBytes;
    std::memset(samples, SilentSample, static_cast<size_t>(left) * FrameSamples / FrameBytes);
    return whole * FrameSamples;
}

int G729Decoder::DecodeErasure(unsigned char* samples) {
    state->decoder.DecodeErasure(state->linear);
    LinearToAlaw(state->linear, samples, FrameSamples);
    return FrameSamples;
}

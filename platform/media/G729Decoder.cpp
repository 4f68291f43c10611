#include "platform/media/G729Decoder.h"

// The library's header leaves its C linkage to C++ callers.
extern "C" {
#include <bcg729/decoder.h>
}
#include <algorithm>
#include <cstring>

#include "platform/media/G711.h"

namespace {

constexpr int FrameSamples = 80;
constexpr int FrameBytes = 10;
constexpr int SilentSample = 0xD5;  // A-law +0

}  // namespace

struct G729Decoder::State {
    bcg729DecoderChannelContextStruct* channel = initBcg729DecoderChannel();

    State() = default;
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State() { closeBcg729DecoderChannel(channel); }
};

G729Decoder::G729Decoder() : state(std::make_unique<State>()) {}

G729Decoder::~G729Decoder() = default;

int G729Decoder::Decode(unsigned char* frames, unsigned char* samples, int count) {
    const int whole = std::max(count, 0) / FrameBytes;
    for (int frame = 0; frame < whole; frame++) {
        std::int16_t linear[FrameSamples];
        bcg729Decoder(state->channel, frames, FrameBytes, 0, 0, 0, linear);
        LinearToAlaw(linear, samples, FrameSamples);
        frames += FrameBytes;
        samples += FrameSamples;
    }
    const int left = std::max(count, 0) % FrameBytes;
    std::memset(samples, SilentSample, static_cast<size_t>(left) * FrameSamples / FrameBytes);
    return whole * FrameSamples;
}

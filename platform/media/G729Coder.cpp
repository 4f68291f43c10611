#include "platform/media/G729Coder.h"

// The library's header leaves its C linkage to C++ callers.
extern "C" {
#include <bcg729/encoder.h>
}

#include "platform/media/G711.h"

namespace {

constexpr int FrameSamples = 80;
constexpr int FrameBytes = 10;
constexpr UBYTE NoSilenceSuppression = 0;

}  // namespace

struct G729Coder::State {
    bcg729EncoderChannelContextStruct* channel = initBcg729EncoderChannel(NoSilenceSuppression);

    State() = default;
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State() { closeBcg729EncoderChannel(channel); }
};

G729Coder::G729Coder() : state(std::make_unique<State>()) {}

G729Coder::~G729Coder() = default;

int G729Coder::Encode(unsigned char* samples, unsigned char* frames, int count) {
    int written = 0;
    for (int at = 0; at + FrameSamples <= count; at += FrameSamples) {
        std::int16_t linear[FrameSamples];
        UBYTE bytes = 0;
        AlawToLinear(samples + at, linear, FrameSamples);
        bcg729Encoder(state->channel, linear, frames + written, &bytes);
        written += FrameBytes;
    }
    return written;
}

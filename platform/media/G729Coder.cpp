#include "platform/media/G729Coder.h"

#include "platform/media/G711.h"

int G729Coder::Encode(unsigned char* samples, unsigned char* frames, int count) {
    int written = 0;
    for (int at = 0; at + g729::FrameSamples <= count; at += g729::FrameSamples) {
        std::int16_t linear[g729::FrameSamples];
        AlawToLinear(samples + at, linear, g729::FrameSamples);
        encoder.Encode(linear, frames + written);
        written += g729::FrameBytes;
    }
    return written;
}

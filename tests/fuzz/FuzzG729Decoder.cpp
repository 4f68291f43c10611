// Any octets through the G.729 decoder at every level of the machine: all must hear the same.
#include <cstdlib>
#include <cstring>
#include <vector>

#include "platform/media/g729/Decoder.h"

using namespace g729;

// A record is an octet, odd where the frame is lost, and the ten of a frame.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<Decoder> decoders;
    for (const Level level : Levels) {
        if (HasLevel(level)) decoders.emplace_back(level);
    }
    constexpr std::size_t Record = 1 + FrameBytes;
    for (; size >= Record; data += Record, size -= Record) {
        std::int16_t first[FrameSamples];
        for (Decoder& decoder : decoders) {
            std::int16_t samples[FrameSamples];
            if (data[0] & 1) {
                decoder.DecodeErasure(samples);
            } else {
                decoder.Decode(data + 1, samples);
            }
            if (&decoder == decoders.data()) std::memcpy(first, samples, sizeof first);
            if (std::memcmp(first, samples, sizeof first) != 0) std::abort();
        }
    }
    return 0;
}

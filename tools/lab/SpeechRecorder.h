// Puts the packets of a received stream back together as one piece of audio, by their time stamps.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "tools/lab/SpeechCodec.h"

namespace lab {

// One thread. What is missing is silence; what comes late takes its place. At most an hour is kept.
class SpeechRecorder {
 public:
    explicit SpeechRecorder(Codec codec) : codec(codec), decoder(codec) {}

    // `newStream`: the stream begins anew (another SSRC, or a jump) and goes on behind what is there.
    void Add(ULONG timestamp, std::span<const UBYTE> payload, bool newStream);

    const std::vector<std::int16_t>& Audio() const { return audio; }
    void Clear();
    // Payload bytes in the order of arrival, for comparison byte by byte.
    const std::vector<UBYTE>& Bytes() const { return bytes; }
    Codec Coding() const { return codec; }

 private:
    static constexpr std::int64_t Longest = 3600LL * SampleRate;

    const Codec codec;
    SpeechDecoder decoder;
    bool started = false;
    ULONG base = 0;           // time stamp of...
    std::int64_t origin = 0;  // ...this place in the audio
    std::vector<std::int16_t> audio;
    std::vector<UBYTE> bytes;
};

}  // namespace lab

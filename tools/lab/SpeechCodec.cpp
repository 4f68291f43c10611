#include "tools/lab/SpeechCodec.h"

#include "tools/lab/G711Law.h"

namespace lab {

std::vector<UBYTE> SpeechEncoder::Encode(std::span<const std::int16_t> samples) {
    const std::size_t frames = samples.size() / FrameSamples;
    std::vector<UBYTE> coded(frames * static_cast<std::size_t>(FrameBytes(codec)));
    if (codec != Codec::G729) {
        const auto encode = codec == Codec::Alaw ? EncodeAlaw : EncodeUlaw;
        for (std::size_t i = 0; i < coded.size(); ++i) coded[i] = encode(samples[i]);
        return coded;
    }
    for (std::size_t i = 0; i < frames; ++i) {
        encoder.Encode(samples.data() + i * FrameSamples, coded.data() + i * g729::FrameBytes);
    }
    return coded;
}

std::vector<std::int16_t> SpeechDecoder::Decode(std::span<const UBYTE> payload) {
    const auto frameBytes = static_cast<std::size_t>(FrameBytes(codec));
    const std::size_t frames = payload.size() / frameBytes;
    std::vector<std::int16_t> samples(frames * FrameSamples);
    if (codec != Codec::G729) {
        const auto decode = codec == Codec::Alaw ? DecodeAlaw : DecodeUlaw;
        for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = decode(payload[i]);
        return samples;
    }
    for (std::size_t i = 0; i < frames; ++i) {
        decoder.Decode(payload.data() + i * frameBytes, samples.data() + i * FrameSamples);
    }
    return samples;
}

std::vector<std::int16_t> ThroughModule(std::span<const std::int16_t> samples, Codec in, Codec out) {
    std::vector<std::int16_t> audio(samples.begin(), samples.end());
    for (const Codec hop : {in, out}) {
        SpeechEncoder encoder(hop);
        SpeechDecoder decoder(hop);
        audio = decoder.Decode(encoder.Encode(audio));
        if (in == out && in != Codec::G729) break;  // the same law passes byte for byte
    }
    return audio;
}

}  // namespace lab

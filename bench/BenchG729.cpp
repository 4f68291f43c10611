// What a 10 ms frame of speech costs in G.729, coder and decoder: every level of this machine, and beside
// them libbcg729 and, where it was found, the decoder of libavcodec.
//   KESTREL_BENCH_FRAMES=N   run exactly N frames of each, as bench/g729-instructions does
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

extern "C" {
#include <bcg729/decoder.h>
#include <bcg729/encoder.h>
#if KESTREL_HAS_AVCODEC
#include <libavcodec/avcodec.h>
#endif
}

#include "bench/RatioReporter.h"
#include "platform/media/g729/Decoder.h"
#include "platform/media/g729/Encoder.h"

namespace {

using g729::FrameBytes;
using g729::FrameSamples;
using g729::Level;

// Two voices, one behind the other, as samples and as the frames that the standard makes of them.
template <typename Item>
std::vector<Item> Speech(const std::string& extension) {
    std::vector<Item> items;
    for (const char* voice : {"speech_m", "speech_f"}) {
        std::ifstream file(KESTREL_G729_DATA "/" + (voice + extension), std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        const auto* first = reinterpret_cast<const Item*>(bytes.data());
        items.insert(items.end(), first, first + bytes.size() / sizeof(Item));
    }
    if (items.empty()) std::fprintf(stderr, "No speech in " KESTREL_G729_DATA "\n");
    return items;
}

// Calls `use` with one frame after the other, round and round.
template <typename Item, typename Use>
void ForFrames(benchmark::State& state, const std::vector<Item>& items, std::size_t frame, Use use) {
    if (items.empty()) return state.SkipWithError("no speech");
    std::size_t at = 0;
    for (auto _ : state) {
        use(items.data() + at);
        at = (at + frame) % items.size();
    }
}

void Encode(benchmark::State& state, Level level) {
    const auto speech = Speech<std::int16_t>(".pcm");
    g729::Encoder encoder(level);
    std::uint8_t octets[FrameBytes];
    ForFrames(state, speech, FrameSamples, [&](const std::int16_t* samples) {
        encoder.Encode(samples, octets);
        benchmark::DoNotOptimize(octets);
    });
}

void Decode(benchmark::State& state, Level level) {
    const auto frames = Speech<std::uint8_t>(".g729");
    g729::Decoder decoder(level);
    std::int16_t samples[FrameSamples];
    ForFrames(state, frames, FrameBytes, [&](const std::uint8_t* octets) {
        decoder.Decode(octets, samples);
        benchmark::DoNotOptimize(samples);
    });
}

void EncodeBcg729(benchmark::State& state) {
    const auto speech = Speech<std::int16_t>(".pcm");
    auto* channel = initBcg729EncoderChannel(0);
    std::uint8_t octets[FrameBytes];
    ForFrames(state, speech, FrameSamples, [&](const std::int16_t* samples) {
        std::uint8_t length = 0;
        bcg729Encoder(channel, samples, octets, &length);
        benchmark::DoNotOptimize(octets);
    });
    closeBcg729EncoderChannel(channel);
}

void DecodeBcg729(benchmark::State& state) {
    const auto frames = Speech<std::uint8_t>(".g729");
    auto* channel = initBcg729DecoderChannel();
    std::int16_t samples[FrameSamples];
    ForFrames(state, frames, FrameBytes, [&](const std::uint8_t* octets) {
        bcg729Decoder(channel, octets, FrameBytes, 0, 0, 0, samples);
        benchmark::DoNotOptimize(samples);
    });
    closeBcg729DecoderChannel(channel);
}

#if KESTREL_HAS_AVCODEC
void DecodeAvcodec(benchmark::State& state) {
    const auto frames = Speech<std::uint8_t>(".g729");
    const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_G729);
    if (!codec) return state.SkipWithError("libavcodec has no G.729");
    AVCodecContext* context = avcodec_alloc_context3(codec);
    context->sample_rate = 8000;
    av_channel_layout_default(&context->ch_layout, 1);
    if (avcodec_open2(context, codec, nullptr) < 0) return state.SkipWithError("libavcodec refuses");
    AVPacket* packet = av_packet_alloc();
    AVFrame* samples = av_frame_alloc();
    ForFrames(state, frames, FrameBytes, [&](const std::uint8_t* octets) {
        packet->data = const_cast<std::uint8_t*>(octets);
        packet->size = FrameBytes;
        avcodec_send_packet(context, packet);
        avcodec_receive_frame(context, samples);
        benchmark::DoNotOptimize(samples->data[0]);
    });
    av_frame_free(&samples);
    av_packet_free(&packet);
    avcodec_free_context(&context);
}
#endif

void Register(const std::string& name, const std::function<void(benchmark::State&)>& run) {
    auto* bench = benchmark::RegisterBenchmark(name.c_str(), run)->Unit(benchmark::kMicrosecond);
    if (const char* frames = std::getenv("KESTREL_BENCH_FRAMES")) bench->Iterations(std::atol(frames));
}

void RegisterAll() {
    for (const Level level : g729::Levels) {
        if (!g729::HasLevel(level)) continue;
        const std::string name(g729::LevelName(level));
        Register("Encode/" + name, [level](benchmark::State& state) { Encode(state, level); });
        Register("Decode/" + name, [level](benchmark::State& state) { Decode(state, level); });
    }
    Register("Encode/libbcg729", EncodeBcg729);
    Register("Decode/libbcg729", DecodeBcg729);
#if KESTREL_HAS_AVCODEC
    Register("Decode/libavcodec", DecodeAvcodec);
#endif
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    RegisterAll();
    RatioReporter reporter({"libbcg729", "libavcodec"});
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}

// What a 10 ms frame costs in G.711, and a packet in SRTP.
#include <benchmark/benchmark.h>

#include <array>
#include <cmath>

#include "platform/media/G711.h"
#include "platform/media/RtpHeader.h"
#include "platform/media/SrtpSession.h"

namespace {

constexpr int FrameSamples = 80;
constexpr int Frames = 200;

// Two seconds of a gliding tone with harmonics: as loud as speech.
std::array<UBYTE, FrameSamples * Frames> Voice() {
    std::array<std::int16_t, FrameSamples * Frames> linear{};
    double phase = 0;
    for (std::size_t i = 0; i < linear.size(); ++i) {
        phase += 2 * M_PI * (120 + 40 * std::sin(static_cast<double>(i) / 3000)) / 8000;
        linear[i] = static_cast<std::int16_t>(6000 * std::sin(phase) + 3000 * std::sin(3 * phase) +
                                              1500 * std::sin(7 * phase));
    }
    std::array<UBYTE, FrameSamples * Frames> alaw{};
    LinearToAlaw(linear.data(), alaw.data(), static_cast<int>(linear.size()));
    return alaw;
}

void AlawToLinearFrame(benchmark::State& state) {
    auto voice = Voice();
    std::array<short, FrameSamples> linear{};
    for (auto _ : state) {
        AlawToLinear(voice.data(), linear.data(), FrameSamples);
        benchmark::DoNotOptimize(linear);
    }
}
BENCHMARK(AlawToLinearFrame);

void LinearToAlawFrame(benchmark::State& state) {
    auto voice = Voice();
    std::array<short, FrameSamples> linear{};
    std::array<UBYTE, FrameSamples> alaw{};
    AlawToLinear(voice.data(), linear.data(), FrameSamples);
    for (auto _ : state) {
        LinearToAlaw(linear.data(), alaw.data(), FrameSamples);
        benchmark::DoNotOptimize(alaw);
    }
}
BENCHMARK(LinearToAlawFrame);

// A 20 ms packet of G.711, protected and, in the second, opened again; the argument is the tag length.
class SrtpPair {
 public:
    explicit SrtpPair(int tagLength)
        : sender(media::SrtpSession::Create(media::SrtpSession::Outbound, tagLength, key, salt)),
          receiver(media::SrtpSession::Create(media::SrtpSession::Inbound, tagLength, key, salt)),
          size(static_cast<std::size_t>(media::RtpHeader::FixedSize + 2 * FrameSamples + tagLength)) {}

    std::span<UBYTE> Protect() {
        const media::RtpHeader header{.payloadType = 8, .sequence = sequence++, .ssrc = 1};
        header.Write(std::span(packet).first<media::RtpHeader::FixedSize>());
        const auto room = std::span(packet).first(size);
        sender->ProtectRtp(room);
        return room;
    }
    bool Open(std::span<UBYTE> packetIn) {
        std::size_t length = 0;
        return receiver->UnprotectRtp(packetIn, length) == media::SrtpSession::Result::Ok;
    }

 private:
    const std::array<UBYTE, media::SrtpSession::KeySize> key{1};
    const std::array<UBYTE, media::SrtpSession::SaltSize> salt{2};
    std::unique_ptr<media::SrtpSession> sender;
    std::unique_ptr<media::SrtpSession> receiver;
    const std::size_t size;
    std::array<UBYTE, 256> packet{};
    UWORD sequence = 0;
};

void SrtpProtect(benchmark::State& state) {
    SrtpPair pair(static_cast<int>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(pair.Protect());
}
BENCHMARK(SrtpProtect)->Arg(4)->Arg(10);

void SrtpProtectAndOpen(benchmark::State& state) {
    SrtpPair pair(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        if (!pair.Open(pair.Protect())) state.SkipWithError("refused");
    }
}
BENCHMARK(SrtpProtectAndOpen)->Arg(4)->Arg(10);

}  // namespace

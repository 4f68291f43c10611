// What a 10 ms frame costs in G.711, and a 20 ms packet of it in SRTP: ours, and beside it libsrtp2.
#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "bench/RatioReporter.h"
#include "platform/media/G711.h"
#include "platform/media/RtpHeader.h"
#include "platform/media/SrtpSession.h"
#include "tests/media/SrtpPeer.h"

namespace {

constexpr int FrameSamples = 80;
constexpr int Frames = 200;
constexpr std::size_t VoiceSamples = std::size_t{FrameSamples} * Frames;

// Two seconds of a gliding tone with harmonics: as loud as speech.
std::array<UBYTE, VoiceSamples> Voice() {
    std::array<std::int16_t, VoiceSamples> linear{};
    double phase = 0;
    for (std::size_t i = 0; i < linear.size(); ++i) {
        phase += 2 * M_PI * (120 + 40 * std::sin(static_cast<double>(i) / 3000)) / 8000;
        linear[i] = static_cast<std::int16_t>(6000 * std::sin(phase) + 3000 * std::sin(3 * phase) +
                                              1500 * std::sin(7 * phase));
    }
    std::array<UBYTE, VoiceSamples> alaw{};
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

using media::SrtpSession;
using media_test::SrtpPeer;

constexpr std::array<UBYTE, SrtpSession::KeySize> MasterKey{1};
constexpr std::array<UBYTE, SrtpSession::SaltSize> MasterSalt{2};

template <typename Session>
std::unique_ptr<Session> Make(SrtpSession::Direction direction, int tagLength) {
    if constexpr (std::is_same_v<Session, SrtpSession>) {
        return SrtpSession::Create(direction, tagLength, MasterKey, MasterSalt);
    } else {
        return std::make_unique<Session>(direction, tagLength, MasterKey, MasterSalt);
    }
}

// As many sessions as there are legs, one packet of each in turn: with one everything is in the nearest
// cache, with a thousand (500 slots with SRTP on one leg, both directions) little is.
template <typename Session>
class Streams {
 public:
    using Packet = std::array<UBYTE, 192>;

    Streams(SrtpSession::Direction direction, int tagLength, int count)
        : size(static_cast<std::size_t>(media::RtpHeader::FixedSize + 2 * FrameSamples + tagLength)) {
        for (int i = 0; i < count; i++) sessions.push_back(Make<Session>(direction, tagLength));
    }

    std::span<UBYTE> Protect(Packet& packet) {
        const media::RtpHeader header{.payloadType = 8, .sequence = sequence, .ssrc = 1};
        header.Write(std::span(packet).template first<media::RtpHeader::FixedSize>());
        const auto room = std::span(packet).first(size);
        good = Next().ProtectRtp(room) && good;
        return room;
    }
    void Open(Packet& packet) {
        std::size_t length = 0;
        const auto result = Next().UnprotectRtp(std::span(packet).first(size), length);
        good = result == SrtpSession::Result::Ok && good;
    }
    bool IsGood() const { return good; }

 private:
    Session& Next() {
        Session& session = *sessions[at];
        at = (at + 1) % sessions.size();
        if (at == 0) sequence++;
        return session;
    }

    const std::size_t size;
    std::vector<std::unique_ptr<Session>> sessions;
    std::size_t at = 0;
    UWORD sequence = 0;
    bool good = true;
};

template <typename Session>
void SrtpProtect(benchmark::State& state, int tagLength, int count) {
    Streams<Session> streams(SrtpSession::Outbound, tagLength, count);
    typename Streams<Session>::Packet packet{};
    for (auto _ : state) benchmark::DoNotOptimize(streams.Protect(packet));
    if (!streams.IsGood()) state.SkipWithError("refused");
}

template <typename Session>
void SrtpOpen(benchmark::State& state, int tagLength, int count) {
    constexpr std::size_t Batch = 8000;
    Streams<SrtpSession> senders(SrtpSession::Outbound, tagLength, count);
    Streams<Session> receivers(SrtpSession::Inbound, tagLength, count);
    std::vector<typename Streams<Session>::Packet> packets(Batch);
    std::size_t at = Batch;
    for (auto _ : state) {
        if (at == Batch) {
            state.PauseTiming();
            for (auto& packet : packets) senders.Protect(packet);
            at = 0;
            state.ResumeTiming();
        }
        receivers.Open(packets[at++]);
    }
    if (!receivers.IsGood()) state.SkipWithError("refused");
}

template <typename Session>
void RegisterSrtp(const std::string& whose) {
    for (const int tagLength : {4, 10}) {
        for (const int count : {1, 1000}) {
            const std::string which =
                "/tag " + std::to_string(tagLength) + "/" + std::to_string(count) + " sessions/" + whose;
            benchmark::RegisterBenchmark(("SrtpProtect" + which).c_str(), SrtpProtect<Session>, tagLength,
                                         count);
            benchmark::RegisterBenchmark(("SrtpOpen" + which).c_str(), SrtpOpen<Session>, tagLength, count);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    RegisterSrtp<SrtpSession>("ours");
    RegisterSrtp<SrtpPeer>("libsrtp2");
    RatioReporter reporter({"libsrtp2"});
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}

// The measurement of delay against modules that the test plays: their delays and losses are known exactly.
#include <gtest/gtest.h>

#include <deque>
#include <random>

#include "tests/lab/Words.h"
#include "tools/lab/DelayMatcher.h"
#include "tools/lab/SpeechCodec.h"

namespace lab {
namespace {

constexpr std::int64_t NsPerMs = 1'000'000;
constexpr std::int64_t Start = 1'700'000'000'000 * NsPerMs;

// A module without surprises but those that the test asks for: passes audio on in packets of its own size,
// each `delayMs` after the input packet with its last sample.
class PlayedModule {
 public:
    PlayedModule(Codec in, int inMs, Codec out, int outMs, const std::vector<std::int16_t>& words,
                 std::size_t firstPacket = 0)
        : speech(SpeechSource(words).Code(in, inMs)),
          next(firstPacket),
          outSamples(static_cast<std::size_t>(outMs) * SampleRate / 1000),
          decoder(in),
          encoder(out),
          matcher(*speech, firstPacket, SpeechReference::Of(*speech, out)) {}

    // The sender sends its next packet; `arrives`: the module gets it.
    void Send(bool arrives = true) {
        matcher.OnSent(now);
        const std::vector<std::int16_t> audio = decoder.Decode(speech->Packet(next++));
        if (arrives) held.insert(held.end(), audio.begin(), audio.end());
        while (held.size() >= outSamples) Emit();
        now += speech->packetMs * NsPerMs;
    }
    void Send(int packets) {
        for (int i = 0; i < packets; ++i) Send();
    }
    // What comes out of the module from now on gets lost on the way, so many packets of it.
    void LoseOutput(int packets) { losing = packets; }
    // The module begins its output stream anew.
    void Restart() {
        number += 123456;
        restarting = true;
    }

    std::int64_t delayMs = 7;
    DelayResult Finish() { return matcher.Finish(); }

 private:
    void Emit() {
        const std::vector<std::int16_t> audio(held.begin(),
                                              held.begin() + static_cast<std::ptrdiff_t>(outSamples));
        held.erase(held.begin(), held.begin() + static_cast<std::ptrdiff_t>(outSamples));
        const std::vector<UBYTE> payload = encoder.Encode(audio);
        if (losing-- <= 0) {
            matcher.OnReceived(now + delayMs * NsPerMs, number, payload, restarting || first);
            first = false;
            restarting = false;
        }
        ++number;
    }

    const std::shared_ptr<const CodedSpeech> speech;
    std::size_t next;
    const std::size_t outSamples;
    SpeechDecoder decoder;
    SpeechEncoder encoder;
    DelayMatcher matcher;
    std::deque<std::int16_t> held;
    std::int64_t now = Start;
    ULONG number = 0xFFFFFFF0;  // wraps soon
    int losing = 0;
    bool restarting = false;
    bool first = true;
};

struct Kind {
    const char* name;
    Codec in;
    int inMs;
    Codec out;
    int outMs;
};

constexpr Kind Kinds[] = {
    {"A-law", Codec::Alaw, 20, Codec::Alaw, 20},
    {"u-law to A-law", Codec::Ulaw, 20, Codec::Alaw, 20},
    {"30 to 20 ms", Codec::Alaw, 30, Codec::Ulaw, 20},
    {"20 to 30 ms", Codec::Ulaw, 20, Codec::Ulaw, 30},
    {"G.729 to A-law", Codec::G729, 20, Codec::Alaw, 20},
    {"A-law to G.729", Codec::Alaw, 20, Codec::G729, 30},
    {"G.729 to G.729", Codec::G729, 20, Codec::G729, 20},
};

TEST(DelayMatcher, MeasuresASteadyModuleWhateverTheCodecs) {
    const std::vector<std::int16_t> words = test::Words(8, 300);
    for (const Kind& kind : Kinds) {
        PlayedModule module(kind.in, kind.inMs, kind.out, kind.outMs, words, 11);
        module.Send(12000 / kind.inMs);  // once round and more
        const DelayResult result = module.Finish();
        const DelaySummary delay = result.delays.Summarise();
        EXPECT_EQ(result.slips, 0U) << kind.name;
        EXPECT_EQ(result.unmatched, 0U) << kind.name;
        EXPECT_GE(result.received, 12000U / kind.outMs - 1) << kind.name;
        EXPECT_DOUBLE_EQ(delay.minMs, 7) << kind.name;
        EXPECT_DOUBLE_EQ(delay.maxMs, 7) << kind.name;
    }
}

TEST(DelayMatcher, SeesTheDelayOfEachPacket) {
    for (const Kind& kind : {Kinds[0], Kinds[4]}) {
        PlayedModule module(kind.in, kind.inMs, kind.out, kind.outMs, test::Words(8));
        for (int i = 0; i < 300; ++i) {
            module.delayMs = i % 10 == 9 ? 31 : 4;
            module.Send();
        }
        const DelayResult result = module.Finish();
        EXPECT_DOUBLE_EQ(result.delays.PercentileMs(90), 4) << kind.name;
        EXPECT_DOUBLE_EQ(result.delays.PercentileMs(91), 31) << kind.name;
    }
}

TEST(DelayMatcher, IsNotMisledByPacketsLostBehindTheModule) {
    for (const Kind& kind : {Kinds[0], Kinds[4], Kinds[6]}) {
        PlayedModule module(kind.in, kind.inMs, kind.out, kind.outMs, test::Words(8));
        module.Send(200);
        module.LoseOutput(13);
        module.Send(200);
        const DelayResult result = module.Finish();
        EXPECT_EQ(result.slips, 0U) << kind.name;
        EXPECT_EQ(result.received, 387U) << kind.name;
        EXPECT_EQ(result.unmatched, 0U) << kind.name;
        EXPECT_DOUBLE_EQ(result.delays.Summarise().maxMs, 7) << kind.name;
    }
}

TEST(DelayMatcher, FindsAudioThatIsMissingInsideAndMeasuresOn) {
    PlayedModule module(Codec::Alaw, 20, Codec::Alaw, 20, test::Words(8));
    module.Send(100);
    for (int i = 0; i < 3; ++i) module.Send(false);
    module.Send(100);
    module.Send(false);
    module.Send(100);
    const DelayResult result = module.Finish();
    EXPECT_EQ(result.slips, 2U);
    EXPECT_EQ(result.slippedSamples, 4 * 160);
    EXPECT_EQ(result.received, 300U);
    EXPECT_EQ(result.unmatched, 0U);
    EXPECT_DOUBLE_EQ(result.delays.Summarise().maxMs, 7);
    EXPECT_DOUBLE_EQ(result.delays.Summarise().minMs, 7);
}

TEST(DelayMatcher, DoesNotMeasureSilenceAroundASlip) {
    PlayedModule module(Codec::Alaw, 20, Codec::Alaw, 20,
                        test::Words(8, 400));  // 20 packets of every 50 are silent
    for (int i = 0; i < 300; ++i) module.Send(i < 205 || i > 210);
    const DelayResult result = module.Finish();
    EXPECT_EQ(result.slips, 1U);
    EXPECT_EQ(result.slippedSamples, 6 * 160);
    EXPECT_EQ(result.received, 294U);
    EXPECT_EQ(result.unmatched, 14U);  // of that silence
    EXPECT_DOUBLE_EQ(result.delays.Summarise().maxMs, 7);
    EXPECT_DOUBLE_EQ(result.delays.Summarise().minMs, 7);
}

TEST(DelayMatcher, MeasuresOnlyWhatItIsSureOfWhenATranscodedStreamSlips) {
    PlayedModule module(Codec::G729, 20, Codec::Alaw, 20, test::Words(16));
    module.Send(250);
    module.Send(false);
    module.Send(250);
    const DelayResult result = module.Finish();
    EXPECT_EQ(result.slips, 1U);
    EXPECT_EQ(result.slippedSamples, 160);
    EXPECT_NEAR(static_cast<double>(result.unmatched), 300, 5);  // ten seconds less two at either end
    EXPECT_DOUBLE_EQ(result.delays.Summarise().maxMs, 7);
    EXPECT_DOUBLE_EQ(result.delays.Summarise().minMs, 7);
}

TEST(DelayMatcher, FollowsAStreamThatBeginsAnew) {
    PlayedModule module(Codec::Alaw, 20, Codec::Alaw, 20, test::Words(8));
    module.Send(100);
    module.Restart();
    module.Send(100);
    const DelayResult result = module.Finish();
    EXPECT_EQ(result.received, 200U);
    EXPECT_EQ(result.unmatched, 0U);
    EXPECT_DOUBLE_EQ(result.delays.Summarise().maxMs, 7);
}

TEST(DelayMatcher, DoesNotMeasureWhatWasNeverSent) {
    const auto speech = SpeechSource(test::Words(4)).Code(Codec::Alaw, 20);
    DelayMatcher exact(*speech, 0, SpeechReference::Of(*speech, Codec::Alaw));
    DelayMatcher windows(*speech, 0, SpeechReference::Of(*speech, Codec::G729));
    std::mt19937 random(3);
    for (int i = 0; i < 150; ++i) {
        exact.OnSent(Start + i * 20 * NsPerMs);
        windows.OnSent(Start + i * 20 * NsPerMs);
        std::vector<UBYTE> noise(160);
        for (UBYTE& byte : noise) byte = static_cast<UBYTE>(random());
        exact.OnReceived(Start + (i * 20 + 5) * NsPerMs, static_cast<ULONG>(i), noise, i == 0);
        windows.OnReceived(Start + (i * 20 + 5) * NsPerMs, static_cast<ULONG>(i), std::span(noise).first(20),
                           i == 0);
    }
    for (DelayMatcher* matcher : {&exact, &windows}) {
        const DelayResult result = matcher->Finish();
        EXPECT_EQ(result.received, 150U);
        EXPECT_EQ(result.unmatched, 150U);
        EXPECT_EQ(result.delays.Summarise().count, 0U);
    }
}

}  // namespace
}  // namespace lab

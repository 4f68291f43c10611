// The lab's own codecs: G.711 against the rules and against the module's tables, G.729 there and back.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "platform/media/G711.h"
#include "tests/lab/Words.h"
#include "tools/lab/G711Law.h"
#include "tools/lab/SpeechCodec.h"
#include "tools/lab/SpeechMatch.h"

namespace lab {
namespace {

TEST(G711Law, AgreesWithTheModulesTablesForEveryByteAndSample) {
    for (int byte = 0; byte < 256; ++byte) {
        auto code = static_cast<UBYTE>(byte);
        std::int16_t table = 0;
        AlawToLinear(&code, &table, 1);
        EXPECT_EQ(DecodeAlaw(code), table) << byte;
        EXPECT_EQ(EncodeAlaw(DecodeAlaw(code)), code) << byte;
        media::UlawToLinear(&code, &table, 1);
        EXPECT_EQ(DecodeUlaw(code), table) << byte;
        if (code != 0x7F) {  // minus zero
            EXPECT_EQ(EncodeUlaw(DecodeUlaw(code)), code) << byte;
        }
    }
    for (int sample = -32768; sample <= 32767; ++sample) {
        auto linear = static_cast<std::int16_t>(sample);
        UBYTE table = 0;
        LinearToAlaw(&linear, &table, 1);
        ASSERT_EQ(EncodeAlaw(linear), table) << sample;
    }
}

TEST(G711Law, QuantisesFinelyEnough) {
    for (int sample = -32000; sample <= 32000; sample += 7) {
        const auto linear = static_cast<std::int16_t>(sample);
        const int allowed = std::max(16, (std::abs(sample) + 132) / 32 + 1);  // half a step
        ASSERT_NEAR(DecodeAlaw(EncodeAlaw(linear)), sample, allowed);
        ASSERT_NEAR(DecodeUlaw(EncodeUlaw(linear)), sample, allowed);
    }
}

TEST(SpeechCodec, CodesWholeFramesOnly) {
    const std::vector<std::int16_t> words = test::Words(1);
    for (const Codec codec : {Codec::Alaw, Codec::Ulaw, Codec::G729}) {
        const std::vector<UBYTE> coded = SpeechEncoder(codec).Encode(std::span(words).first(250));
        EXPECT_EQ(coded.size(), 3U * static_cast<std::size_t>(FrameBytes(codec))) << CodecName(codec);
        EXPECT_EQ(SpeechDecoder(codec).Decode(coded).size(), 240U) << CodecName(codec);
        EXPECT_TRUE(SpeechDecoder(codec).Decode(std::span(coded).first(9)).empty()) << CodecName(codec);
    }
}

TEST(SpeechMatch, FindsAStretchThroughEveryCodecAndKnowsWhatIsNotThere) {
    const std::vector<std::int16_t> words = test::Words(6);
    const auto speech = SpeechSource(words).Code(Codec::Alaw, 20);
    for (const Codec out : {Codec::Alaw, Codec::Ulaw, Codec::G729}) {
        const auto reference = SpeechReference::Of(*speech, out);
        const std::span heard = std::span(reference->samples).subspan(8000, 8000);
        EXPECT_EQ(FindStretch(*reference, 0, 16000, heard), 8000U) << CodecName(out);
        EXPECT_FALSE(FindStretch(*reference, 16000, 24000, heard)) << CodecName(out);
        EXPECT_FALSE(FindStretch(*reference, 8080, 8000, heard)) << CodecName(out);
        EXPECT_FALSE(FindStretch(*reference, 0, 16000, std::vector<std::int16_t>(8000))) << CodecName(out);
    }
}

}  // namespace
}  // namespace lab

// The decoder against exact results, at every level that the machine has.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>

#include "platform/media/g729/Decoder.h"
#include "tests/g729/AllLevels.h"
#include "tests/g729/Vectors.h"

namespace g729::test {
namespace {

class TestDecoder : public ::testing::TestWithParam<Level> {};
INSTANTIATE_TEST_SUITE_P(AtEachLevel, TestDecoder, ::testing::ValuesIn(AvailableLevels()), NameOfLevel);

Samples DecodeNext(Decoder& decoder, const Octets& octets, bool isErased) {
    Samples samples;
    samples.fill(0x5A5A);
    if (isErased) {
        decoder.DecodeErasure(samples.data());
    } else {
        decoder.Decode(octets.data(), samples.data());
    }
    return samples;
}

// The first difference is enough: all that follows differs with it.
void ExpectExact(const std::vector<Vector>& vectors, Level level) {
    for (const Vector& vector : vectors) {
        ASSERT_EQ(vector.frames.size(), vector.output.size()) << vector.name;
        Decoder decoder(level);
        for (std::size_t i = 0; i < vector.frames.size(); i++) {
            const Samples samples = DecodeNext(decoder, vector.frames[i], vector.isErased[i]);
            ASSERT_EQ(samples, vector.output[i]) << vector.name << " frame " << i << ": " << Shown(samples);
        }
    }
}

TEST_P(TestDecoder, OwnVectorsAreExact) {
    const std::vector<Vector> vectors = OwnVectors();
    ASSERT_EQ(vectors.size(), 15u);
    ExpectExact(vectors, GetParam());
}

TEST_P(TestDecoder, StandardVectorsAreExact) {
    const std::vector<Vector> vectors = StandardVectors();
    if (vectors.empty()) GTEST_SKIP() << "no conformance vectors here";
    ExpectExact(vectors, GetParam());
}

// Streams of unlike kinds, with losses: noise in all bits, spectra that stay, one bit changed at a time,
// extremes.
class HostileStream {
 public:
    explicit HostileStream(unsigned seed) : random(seed), kind(seed % 4) { Scatter(0, FrameBytes); }

    const Octets& Next() {
        constexpr int Excitation = 3;  // first octet behind the spectrum, roughly
        if (kind == 0 || random() % 20 == 0) {
            Scatter(0, FrameBytes);
        } else if (kind == 1) {
            Scatter(Excitation, FrameBytes);
        } else if (kind == 2) {
            octets[random() % FrameBytes] ^= static_cast<std::uint8_t>(1u << random() % 8);
        } else {
            for (std::uint8_t& octet : octets) octet = random() % 2 ? 0xFF : 0;
            octets[random() % FrameBytes] = static_cast<std::uint8_t>(random());
        }
        return octets;
    }

    bool IsErased() { return random() % 16 == 0; }

 private:
    void Scatter(int from, int to) {
        for (int i = from; i < to; i++)
            octets[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(random());
    }

    std::mt19937 random;
    unsigned kind;
    Octets octets{};
};

// KESTREL_G729_FRAMES sets how many; the suite tries few.
TEST(TestDecoderLevels, AgreeOnRandomFrames) {
    constexpr int FramesEach = 100;
    const char* wanted = std::getenv("KESTREL_G729_FRAMES");
    const long frames = wanted ? std::strtol(wanted, nullptr, 10) : 20000;
    const std::vector<Level> levels = AvailableLevels();
    for (long seed = 0; seed * FramesEach < frames; seed++) {
        HostileStream stream(static_cast<unsigned>(seed));
        std::vector<Decoder> decoders(levels.begin(), levels.end());
        for (int i = 0; i < FramesEach; i++) {
            const Octets octets = stream.Next();
            const bool isErased = stream.IsErased();
            const Samples first = DecodeNext(decoders[0], octets, isErased);
            for (std::size_t k = 1; k < levels.size(); k++) {
                ASSERT_EQ(DecodeNext(decoders[k], octets, isErased), first)
                    << LevelName(levels[k]) << " stream " << seed << " frame " << i << ": " << Shown(octets);
            }
        }
    }
}

// What was lost must not matter, and a stream that goes on after a loss comes back.
TEST_P(TestDecoder, LossesFadeAndEnd) {
    std::vector<Vector> vectors = OwnVectors();
    const auto speech = std::find_if(vectors.begin(), vectors.end(),
                                     [](const Vector& vector) { return vector.name == "speech_m"; });
    ASSERT_NE(speech, vectors.end());
    Decoder decoder(GetParam());
    constexpr std::size_t Loud = 100;
    for (std::size_t i = 0; i < Loud; i++) DecodeNext(decoder, speech->frames[i], false);
    Samples samples{};
    for (int i = 0; i < 200; i++) samples = DecodeNext(decoder, {}, true);
    for (const std::int16_t sample : samples) EXPECT_LT(std::abs(sample), 100);
    double error = 0;
    double energy = 0;
    for (std::size_t i = Loud; i < speech->frames.size(); i++) {
        samples = DecodeNext(decoder, speech->frames[i], false);
        for (std::size_t n = 0; i > Loud + 50 && n < samples.size(); n++) {
            error += std::pow(samples[n] - speech->output[i][n], 2);
            energy += std::pow(speech->output[i][n], 2);
        }
    }
    EXPECT_LT(error, energy / 10);
}

}  // namespace
}  // namespace g729::test

// The coder against exact results, at every level that the machine has.
#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/media/g729/Encoder.h"
#include "tests/g729/AllLevels.h"
#include "tests/g729/Signals.h"
#include "tests/g729/Vectors.h"

namespace g729::test {
namespace {

class TestEncoder : public ::testing::TestWithParam<Level> {};
INSTANTIATE_TEST_SUITE_P(AtEachLevel, TestEncoder, ::testing::ValuesIn(AvailableLevels()), NameOfLevel);

Octets EncodeNext(Encoder& encoder, const Samples& samples) {
    Octets octets;
    octets.fill(0x5A);
    encoder.Encode(samples.data(), octets.data());
    return octets;
}

// How many of the vectors have an input. The first difference is enough: all that follows differs with it.
int ExpectExact(const std::vector<Vector>& vectors, Level level) {
    int coded = 0;
    for (const Vector& vector : vectors) {
        if (vector.input.empty()) continue;
        coded++;
        EXPECT_EQ(vector.frames.size(), vector.input.size()) << vector.name;
        Encoder encoder(level);
        for (std::size_t i = 0; i < vector.frames.size(); i++) {
            const Octets octets = EncodeNext(encoder, vector.input[i]);
            EXPECT_EQ(octets, vector.frames[i]) << vector.name << " frame " << i << ": " << Shown(octets);
            if (octets != vector.frames[i]) break;
        }
    }
    return coded;
}

TEST_P(TestEncoder, OwnVectorsAreExact) {
    EXPECT_EQ(ExpectExact(OwnVectors(), GetParam()), 11);
}

TEST_P(TestEncoder, StandardVectorsAreExact) {
    const std::vector<Vector> vectors = StandardVectors();
    if (vectors.empty()) GTEST_SKIP() << "no conformance vectors here";
    EXPECT_EQ(ExpectExact(vectors, GetParam()), 7);
}

// Each coder has all of its state in itself.
TEST_P(TestEncoder, CodersDoNotKnowOfEachOther) {
    std::vector<Vector> vectors = OwnVectors();
    std::vector<Encoder> encoders;
    for (std::size_t i = 0; i < vectors.size(); i++) encoders.emplace_back(GetParam());
    for (std::size_t frame = 0; frame < 200; frame++) {
        for (std::size_t i = 0; i < vectors.size(); i++) {
            if (frame >= vectors[i].input.size()) continue;
            ASSERT_EQ(EncodeNext(encoders[i], vectors[i].input[frame]), vectors[i].frames[frame])
                << vectors[i].name << " frame " << frame;
        }
    }
}

// KESTREL_G729_FRAMES sets how many; the suite tries few.
TEST(TestEncoderLevels, AgreeOnRandomSignals) {
    constexpr int FramesEach = 50;
    const char* wanted = std::getenv("KESTREL_G729_FRAMES");
    const long frames = wanted ? std::strtol(wanted, nullptr, 10) : 10000;
    const std::vector<Level> levels = AvailableLevels();
    for (long seed = 0; seed * FramesEach < frames; seed++) {
        Signals signals(static_cast<unsigned>(seed));
        std::vector<Encoder> encoders(levels.begin(), levels.end());
        Samples samples{};
        for (int i = 0; i < FramesEach; i++) {
            signals.FillSound(samples.data(), FrameSamples);
            const Octets first = EncodeNext(encoders[0], samples);
            for (std::size_t k = 1; k < levels.size(); k++) {
                ASSERT_EQ(EncodeNext(encoders[k], samples), first)
                    << LevelName(levels[k]) << " signal " << seed << " frame " << i << ": " << Shown(samples);
            }
        }
    }
}

}  // namespace
}  // namespace g729::test

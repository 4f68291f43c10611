#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "tools/lab/demo/Comparison.h"

namespace lab {
namespace {

// Noise that grows louder and softer, so that neither wave form nor loudness repeats.
std::vector<std::int16_t> Speechlike(unsigned seed) {
    std::mt19937 random(seed);
    std::vector<std::int16_t> samples(8000);
    for (size_t i = 0; i < samples.size(); ++i) {
        const double loudness = 1 + std::sin(static_cast<double>(i) / (900.0 + seed));
        samples[i] = static_cast<std::int16_t>(loudness * (static_cast<int>(random() % 8001) - 4000));
    }
    return samples;
}

TEST(Comparison, FindsADelayedAndSofterCopy) {
    const std::vector<std::int16_t> original = Speechlike(1);
    std::vector<std::int16_t> copy(123, 0);
    for (const std::int16_t sample : original) copy.push_back(static_cast<std::int16_t>(sample / 2));
    const Comparison result = Compare(original, copy, 400);
    EXPECT_EQ(result.lag, 123);
    EXPECT_EQ(result.samples, original.size());
    EXPECT_GT(result.waveform, 0.999);
    EXPECT_GT(result.envelope, 0.999);
    EXPECT_NEAR(result.gain, -6.02, 0.05);
}

TEST(Comparison, TellsStrangersSilenceAndScrapsFromACopy) {
    const std::vector<std::int16_t> original = Speechlike(1);
    EXPECT_LT(Compare(original, Speechlike(2), 400).waveform, 0.1);
    const std::vector<std::int16_t> silence(8000, 0);
    EXPECT_EQ(Compare(original, silence, 400).waveform, 0);
    EXPECT_EQ(Compare(silence, original, 400).gain, 0);
    EXPECT_EQ(Compare(original, std::span(original).first(100), 400).samples, 0u);

    // The same loudness with other samples: the wave form differs, the envelope does not.
    std::vector<std::int16_t> scrambled = original;
    for (size_t i = 0; i + 1 < scrambled.size(); i += 2) std::swap(scrambled[i], scrambled[i + 1]);
    const Comparison result = Compare(original, scrambled, 0);
    EXPECT_LT(result.waveform, 0.2);
    EXPECT_GT(result.envelope, 0.99);
}

TEST(Comparison, MeasuresTonesApart) {
    std::vector<std::int16_t> mix = MakeTone(430, 1, -18);
    const std::vector<std::int16_t> other = MakeTone(710, 1, -12);
    for (size_t i = 0; i < mix.size(); ++i) mix[i] = static_cast<std::int16_t>(mix[i] + other[i]);
    EXPECT_NEAR(ToneLevel(mix, 430), -18, 0.2);
    EXPECT_NEAR(ToneLevel(mix, 710), -12, 0.2);
    EXPECT_LT(ToneLevel(mix, 1130), -70);
    EXPECT_EQ(ToneLevel({}, 430), -120);
    EXPECT_EQ(ToneLevel(std::vector<std::int16_t>(800, 0), 430), -120);
}

TEST(Comparison, TellsNoiseFromOrderByEntropy) {
    std::vector<std::uint8_t> bytes(256 * 100);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i);
    EXPECT_NEAR(Entropy(bytes), 8, 1e-9);
    for (std::uint8_t& byte : bytes) byte &= 1;
    EXPECT_NEAR(Entropy(bytes), 1, 1e-9);
    EXPECT_EQ(Entropy({}), 0);
}

}  // namespace
}  // namespace lab

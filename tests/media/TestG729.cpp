// G.729 there and back on a made-up voice, alone and with another coder or decoder at the far end, with
// losses, and the decoder on what no coder sends.
#include <gtest/gtest.h>

// The library's headers leave their C linkage to C++ callers.
extern "C" {
#include <bcg729/decoder.h>
#include <bcg729/encoder.h>
}

#include <cmath>
#include <random>
#include <vector>

#include "platform/media/G711.h"
#include "platform/media/G729Coder.h"
#include "platform/media/G729Decoder.h"

namespace {

constexpr int Rate = 8000;
constexpr int Frame = 80;

// A vowel whose pitch glides from 100 to 160 Hz: a pulse train through three resonances.
std::vector<UBYTE> Voice(int samples) {
    struct Resonance {
        double frequency, bandwidth, y1 = 0, y2 = 0;
        double Run(double x) {
            const double r = std::exp(-M_PI * bandwidth / Rate);
            const double y = x + 2 * r * std::cos(2 * M_PI * frequency / Rate) * y1 - r * r * y2;
            y2 = y1;
            return y1 = y;
        }
    } formants[] = {{650, 80}, {1100, 90}, {2400, 120}};
    std::vector<double> wave;
    double phase = 0;
    double peak = 0;
    for (int i = 0; i < samples; i++) {
        phase += (100 + 60.0 * i / samples) / Rate;
        double x = phase >= 1 ? 1 : 0;
        phase -= std::floor(phase);
        for (Resonance& formant : formants) x = formant.Run(x);
        wave.push_back(x);
        peak = std::max(peak, std::fabs(x));
    }
    std::vector<std::int16_t> linear(wave.size());
    for (size_t i = 0; i < wave.size(); i++) linear[i] = static_cast<std::int16_t>(16000 * wave[i] / peak);
    std::vector<UBYTE> alaw(linear.size());
    LinearToAlaw(linear.data(), alaw.data(), samples);
    return alaw;
}

std::vector<double> Linear(std::vector<UBYTE> alaw) {
    std::vector<std::int16_t> linear(alaw.size());
    AlawToLinear(alaw.data(), linear.data(), static_cast<int>(alaw.size()));
    return {linear.begin(), linear.end()};
}

double Product(const std::vector<double>& a, const std::vector<double>& b, size_t delay) {
    double sum = 0;
    for (size_t i = Rate / 10; i + delay < b.size(); i++) sum += a[i] * b[i + delay];
    return sum;
}

constexpr int Samples = 2 * Rate;

std::vector<UBYTE> Encoded(std::vector<UBYTE> voice) {
    std::vector<UBYTE> frames(voice.size() / 8);
    G729Coder().Encode(voice.data(), frames.data(), static_cast<int>(voice.size()));
    return frames;
}

std::vector<UBYTE> EncodedByOther(const std::vector<UBYTE>& voice) {
    std::vector<std::int16_t> linear(voice.size());
    AlawToLinear(const_cast<UBYTE*>(voice.data()), linear.data(), static_cast<int>(voice.size()));
    std::vector<UBYTE> frames(voice.size() / 8);
    auto* channel = initBcg729EncoderChannel(0);
    for (size_t i = 0; i < frames.size() / 10; i++) {
        UBYTE length = 0;
        bcg729Encoder(channel, &linear[i * Frame], &frames[i * 10], &length);
    }
    closeBcg729EncoderChannel(channel);
    return frames;
}

std::vector<double> Decoded(std::vector<UBYTE> frames) {
    std::vector<UBYTE> samples(frames.size() * 8);
    G729Decoder().Decode(frames.data(), samples.data(), static_cast<int>(frames.size()));
    return Linear(samples);
}

bool IsLost(size_t frame) {
    return frame % 10 == 9;
}

std::vector<double> DecodedByOther(const std::vector<UBYTE>& frames, bool withLosses = false) {
    std::vector<std::int16_t> samples(frames.size() * 8);
    auto* channel = initBcg729DecoderChannel();
    for (size_t i = 0; i < frames.size() / 10; i++) {
        bcg729Decoder(channel, &frames[i * 10], 10, withLosses && IsLost(i), 0, 0, &samples[i * Frame]);
    }
    closeBcg729DecoderChannel(channel);
    return {samples.begin(), samples.end()};
}

// In shape and in level.
void ExpectAlike(const std::vector<double>& before, const std::vector<double>& after, double correlation) {
    double best = 0;
    for (size_t delay = 0; delay < 160; delay++) best = std::max(best, Product(before, after, delay));
    const double energyBefore = Product(before, before, 0);
    const double energyAfter = Product(after, after, 0);
    EXPECT_GT(best / std::sqrt(energyBefore * energyAfter), correlation);
    EXPECT_NEAR(10 * std::log10(energyAfter / energyBefore), 0, 1.5);
}

TEST(TestG729, VoiceSurvivesInPacketsOfAnyLength) {
    std::vector<UBYTE> input = Voice(Samples);
    std::vector<UBYTE> frames(Samples / 8);
    std::vector<UBYTE> output(Samples);
    G729Coder coder;
    G729Decoder decoder;
    // In packets of 20 and 30 ms, as they come from a call.
    for (int at = 0, packet = 2 * Frame; at < Samples; at += packet, packet ^= (2 * Frame) ^ (3 * Frame)) {
        packet = std::min(packet, Samples - at);
        EXPECT_EQ(coder.Encode(&input[static_cast<size_t>(at)], &frames[static_cast<size_t>(at / 8)], packet),
                  packet / 8);
        EXPECT_EQ(decoder.Decode(&frames[static_cast<size_t>(at / 8)], &output[static_cast<size_t>(at)],
                                 packet / 8),
                  packet);
    }
    ExpectAlike(Linear(input), Linear(output), 0.85);
    EXPECT_EQ(frames, Encoded(input));
    EXPECT_EQ(Linear(output), Decoded(frames));
}

TEST(TestG729, UnderstandsAndIsUnderstoodByAnother) {
    const std::vector<UBYTE> voice = Voice(Samples);
    const std::vector<UBYTE> own = Encoded(voice);
    const std::vector<UBYTE> other = EncodedByOther(voice);
    ExpectAlike(Linear(voice), DecodedByOther(own), 0.85);
    ExpectAlike(Linear(voice), Decoded(other), 0.85);
    ExpectAlike(DecodedByOther(own), Decoded(own), 0.98);
    ExpectAlike(DecodedByOther(other), Decoded(other), 0.98);
}

TEST(TestG729, ConcealsLossesAsAnotherDoes) {
    std::vector<UBYTE> frames = Encoded(Voice(Samples));
    std::vector<UBYTE> output(Samples);
    G729Decoder decoder;
    for (size_t i = 0; i < frames.size() / 10; i++) {
        const int decoded = IsLost(i) ? decoder.DecodeErasure(&output[i * Frame])
                                      : decoder.Decode(&frames[i * 10], &output[i * Frame], 10);
        EXPECT_EQ(decoded, Frame);
    }
    ExpectAlike(DecodedByOther(frames, true), Linear(output), 0.9);
}

TEST(TestG729, EveryLengthFillsItsRoomAndNothingElse) {
    constexpr UBYTE Guard = 0x77;
    std::mt19937 random(729);
    G729Decoder decoder;
    for (int count = -1; count <= 65; count++) {
        const int room = 8 * std::max(count, 0);
        const int whole = std::max(count, 0) / 10 * Frame;
        std::vector<UBYTE> frames(static_cast<size_t>(std::max(count, 0)) + 1);
        for (UBYTE& byte : frames) byte = static_cast<UBYTE>(random());
        std::vector<UBYTE> samples(static_cast<size_t>(room) + 1, Guard);
        EXPECT_EQ(decoder.Decode(frames.data(), samples.data(), count), whole);
        EXPECT_EQ(samples.back(), Guard);
        const std::vector<double> linear = Linear(samples);
        for (int i = whole; i < room; i++) EXPECT_EQ(linear[static_cast<size_t>(i)], 8) << count;
    }
    G729Coder coder;
    for (int count = -1; count < 3 * Frame; count++) {
        std::vector<UBYTE> samples(static_cast<size_t>(std::max(count, 0)) + 1, 0xD5);
        std::vector<UBYTE> frames(31, Guard);
        const int written = std::max(count, 0) / Frame * 10;
        EXPECT_EQ(coder.Encode(samples.data(), frames.data(), count), written);
        EXPECT_EQ(frames[static_cast<size_t>(written)], Guard);
    }
}

TEST(TestG729, DecoderIsItselfAgainAfterNoise) {
    std::mt19937 random(1);
    G729Decoder decoder;
    std::vector<UBYTE> noise(10);
    std::vector<UBYTE> samples(Frame);
    for (int i = 0; i < 3000; i++) {
        for (UBYTE& byte : noise) byte = static_cast<UBYTE>(random());
        decoder.Decode(noise.data(), samples.data(), 10);
    }
    std::vector<UBYTE> silence(Rate, 0xD5);
    std::vector<UBYTE> frames(Rate / 8);
    std::vector<UBYTE> output(Rate);
    G729Coder coder;
    coder.Encode(silence.data(), frames.data(), Rate);
    decoder.Decode(frames.data(), output.data(), Rate / 8);
    const std::vector<double> linear = Linear(output);
    double peak = 0;
    for (size_t i = Rate / 2; i < Rate; i++) peak = std::max(peak, std::fabs(linear[i]));
    EXPECT_LT(peak, 200);
}

}  // namespace

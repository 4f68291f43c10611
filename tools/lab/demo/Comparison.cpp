// How alike two recordings of the same speech are.
#include "tools/lab/demo/Comparison.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace lab {

namespace {

constexpr double SampleRate = 8000;
constexpr double FullScale = 32768;
constexpr size_t EnvelopeStep = 80;
constexpr size_t LeastSamples = 800;
constexpr double Silence = -120;

double Correlation(std::span<const double> a, std::span<const double> b) {
    const size_t count = std::min(a.size(), b.size());
    double meanA = 0;
    double meanB = 0;
    for (size_t i = 0; i < count; ++i) {
        meanA += a[i] / static_cast<double>(count);
        meanB += b[i] / static_cast<double>(count);
    }
    double ab = 0;
    double aa = 0;
    double bb = 0;
    for (size_t i = 0; i < count; ++i) {
        ab += (a[i] - meanA) * (b[i] - meanB);
        aa += (a[i] - meanA) * (a[i] - meanA);
        bb += (b[i] - meanB) * (b[i] - meanB);
    }
    return aa > 0 && bb > 0 ? ab / std::sqrt(aa * bb) : 0;
}

std::vector<double> Envelope(std::span<const double> samples) {
    std::vector<double> envelope;
    for (size_t at = 0; at + EnvelopeStep <= samples.size(); at += EnvelopeStep) {
        double energy = 0;
        for (const double sample : samples.subspan(at, EnvelopeStep)) energy += sample * sample;
        envelope.push_back(std::sqrt(energy / EnvelopeStep));
    }
    return envelope;
}

double Energy(std::span<const double> samples) {
    double energy = 0;
    for (const double sample : samples) energy += sample * sample;
    return energy;
}

int BestLag(std::span<const double> original, std::span<const double> copy, int maxLag) {
    int best = 0;
    double most = -1;
    for (int lag = 0; lag <= maxLag && static_cast<size_t>(lag) + LeastSamples < copy.size(); ++lag) {
        const auto shifted = copy.subspan(static_cast<size_t>(lag));
        const size_t count = std::min(original.size(), shifted.size());
        double product = 0;
        for (size_t i = 0; i < count; ++i) product += original[i] * shifted[i];
        if (product > most) {
            most = product;
            best = lag;
        }
    }
    return best;
}

double Decibels(double ratio) {
    return ratio > 1e-12 ? std::max(Silence, 10 * std::log10(ratio)) : Silence;
}

}  // namespace

Comparison Compare(std::span<const std::int16_t> original, std::span<const std::int16_t> copy, int maxLag) {
    Comparison result;
    if (original.size() < LeastSamples || copy.size() < LeastSamples) return result;
    const std::vector<double> a(original.begin(), original.end());
    const std::vector<double> b(copy.begin(), copy.end());
    result.lag = BestLag(a, b, maxLag);
    const auto shifted = std::span(b).subspan(static_cast<size_t>(result.lag));
    result.samples = std::min(a.size(), shifted.size());
    const auto left = std::span(a).first(result.samples);
    const auto right = shifted.first(result.samples);
    result.waveform = Correlation(left, right);
    result.envelope = Correlation(Envelope(left), Envelope(right));
    if (Energy(left) > 0) result.gain = Decibels(Energy(right) / Energy(left));
    return result;
}

double ToneLevel(std::span<const std::int16_t> samples, double frequency) {
    // Goertzel's recurrence under a Hann window, so that a neighbouring tone does not leak in.
    const double omega = 2 * std::numbers::pi * frequency / SampleRate;
    const auto count = static_cast<double>(samples.size());
    double s1 = 0;
    double s2 = 0;
    double windowSum = 0;
    for (size_t i = 0; i < samples.size(); ++i) {
        const double window = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * static_cast<double>(i) / count);
        const double s0 = window * samples[i] / FullScale + 2 * std::cos(omega) * s1 - s2;
        s2 = s1;
        s1 = s0;
        windowSum += window;
    }
    if (windowSum <= 0) return Silence;
    const double power = s1 * s1 + s2 * s2 - 2 * std::cos(omega) * s1 * s2;
    return Decibels(4 * power / (windowSum * windowSum));
}

std::vector<std::int16_t> MakeTone(double frequency, double seconds, double level) {
    std::vector<std::int16_t> tone(static_cast<size_t>(seconds * SampleRate));
    const double amplitude = (FullScale - 1) * std::pow(10, level / 20);
    for (size_t i = 0; i < tone.size(); ++i) {
        const double phase = 2 * std::numbers::pi * frequency * static_cast<double>(i) / SampleRate;
        tone[i] = static_cast<std::int16_t>(std::lround(amplitude * std::sin(phase)));
    }
    return tone;
}

double Level(std::span<const std::int16_t> samples) {
    double energy = 0;
    for (const double sample : samples) energy += sample * sample / (FullScale * FullScale);
    return samples.empty() ? Silence : Decibels(2 * energy / static_cast<double>(samples.size()));
}

double Entropy(std::span<const std::uint8_t> bytes) {
    std::array<size_t, 256> counts{};
    for (const std::uint8_t byte : bytes) ++counts[byte];
    double bits = 0;
    for (const size_t count : counts) {
        if (count == 0) continue;
        const double share = static_cast<double>(count) / static_cast<double>(bytes.size());
        bits -= share * std::log2(share);
    }
    return bits;
}

}  // namespace lab

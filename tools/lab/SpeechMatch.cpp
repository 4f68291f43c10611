#include "tools/lab/SpeechMatch.h"

#include <cmath>

#include "tools/lab/SpeechCodec.h"

namespace lab {

namespace {
constexpr double SmallestSteps = 32.0 * 32.0;  // energy of a sample that two laws may differ by near zero
constexpr double ErrorShare = 0.01;
constexpr double LoudRms = 300.0;

std::int64_t Product(std::span<const std::int16_t> a, std::span<const std::int16_t> b) {
    std::int64_t sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i) sum += std::int64_t{a[i]} * b[i];
    return sum;
}

double Correlation(std::span<const std::int16_t> expected, std::span<const std::int16_t> heard,
                   double heardEnergy) {
    const double scale = std::sqrt(static_cast<double>(Product(expected, expected)) * heardEnergy);
    return scale > 0 ? static_cast<double>(Product(expected, heard)) / scale : 0;
}

}  // namespace

std::shared_ptr<const SpeechReference> SpeechReference::Of(const CodedSpeech& sent, Codec out) {
    return std::make_shared<SpeechReference>(
        SpeechReference{sent.codec, out, ThroughModule(sent.samples, sent.codec, out)});
}

bool IsSamePacket(const SpeechReference& reference, std::size_t position,
                  std::span<const std::int16_t> heard) {
    double error = 0;
    double energy = 0;
    for (std::size_t i = 0; i < heard.size(); ++i) {
        const double expected = reference.At(position + i);
        energy += expected * expected;
        error += (expected - heard[i]) * (expected - heard[i]);
    }
    return error <= ErrorShare * energy + SmallestSteps * static_cast<double>(heard.size());
}

bool IsLoud(std::span<const std::int16_t> audio) {
    double energy = 0;
    for (const double sample : audio) energy += sample * sample;
    return energy >= LoudRms * LoudRms * static_cast<double>(audio.size());
}

std::optional<std::size_t> FindStretch(const SpeechReference& reference, std::size_t first, std::size_t last,
                                       std::span<const std::int16_t> heard) {
    if (last < first) return std::nullopt;
    std::vector<std::int16_t> around(last - first + heard.size());
    for (std::size_t i = 0; i < around.size(); ++i) around[i] = reference.At(first + i);
    const auto heardEnergy = static_cast<double>(Product(heard, heard));
    std::optional<std::size_t> best;
    double bestScore = Resemblance;
    for (std::size_t shift = 0; shift <= last - first; shift += FrameSamples) {
        const double score = Correlation(std::span(around).subspan(shift, heard.size()), heard, heardEnergy);
        if (score < bestScore) continue;
        bestScore = score;
        best = first + shift;
    }
    return best;
}

}  // namespace lab

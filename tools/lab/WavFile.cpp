#include "tools/lab/WavFile.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>

#include "tools/lab/Codec.h"

namespace lab {

namespace {

constexpr int KernelHalfWidth = 16;  // zero crossings of the resampling kernel on each side
constexpr sf_count_t LongestInput = 100'000'000;

using SoundFile = std::unique_ptr<SNDFILE, int (*)(SNDFILE*)>;

std::vector<float> MixToMono(std::span<const float> interleaved, int channels) {
    std::vector<float> mono(interleaved.size() / static_cast<std::size_t>(channels));
    for (std::size_t i = 0; i < mono.size(); ++i) {
        float sum = 0;
        for (int c = 0; c < channels; ++c) sum += interleaved[i * static_cast<std::size_t>(channels) + c];
        mono[i] = sum / static_cast<float>(channels);
    }
    return mono;
}

// A windowed sinc whose cut-off is the lower of the two Nyquist frequencies.
double Kernel(double distance, double cutoff) {
    const double x = distance * cutoff;
    if (std::abs(x) >= KernelHalfWidth) return 0;
    const double window = 0.5 + 0.5 * std::cos(std::numbers::pi * x / KernelHalfWidth);
    const double angle = std::numbers::pi * x;
    return window * cutoff * (std::abs(x) < 1e-9 ? 1.0 : std::sin(angle) / angle);
}

std::vector<float> Resample(const std::vector<float>& in, int rate) {
    if (rate == SampleRate) return in;
    const double step = static_cast<double>(rate) / SampleRate;
    const double cutoff = std::min(1.0, 1.0 / step);
    const auto reach = static_cast<long>(std::ceil(KernelHalfWidth / cutoff));
    std::vector<float> out(static_cast<std::size_t>(static_cast<double>(in.size()) / step));
    for (std::size_t i = 0; i < out.size(); ++i) {
        const double centre = static_cast<double>(i) * step;
        const long middle = std::lround(centre);
        double sum = 0;
        for (long k = std::max(0L, middle - reach); k <= std::min<long>(middle + reach, in.size() - 1); ++k)
            sum += in[static_cast<std::size_t>(k)] * Kernel(static_cast<double>(k) - centre, cutoff);
        out[i] = static_cast<float>(sum);
    }
    return out;
}

std::int16_t ToSample(float value) {
    return static_cast<std::int16_t>(std::lround(std::clamp(value, -1.0F, 1.0F) * 32767.0F));
}

bool IsTelephony(const SF_INFO& info) {
    return info.channels == 1 && info.samplerate == SampleRate &&
           (info.format & SF_FORMAT_SUBMASK) == SF_FORMAT_PCM_16;
}

// Samples as they stand, where nothing has to be converted.
std::vector<std::int16_t> ReadExactly(const SoundFile& file, sf_count_t frames) {
    std::vector<std::int16_t> samples(static_cast<std::size_t>(frames));
    samples.resize(static_cast<std::size_t>(sf_readf_short(file.get(), samples.data(), frames)));
    return samples;
}

}  // namespace

std::optional<std::vector<std::int16_t>> ReadSpeech(const std::string& path, std::string& error) {
    SF_INFO info{};
    const SoundFile file(sf_open(path.c_str(), SFM_READ, &info), sf_close);
    if (!file) {
        error = "Cannot read the sound file " + path + ": " + sf_strerror(nullptr);
        return std::nullopt;
    }
    if (info.frames <= 0 || info.frames > LongestInput || info.channels <= 0) {
        error = "The sound file " + path + " holds no audio, or too much of it.";
        return std::nullopt;
    }
    if (IsTelephony(info)) return ReadExactly(file, info.frames);
    std::vector<float> interleaved(static_cast<std::size_t>(info.frames) * info.channels);
    interleaved.resize(static_cast<std::size_t>(sf_readf_float(file.get(), interleaved.data(), info.frames)) *
                       info.channels);
    const std::vector<float> mono = Resample(MixToMono(interleaved, info.channels), info.samplerate);
    std::vector<std::int16_t> samples(mono.size());
    std::transform(mono.begin(), mono.end(), samples.begin(), ToSample);
    return samples;
}

bool WriteWav(const std::string& path, std::span<const std::int16_t> samples, std::string& error) {
    SF_INFO info{};
    info.samplerate = SampleRate;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    const SoundFile file(sf_open(path.c_str(), SFM_WRITE, &info), sf_close);
    if (!file) {
        error = "Cannot write the sound file " + path + ": " + sf_strerror(nullptr);
        return false;
    }
    const auto count = static_cast<sf_count_t>(samples.size());
    if (sf_writef_short(file.get(), samples.data(), count) == count) return true;
    error = "Cannot write the sound file " + path + ": " + sf_strerror(file.get());
    return false;
}

}  // namespace lab

#include "tools/lab/CodecFiles.h"

#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string_view>

#include "tools/lab/WavFile.h"

namespace lab {

namespace {

constexpr std::string_view Headers[] = {"RIFF", "RF64", "fLaC", "OggS", "FORM", ".snd"};

std::optional<std::string> ReadAll(const std::string& path, std::string& error) {
    std::ifstream file(path, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(file), {}};
    if (file.is_open() && !file.bad() && !bytes.empty()) return bytes;
    error = "Cannot read " + path + ": " +
            (file.is_open() && !file.bad() ? "it is empty." : std::strerror(errno));
    return std::nullopt;
}

bool WriteAll(const std::string& path, const std::string& bytes, std::string& error) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (file) return true;
    error = "Cannot write " + path + ": " + std::strerror(errno);
    return false;
}

bool HasHeader(const std::string& bytes) {
    for (const std::string_view header : Headers) {
        if (std::string_view(bytes).starts_with(header)) return true;
    }
    return false;
}

}  // namespace

std::optional<std::vector<std::int16_t>> ReadLinear(const std::string& path, std::string& error) {
    const std::optional<std::string> bytes = ReadAll(path, error);
    if (!bytes) return std::nullopt;
    if (HasHeader(*bytes)) return ReadSpeech(path, error);
    if (bytes->size() % 2 != 0) {
        error =
            path + " holds " + std::to_string(bytes->size()) + " bytes: no whole number of 16-bit samples.";
        return std::nullopt;
    }
    std::vector<std::int16_t> samples(bytes->size() / 2);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const auto low = static_cast<std::uint8_t>((*bytes)[2 * i]);
        const auto high = static_cast<std::uint8_t>((*bytes)[2 * i + 1]);
        samples[i] = static_cast<std::int16_t>(low | high << 8);
    }
    return samples;
}

bool WriteLinear(const std::string& path, std::span<const std::int16_t> samples, std::string& error) {
    if (path.ends_with(".wav")) return WriteWav(path, samples, error);
    std::string bytes;
    for (const std::int16_t sample : samples) {
        bytes.push_back(static_cast<char>(sample & 0xFF));
        bytes.push_back(static_cast<char>(sample >> 8));
    }
    return WriteAll(path, bytes, error);
}

std::optional<std::vector<G729Frame>> ReadFrames(const std::string& path, std::string& error) {
    const std::optional<std::string> bytes = ReadAll(path, error);
    if (!bytes) return std::nullopt;
    if (bytes->size() % sizeof(G729Frame) != 0) {
        error =
            path + " holds " + std::to_string(bytes->size()) + " bytes: no whole number of 10-byte frames.";
        return std::nullopt;
    }
    std::vector<G729Frame> frames(bytes->size() / sizeof(G729Frame));
    std::memcpy(frames.data(), bytes->data(), bytes->size());
    return frames;
}

bool WriteFrames(const std::string& path, std::span<const G729Frame> frames, std::string& error) {
    std::string bytes;
    for (const G729Frame& frame : frames) bytes.append(frame.begin(), frame.end());
    return WriteAll(path, bytes, error);
}

std::optional<std::vector<bool>> ReadErasures(const std::string& path, std::size_t frames,
                                              std::string& error) {
    const std::optional<std::string> text = ReadAll(path, error);
    if (!text) return std::nullopt;
    std::vector<bool> isErased;
    for (const char mark : *text) {
        if (std::isspace(static_cast<unsigned char>(mark))) continue;
        if (mark != '0' && mark != '1') {
            error = path + " names lost frames by 0 and 1; '" + std::string(1, mark) + "' is neither.";
            return std::nullopt;
        }
        isErased.push_back(mark == '1');
    }
    if (isErased.size() == frames) return isErased;
    error = path + " speaks of " + std::to_string(isErased.size()) + " frames, but there are " +
            std::to_string(frames) + ".";
    return std::nullopt;
}

}  // namespace lab

#include "tests/g729/Vectors.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace g729::test {

namespace {

namespace fs = std::filesystem;

std::vector<char> ReadAll(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Whole frames of a file; a rest that fills none is left out.
template <typename Frame>
std::vector<Frame> ReadFrames(const fs::path& path) {
    const std::vector<char> bytes = ReadAll(path);
    std::vector<Frame> frames(bytes.size() / sizeof(Frame));
    if (!frames.empty()) std::memcpy(frames.data(), bytes.data(), frames.size() * sizeof(Frame));
    return frames;
}

std::vector<bool> ReadErasures(const fs::path& path, std::size_t frames) {
    std::vector<bool> isErased;
    for (const char mark : ReadAll(path)) {
        if (mark == '0' || mark == '1') isErased.push_back(mark == '1');
    }
    isErased.resize(frames);
    return isErased;
}

// The serial format of the ITU-T: two words of header and one for each bit, which is zero where the bit is
// lost.
void ReadSerial(const fs::path& path, Vector& vector) {
    constexpr std::size_t HeaderWords = 2;
    constexpr std::size_t Bits = 8 * FrameBytes;
    constexpr std::int16_t One = 0x81;
    for (const auto& words : ReadFrames<std::array<std::int16_t, HeaderWords + Bits>>(path)) {
        Octets octets{};
        bool isErased = false;
        for (std::size_t bit = 0; bit < Bits; bit++) {
            const std::int16_t word = words[HeaderWords + bit];
            isErased = isErased || word == 0;
            if (word == One) octets[bit / 8] |= static_cast<std::uint8_t>(0x80 >> bit % 8);
        }
        vector.frames.push_back(octets);
        vector.isErased.push_back(isErased);
    }
}

std::vector<fs::path> FilesIn(const fs::path& folder, const char* extension) {
    std::vector<fs::path> found;
    std::error_code none;
    for (const auto& entry : fs::directory_iterator(folder, none)) {
        if (entry.path().extension() == extension) found.push_back(entry.path());
    }
    std::sort(found.begin(), found.end());
    return found;
}

fs::path Sibling(fs::path path, const char* extension) {
    return path.replace_extension(extension);
}

}  // namespace

std::vector<Vector> OwnVectors() {
    std::vector<Vector> vectors;
    for (const fs::path& path : FilesIn(KESTREL_G729_DATA, ".g729")) {
        Vector vector;
        vector.name = path.stem();
        vector.input = ReadFrames<Samples>(Sibling(path, ".pcm"));
        vector.frames = ReadFrames<Octets>(path);
        vector.isErased = ReadErasures(Sibling(path, ".erased.txt"), vector.frames.size());
        vector.output = ReadFrames<Samples>(Sibling(path, ".out.pcm"));
        vectors.push_back(vector);
    }
    return vectors;
}

std::vector<Vector> StandardVectors() {
    const char* named = std::getenv("KESTREL_G729_VECTORS");
    const fs::path folder = named ? named : KESTREL_G729_STANDARD;
    std::vector<Vector> vectors;
    for (const fs::path& path : FilesIn(folder, ".BIT")) {
        Vector vector;
        vector.name = path.stem();
        vector.input = ReadFrames<Samples>(Sibling(path, ".IN"));
        ReadSerial(path, vector);
        vector.output = ReadFrames<Samples>(Sibling(path, ".PST"));
        vectors.push_back(vector);
    }
    if (vectors.empty()) std::printf("No conformance vectors in %s: left out.\n", folder.c_str());
    return vectors;
}

}  // namespace g729::test

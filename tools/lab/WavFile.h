// Sound files as mono samples of 8 kHz: reading any file that libsndfile knows, writing 16-bit WAV.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace lab {

// The whole file, its channels mixed to one and its rate converted to 8000 Hz. Nothing, with the reason in
// words in `error`, when it cannot be read or holds no audio.
std::optional<std::vector<std::int16_t>> ReadSpeech(const std::string& path, std::string& error);

// Writes a mono 16-bit WAV file of 8000 Hz; false, with the reason in `error`, when it cannot be written.
bool WriteWav(const std::string& path, std::span<const std::int16_t> samples, std::string& error);

}  // namespace lab

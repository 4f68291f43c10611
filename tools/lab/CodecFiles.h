// The files of 'kestrel-lab codec': linear speech, frames of G.729, and which frames are lost. Operations
// return nothing or false, with the reason in words in `error`, when a file cannot be used.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/media/g729/Sizes.h"

namespace lab {

using G729Frame = std::array<std::uint8_t, g729::FrameBytes>;

// A sound file with a header (WAV and what else libsndfile knows) as 8 kHz mono; any other file as raw 16-bit
// little-endian samples of that kind.
std::optional<std::vector<std::int16_t>> ReadLinear(const std::string& path, std::string& error);

// As WAV when the name ends in .wav, else raw.
bool WriteLinear(const std::string& path, std::span<const std::int16_t> samples, std::string& error);

// Packed frames of 10 bytes, one behind the other (RFC 3551, 4.5.6).
std::optional<std::vector<G729Frame>> ReadFrames(const std::string& path, std::string& error);
bool WriteFrames(const std::string& path, std::span<const G729Frame> frames, std::string& error);

// A 0 or a 1 for each of `frames` frames, 1 where it is lost, white space between them or not.
std::optional<std::vector<bool>> ReadErasures(const std::string& path, std::size_t frames,
                                              std::string& error);

}  // namespace lab

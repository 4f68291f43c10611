#include "tools/lab/SpeechRecorder.h"

#include <algorithm>

namespace lab {

void SpeechRecorder::Add(ULONG timestamp, std::span<const UBYTE> payload, bool newStream) {
    if (!started || newStream) {
        base = timestamp;
        origin = static_cast<std::int64_t>(audio.size());
    }
    started = true;
    const std::vector<std::int16_t> piece = decoder.Decode(payload);
    const std::int64_t at = origin + static_cast<std::int32_t>(timestamp - base);
    const std::int64_t end = at + static_cast<std::int64_t>(piece.size());
    if (at < 0 || end > Longest) return;
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    audio.resize(std::max(audio.size(), static_cast<std::size_t>(end)));
    std::copy(piece.begin(), piece.end(), audio.begin() + at);
}

void SpeechRecorder::Clear() {
    audio.clear();
    bytes.clear();
    started = false;
}

}  // namespace lab

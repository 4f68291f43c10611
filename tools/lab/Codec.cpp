#include "tools/lab/Codec.h"

#include <algorithm>
#include <cctype>

namespace lab {

namespace {

struct Row {
    std::string_view name;
    Codec codec;
};

constexpr Row Names[] = {{"alaw", Codec::Alaw},
                         {"ulaw", Codec::Ulaw},
                         {"g729", Codec::G729},
                         {"pcma", Codec::Alaw},
                         {"pcmu", Codec::Ulaw}};

}  // namespace

std::optional<Codec> CodecFromName(std::string_view name) {
    std::string lower(name);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    for (const Row& row : Names)
        if (row.name == lower) return row.codec;
    return std::nullopt;
}

std::string CodecName(Codec codec) {
    for (const Row& row : Names)
        if (row.codec == codec) return std::string(row.name);
    return "codec " + std::to_string(static_cast<int>(codec));
}

int PayloadTypeOf(Codec codec) {
    switch (codec) {
        case Codec::Alaw:
            return 8;
        case Codec::Ulaw:
            return 0;
        case Codec::G729:
            return 18;
    }
    return -1;
}

int FrameBytes(Codec codec) {
    return codec == Codec::G729 ? 10 : FrameSamples;
}

UBYTE FramesPerPacket(Codec codec, int packetMs) {
    return static_cast<UBYTE>(codec == Codec::G729 ? packetMs / FrameMs : packetMs);
}

}  // namespace lab

#include "platform/media/MediaTypes.h"

#include <array>

namespace media {

namespace {

struct Codec {
    int comp;
    int payloadType;
    int frameBytes;
    int frameSamples;
};

constexpr std::array<Codec, 4> Codecs{{
    {Alaw, 8, 1, 1},
    {Ulaw, 0, 1, 1},
    {G723, 4, 24, 240},
    {G729, 18, 10, 80},
}};

const Codec* Find(int comp) {
    for (const Codec& codec : Codecs) {
        if (codec.comp == comp) return &codec;
    }
    return nullptr;
}

}  // namespace

int PayloadTypeOf(int comp) {
    const Codec* codec = Find(comp);
    return codec != nullptr ? codec->payloadType : -1;
}

int SamplesOf(int comp, int bytes) {
    const Codec* codec = Find(comp);
    if (codec == nullptr) return 0;
    return (bytes + codec->frameBytes - 1) / codec->frameBytes * codec->frameSamples;
}

}  // namespace media

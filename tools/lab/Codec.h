// The codecs of a leg and what they mean in the control protocol, in RTP and in time.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/kernel/Types.h"

namespace lab {

constexpr int SampleRate = 8000;  // Hz, of every codec here
constexpr int FrameSamples = 80;  // a frame is 10 ms
constexpr int FrameMs = 10;

// The values are those of the control protocol.
enum class Codec : UBYTE { Alaw = 1, Ulaw = 3, G729 = 11 };

// "alaw", "ulaw" or "g729", in any case; also "pcma" and "pcmu".
std::optional<Codec> CodecFromName(std::string_view name);
std::string CodecName(Codec codec);

// The static payload type of RFC 3551, 6.
int PayloadTypeOf(Codec codec);
// Bytes on the network of one frame of 10 ms.
int FrameBytes(Codec codec);
// The control protocol's frames per packet: milliseconds for G.711, frames of 10 ms for G.729.
UBYTE FramesPerPacket(Codec codec, int packetMs);

}  // namespace lab

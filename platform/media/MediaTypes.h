// Compression types as the call control numbers them, and the RTP payload type of each.
#pragma once

#include "platform/kernel/Types.h"

namespace media {

// The numbering is the system's own, not RTP's.
enum CompType : int { NoComp = 0, Alaw = 1, Ulaw = 3, G723 = 8, G729 = 11, Relay = 12 };

constexpr int SamplesPerMs = 8;       // every codec here is sampled at 8000 Hz
constexpr int DtmfPayloadType = 101;  // RFC 4733 events, unless the stream says otherwise

// The static RTP payload type (RFC 3551, 6) of a compression type, -1 for one that cannot be sent.
int PayloadTypeOf(int comp);

// Samples that `bytes` of payload stand for, comfort noise frames included; 0 for a type that cannot be sent.
int SamplesOf(int comp, int bytes);

}  // namespace media

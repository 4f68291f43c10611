// ITU-T G.711: A-law and u-law, one byte a sample. All operations are table look-ups; any thread.
#pragma once

#include "platform/kernel/Types.h"

// `samples` A-law bytes to 16-bit linear samples, and back.
void AlawToLinear(unsigned char* alaw, short* linear, int samples);
void LinearToAlaw(short* linear, unsigned char* alaw, int samples);

namespace media {

void UlawToLinear(const UBYTE* ulaw, std::int16_t* linear, int samples);
void LinearToUlaw(const std::int16_t* linear, UBYTE* ulaw, int samples);

// Between the two laws in place, by the tables of G.711 (3.2 and 3.3).
void UlawToAlaw(UBYTE* samples, int count);
void AlawToUlaw(UBYTE* samples, int count);

}  // namespace media

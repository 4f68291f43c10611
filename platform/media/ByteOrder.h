// Network byte order, byte by byte: datagrams have no alignment.
#pragma once

#include "platform/kernel/Types.h"

namespace media {

inline UWORD Get16(const UBYTE* at) {
    return static_cast<UWORD>(at[0] << 8 | at[1]);
}

inline ULONG Get32(const UBYTE* at) {
    return ULONG{Get16(at)} << 16 | Get16(at + 2);
}

inline void Put16(UBYTE* at, UWORD value) {
    at[0] = static_cast<UBYTE>(value >> 8);
    at[1] = static_cast<UBYTE>(value);
}

inline void Put32(UBYTE* at, ULONG value) {
    Put16(at, static_cast<UWORD>(value >> 16));
    Put16(at + 2, static_cast<UWORD>(value));
}

}  // namespace media

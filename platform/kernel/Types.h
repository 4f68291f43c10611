// Integer types and handles that the whole system shares.
#pragma once

#include <cstddef>
#include <cstdint>

using UBYTE = std::uint8_t;
using UWORD = std::uint16_t;
using ULONG = std::uint32_t;

// What a trigger callback is handed: any object; the callback casts it back to the type it registered.
using OSObj = void;

// The result of handing a buffer to an OSIO. The buffer is gone in either case.
enum OSIORetCode : int {
    Success = 0,
    Blocked = 1,
};

// The LSP codebooks in the order in which vector kernels read them: neighbouring coefficients of an entry in
// pairs, and the same pair of all entries in a row.
#pragma once

#include <cstdint>

#include "platform/media/g729/Sizes.h"

namespace g729 {

constexpr int LspFirstEntries = 128;
constexpr int LspSecondEntries = 32;
constexpr int LspPairs = Order / 2;
constexpr int LspHalfPairCount =
    3;  // five coefficients and, behind those of the lower half or before the upper, a zero

template <int Count, int Entries>
struct LspPairTable {
    std::int16_t pairs[Count][Entries][2];
};

using LspHalfTable = LspPairTable<LspHalfPairCount, LspSecondEntries>;

extern const LspPairTable<LspPairs, LspFirstEntries> LspFirstTable;
extern const LspHalfTable LspSecondTables[2];

}  // namespace g729

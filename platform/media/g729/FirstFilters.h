// The filters with which a frame begins, one after the other. EncoderKernels.h has the contract.
#pragma once

#include <algorithm>

#include "platform/media/g729/EncoderKernels.h"

namespace g729 {

constexpr std::int16_t UnitImpulse[SubframeSamples] = {4096};

// With a function to run each of them, `synthesize` of DecoderKernels.
template <bool (*Synthesize)(const std::int16_t*, const std::int16_t*, std::int16_t*)>
void RunEach(const FirstFilters& filters) {
    for (const FirstFilters::Filter& filter : filters.driven) Synthesize(filter.a, filters.x, filter.y);
    for (const FirstFilters::Filter& filter : filters.responses) {
        std::int16_t room[Order + SubframeSamples] = {};
        Synthesize(filter.a, UnitImpulse, room + Order);
        std::copy_n(room + Order, SubframeSamples, filter.y);
    }
}

}  // namespace g729

// What the codebooks give to the target, in vectors: the same clipping operations, side by side.
#pragma once

#include "platform/media/g729/VectorSums.h"

namespace g729 {

namespace {

// Runs `operation` at the start of each vector of a subframe and on its tail.
template <class V, typename Operation, typename TailOperation>
G729_INLINE void ForSubframe(Operation operation, TailOperation tailOperation) {
    for (int i = 0; i < SubframeVectors<V>; i++) operation(i * V::Halves);
    tailOperation(SubframeTail);
}

template <class V>
void RemoveScaled(const std::int16_t* target, const std::int16_t* x, std::int16_t gain, std::int16_t* rest) {
    constexpr int GainShift = 14;
    const auto factor = V::SetHalves(gain);
    const auto without = [factor](auto from, auto part) {
        return V::SubHalves(from, V::template MultShifted<GainShift>(part, factor));
    };
    ForSubframe<V>(
        [&](int at) { V::Store(rest + at, without(V::Load(target + at), V::Load(x + at))); },
        [&](int at) { V::StoreTail(rest + at, without(V::LoadTail(target + at), V::LoadTail(x + at))); });
}

template <class V>
void RespondToPulses(const std::int16_t* response, const int* positions, unsigned signs, std::int16_t* sum) {
    constexpr int Pulses = 4;
    std::int16_t padded[2 * SubframeSamples] = {};  // silence before the response
    std::memcpy(padded + SubframeSamples, response, SubframeSamples * sizeof *response);
    const auto add = [&](int at, auto load) {
        typename V::Words all = {};
        for (int pulse = 0; pulse < Pulses; pulse++) {
            const auto one = load(padded + SubframeSamples - positions[pulse] + at);
            all = (signs >> pulse & 1) != 0 ? V::AddHalves(all, one) : V::SubHalves(all, one);
        }
        return all;
    };
    ForSubframe<V>(
        [&](int at) { V::Store(sum + at, add(at, [](const void* p) { return V::Load(p); })); },
        [&](int at) { V::StoreTail(sum + at, add(at, [](const void* p) { return V::LoadTail(p); })); });
}

}  // namespace

}  // namespace g729

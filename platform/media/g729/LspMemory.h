// The predictor of the LSP quantiser, which coder and decoder keep alike: what the last four frames added to
// it. Vectors of 10 are LSF in Q13.
#pragma once

#include <cstdint>

#include "platform/media/g729/Sizes.h"

namespace g729 {

// What the bits of a frame say of its spectrum.
struct LspIndices {
    std::uint8_t mode = 0;   // L0, 0..1
    std::uint8_t first = 0;  // L1, 0..127
    std::uint8_t low = 0;    // L2, 0..31
    std::uint8_t high = 0;   // L3, 0..31
};

// Moves neighbours v[from - 1], v[from] .. v[to - 1], v[to] apart where they are nearer than `gap`, in one
// pass.
void Spread(std::int16_t* v, int gap, int from, int to);

class LspMemory {
 public:
    LspMemory();

    // The frequencies of a frame, ordered and apart as the filter needs them; the memory moves on.
    void Reconstruct(const LspIndices& indices, std::int16_t lsf[Order]);

    // What a codebook would have to add in `mode` for `lsf` to result.
    void Target(int mode, const std::int16_t lsf[Order], std::int16_t target[Order]) const;

    // The memory moves on with what the codebook added.
    void Push(const std::int16_t added[Order]);

 private:
    void Predict(int mode, const std::int16_t added[Order], std::int16_t lsf[Order]) const;

    std::int16_t history[LspTaps][Order];  // newest first
};

}  // namespace g729

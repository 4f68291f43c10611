#include "platform/media/g729/LspQuantizer.h"

#include <algorithm>

#include "platform/media/g729/BasicOps.h"
#include "platform/media/g729/Tables.h"

namespace g729 {

namespace {

constexpr int Half = Order / 2;
constexpr std::int16_t One = 8192;       // Q13
constexpr std::int16_t Lowest = 1029;    // Q13, 0.04 pi
constexpr std::int16_t Highest = 23677;  // Q13, 0.92 pi
constexpr int HalfGap = 10;              // Q13, within each half of the vector
constexpr int WholeGap = 5;

struct Trial {
    LspIndices indices;
    std::int32_t distance = 0;
};

// Shifts behind products stand for the standard's left shifts of 32 bits, which clip just as 16 bits do.
std::int32_t Weight(std::int32_t gap) {
    const std::int32_t square = Clip16((gap * gap) >> 13);
    const std::int32_t weight = Clip16(Clip16((square * 20480) >> 13) + 2048);
    return gap > 0 ? 2048 : weight;
}

// Frequencies close to a neighbour weigh more. Scaled so that the largest fills 16 bits.
void Weights(const std::int16_t* lsf, std::int16_t* scaled) {
    std::int32_t weights[Order];
    weights[0] = Weight(Sub(lsf[1], Lowest + One));
    for (int i = 1; i < Order - 1; i++) weights[i] = Weight(Sub(Sub(lsf[i + 1], lsf[i - 1]), One));
    weights[Order - 1] = Weight(Sub(Highest - One, lsf[Order - 2]));
    for (const int i : {4, 5}) weights[i] = Clip16((weights[i] * 19661) >> 14);
    const int norm = NormL(*std::max_element(weights, weights + Order)) - 16;
    for (int i = 0; i < Order; i++) scaled[i] = static_cast<std::int16_t>(weights[i] << norm);
}

// No term is negative, so that the sum only has to be clipped at the end.
std::int32_t Distance(const std::int16_t* v, const std::int16_t* target, const std::int16_t* weights,
                      int mode) {
    std::int64_t distance = 0;
    for (int j = 0; j < Order; j++) {
        const std::int32_t error = (Sub(v[j], target[j]) * LspPredictorRest[mode][j]) >> 15;
        distance += 2 * std::int64_t{Clip16((weights[j] * error) >> 11)} * error;
    }
    return Clip32(distance);
}

Trial Try(const EncoderKernels& kernels, const std::int16_t* target, const std::int16_t* weights, int mode) {
    Trial trial;
    trial.indices.mode = static_cast<std::uint8_t>(mode);
    kernels.searchLsp(target, weights, trial.indices);
    const std::int16_t* first = LspCodebook1[trial.indices.first];
    std::int16_t v[Order];
    for (int j = 0; j < Order; j++) {
        v[j] = Add(first[j], LspCodebook2[j < Half ? trial.indices.low : trial.indices.high][j]);
    }
    bool isNear = false;
    for (int j = 1; j < Order; j++) isNear |= v[j] - v[j - 1] < HalfGap;
    if (isNear) {
        // The lower half keeps its own distances before the upper half meets it.
        Spread(v, HalfGap, 1, Half - 1);
        Spread(v, HalfGap, Half, Order - 1);
        Spread(v, WholeGap, 1, Order - 1);
    }
    trial.distance = Distance(v, target, weights, mode);
    return trial;
}

}  // namespace

LspIndices QuantizeLsp(const EncoderKernels& kernels, const LspMemory& memory,
                       const std::int16_t lsf[Order]) {
    std::int16_t weights[Order];
    Weights(lsf, weights);
    Trial trials[2];
    for (int mode = 0; mode < 2; mode++) {
        std::int16_t target[Order];
        memory.Target(mode, lsf, target);
        trials[mode] = Try(kernels, target, weights, mode);
    }
    return trials[trials[1].distance < trials[0].distance].indices;
}

}  // namespace g729

#include "platform/media/g729/LspMemory.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/media/g729/BasicOps.h"
#include "platform/media/g729/Tables.h"

namespace g729 {

namespace {

constexpr int Half = Order / 2;
constexpr int WideGap = 10;
constexpr int NarrowGap = 5;
constexpr std::int16_t LowestLsf = 40;
constexpr std::int16_t HighestLsf = 25681;
constexpr std::int16_t LsfGap = 321;

// Whether every frequency is at least `gap` above the one before it.
bool AreApart(const std::int16_t* lsf, int gap) {
    bool isNear = false;
    for (int j = 0; j + 1 < Order; j++) isNear |= lsf[j + 1] - lsf[j] < gap;
    return !isNear;
}

// One pass each: neighbours in wrong order exchange, then all keep their distance.
void Stabilise(std::int16_t lsf[Order]) {
    if (lsf[0] >= LowestLsf && lsf[Order - 1] <= HighestLsf && AreApart(lsf, LsfGap)) return;
    for (int j = 0; j + 1 < Order; j++) {
        if (lsf[j + 1] < lsf[j]) std::swap(lsf[j], lsf[j + 1]);
    }
    lsf[0] = std::max(lsf[0], LowestLsf);
    for (int j = 0; j + 1 < Order; j++) {
        if (lsf[j + 1] - lsf[j] < LsfGap) lsf[j + 1] = Add(lsf[j], LsfGap);
    }
    lsf[Order - 1] = std::min(lsf[Order - 1], HighestLsf);
}

}  // namespace

void Spread(std::int16_t* v, int gap, int from, int to) {
    for (int j = from; j <= to; j++) {
        const std::int16_t push = Add(Sub(v[j - 1], v[j]), static_cast<std::int16_t>(gap)) >> 1;
        if (push <= 0) continue;
        v[j - 1] = Sub(v[j - 1], push);
        v[j] = Add(v[j], push);
    }
}

LspMemory::LspMemory() {
    for (auto& frame : history) std::copy_n(InitialLsf, Order, frame);
}

void LspMemory::Reconstruct(const LspIndices& indices, std::int16_t lsf[Order]) {
    std::int16_t added[Order];
    for (int j = 0; j < Order; j++) {
        const int second = j < Half ? indices.low : indices.high;
        added[j] = Add(LspCodebook1[indices.first][j], LspCodebook2[second][j]);
    }
    if (!AreApart(added, WideGap)) {
        Spread(added, WideGap, 1, Order - 1);
        Spread(added, NarrowGap, 1, Order - 1);
    }
    Predict(indices.mode, added, lsf);
    Push(added);
    Stabilise(lsf);
}

// No sum clips: its weights come to less than one.
void LspMemory::Predict(int mode, const std::int16_t added[Order], std::int16_t lsf[Order]) const {
    const std::int16_t* past = history[0];
    const std::int16_t* weights = LspPredictor[mode][0];
    std::int32_t products[LspTaps * Order];
    for (int i = 0; i < LspTaps * Order; i++) products[i] = past[i] * weights[i];
    for (int j = 0; j < Order; j++) {
        const std::int32_t own = added[j] * LspPredictorRest[mode][j];
        const std::int32_t sum =
            own + products[j] + products[Order + j] + products[2 * Order + j] + products[3 * Order + j];
        lsf[j] = Hi(sum * 2);
    }
}

void LspMemory::Target(int mode, const std::int16_t lsf[Order], std::int16_t target[Order]) const {
    // Of numbers that are not negative the differences fit 32 bits on the way, too.
    bool isNegative = false;
    for (int j = 0; j < Order; j++) {
        isNegative |= (lsf[j] | history[0][j] | history[1][j] | history[2][j] | history[3][j]) < 0;
    }
    for (int j = 0; j < Order && !isNegative; j++) {
        std::int32_t rest = lsf[j] * 0x10000;
        for (int k = 0; k < LspTaps; k++) rest -= 2 * history[k][j] * LspPredictor[mode][k][j];
        target[j] = Clip16((Hi(rest) * LspPredictorRestInverse[mode][j]) >> 12);
    }
    for (int j = 0; j < Order && isNegative; j++) {
        std::int32_t rest = lsf[j] * 0x10000;
        for (int k = 0; k < LspTaps; k++) rest = LMsu(rest, history[k][j], LspPredictor[mode][k][j]);
        target[j] = Hi(LShl(LMult(Hi(rest), LspPredictorRestInverse[mode][j]), 3));
    }
}

void LspMemory::Push(const std::int16_t added[Order]) {
    std::memmove(history[1], history[0], sizeof history - sizeof history[0]);
    std::copy_n(added, Order, history[0]);
}

}  // namespace g729

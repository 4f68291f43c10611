// The Levinson-Durbin recursion of the standard, in which any operation may clip.
#include <algorithm>

#include "platform/media/g729/ReferenceKernels.h"

namespace g729::reference {

namespace {

constexpr int StabilityLimit = 32750;  // Q15, of a reflection coefficient
constexpr int WorkingShift = 4;        // coefficients are kept in Q27

struct Recursion {
    Dpf a[Coefficients];
    Dpf energy;  // of the prediction error, normalised by `exponent`
    int exponent = 0;

    void Shrink(Dpf reflection) {
        const std::int32_t rest = LSub(Max32, LAbs(Multiply(reflection, reflection)));
        const std::int32_t left = Multiply(energy, Extract(rest));
        const int norm = NormL(left);
        energy = Extract(LShl(left, norm));
        exponent += norm;
    }
};

// -t / energy.
std::int32_t Reflection(std::int32_t t, Dpf energy) {
    const std::int32_t quotient = Divide(Extract(LAbs(t)), energy);
    return t > 0 ? LNegate(quotient) : quotient;
}

std::int32_t PredictionError(const Recursion& state, const Dpf* r, int order) {
    std::int32_t t = 0;
    for (int j = 1; j < order; j++) t = LAdd(t, Multiply(r[j], state.a[order - j]));
    return LAdd(LShl(t, WorkingShift), Compose(r[order]));
}

void Extend(Recursion& state, int order, std::int32_t reflection) {
    const Dpf k = Extract(reflection);
    Dpf next[Coefficients];
    for (int j = 1; j < order; j++) {
        next[j] = Extract(LAdd(Multiply(k, state.a[order - j]), Compose(state.a[j])));
    }
    next[order] = Extract(reflection >> WorkingShift);
    std::copy_n(next + 1, order, state.a + 1);
    state.Shrink(k);
}

}  // namespace

void Levinson(const Dpf r[Coefficients], std::int16_t a[Coefficients]) {
    Recursion state;
    state.energy = r[0];
    const std::int32_t first = Reflection(Compose(r[1]), r[0]);
    state.a[1] = Extract(first >> WorkingShift);
    state.Shrink(Extract(first));
    for (int order = 2; order <= Order; order++) {
        const std::int32_t error = PredictionError(state, r, order);
        const std::int32_t reflection = LShl(Reflection(error, state.energy), state.exponent);
        if (Abs(Hi(reflection)) > StabilityLimit) return;
        Extend(state, order, reflection);
    }
    a[0] = 4096;
    for (int i = 1; i <= Order; i++) a[i] = Round(LShl(Compose(state.a[i]), 1));
}

}  // namespace g729::reference

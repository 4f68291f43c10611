#include "platform/media/g729/OpenLoopPitch.h"

#include <cstdlib>

#include "platform/media/g729/Dpf.h"
#include "platform/media/g729/Functions.h"

namespace g729 {

namespace {

constexpr std::int16_t FifthQ15 = 6554;

// A lag and how well it does, the correlation divided by the root of the energy.
struct Candidate {
    int lag;
    std::int16_t merit;
};

Candidate Normalised(const LagCorrelation& best) {
    const Dpf root = Extract(InverseSquareRoot(best.energy));
    return {best.lag, Lo(Multiply(Extract(best.correlation), root))};
}

// Raises the merit of the shorter lag when the longer is about its double or its triple.
void Favour(Candidate& shorter, const Candidate& longer, std::int16_t bonus) {
    const int excess = 2 * shorter.lag - longer.lag;
    if (std::abs(excess) < 5) shorter.merit = Add(shorter.merit, bonus);
    if (std::abs(excess + shorter.lag) < 7) shorter.merit = Add(shorter.merit, bonus);
}

}  // namespace

int OpenLoopPitch(const EncoderKernels& kernels, const std::int16_t* speech) {
    LagCorrelation sections[LagSections];
    kernels.correlateLags(speech, sections);
    Candidate c[LagSections];
    for (int i = 0; i < LagSections; i++) c[i] = Normalised(sections[i]);
    Favour(c[1], c[2], static_cast<std::int16_t>(c[2].merit >> 2));
    Favour(c[0], c[1], Mult(c[1].merit, FifthQ15));
    const Candidate& best = c[0].merit < c[1].merit ? c[1] : c[0];
    return best.merit < c[2].merit ? c[2].lag : best.lag;
}

}  // namespace g729

#include "platform/media/g729/GainMemory.h"

#include <algorithm>

#include "platform/media/g729/BasicOps.h"
#include "platform/media/g729/Dpf.h"
#include "platform/media/g729/Functions.h"
#include "platform/media/g729/Tables.h"

namespace g729 {

namespace {

// The squares of four pulses, however sharpened, fit 32 bits.
std::int32_t Energy(const std::int16_t* code) {
    std::uint32_t sum = 0;
    for (int n = 0; n < SubframeSamples; n++) sum += static_cast<std::uint32_t>(code[n] * code[n]);
    return Clip32(std::int64_t{sum} * 2);
}

}  // namespace

PredictedGain GainMemory::Predict(const std::int16_t* code) const {
    const std::int32_t energy = Energy(code);

    // In dB: the mean energy of speech and the prediction, less the energy of this code.
    const Log2Result log = Log2(energy);
    std::int32_t sum = Multiply(Dpf{log.whole, log.fraction}, -24660);  // Q13, -10 log10(2)
    sum = LShl(LMac(sum, 32588, 32), 10);
    for (int k = 0; k < GainTaps; k++) sum = LMac(sum, GainPredictor[k], energies[k]);

    const Dpf power = Extract(LMult(Hi(sum), 5439) >> 8);  // Q15, log2(10) / 20
    return {Lo(Pow2(14, power.lo)), static_cast<std::int16_t>(14 - power.hi)};
}

void GainMemory::Push(std::int32_t correction) {
    const Log2Result log = Log2(correction);
    const Dpf level{static_cast<std::int16_t>(log.whole - 13), log.fraction};
    Move(Mult(Hi(LShl(Compose(level), 13)), 24660));  // Q12, 20 log10(2)
}

void GainMemory::PushLost() {
    constexpr std::int16_t Fall = 4096;  // 4 dB
    std::int32_t sum = 0;
    for (const std::int16_t energy : energies) sum += energy;
    Move(std::max<std::int16_t>(Sub(Clip16(sum >> 2), Fall), Floor));
}

void GainMemory::Move(std::int16_t energy) {
    std::copy_backward(energies, energies + GainTaps - 1, energies + GainTaps);
    energies[0] = energy;
}

}  // namespace g729

#include "platform/media/g729/Autocorrelation.h"

#include "platform/media/g729/Tables.h"

namespace g729 {

void Autocorrelation(const EncoderKernels& kernels, const std::int16_t* speech, Dpf r[Coefficients]) {
    std::int32_t sums[Coefficients];
    kernels.autocorrelate(speech, sums);
    const int norm = NormL(sums[0]);
    r[0] = Extract(sums[0] << norm);
    for (int k = 1; k < Coefficients; k++) {
        const Dpf window = {LagWindowHi[k - 1], LagWindowLo[k - 1]};
        r[k] = Extract(Multiply(Extract(sums[k] << norm), window));
    }
}

}  // namespace g729

// Closed-loop pitch of a subframe: the lag, in thirds of a sample, whose past excitation fits the target
// best.
#pragma once

#include <cstdint>

#include "platform/media/g729/DecoderKernels.h"
#include "platform/media/g729/EncoderKernels.h"
#include "platform/media/g729/LagDecoder.h"

namespace g729 {

// Whole lags to be tried.
struct LagRange {
    int min = 0;
    int max = 0;

    // Of the first subframe, around the open-loop lag, and of the second, around the whole lag of the first.
    static LagRange First(int openLoop);
    static LagRange Second(int firstLag);
};

class ClosedLoopPitch {
 public:
    // Lags above it are whole in the first subframe; in the second all have fractions.
    static constexpr int FirstFractionLimit = 84;

    ClosedLoopPitch(const DecoderKernels& shared, const EncoderKernels& kernels)
        : shared(shared), kernels(kernels) {}

    // `response` is the filter's impulse response and `target` what its output should be, 40 samples each. On
    // entry excitation[0..39] holds the prediction error, on return the excitation of the lag that was found.
    Lag Search(const std::int16_t* response, const std::int16_t* target, LagRange range, int fractionLimit,
               std::int16_t* excitation) const;

 private:
    std::int32_t Try(const std::int16_t* wanted, Lag lag, std::int16_t* excitation) const;

    const DecoderKernels& shared;
    const EncoderKernels& kernels;
};

// The lag as it is sent.
std::uint8_t FirstLagIndex(Lag lag);
std::uint8_t SecondLagIndex(Lag lag, LagRange range);

}  // namespace g729

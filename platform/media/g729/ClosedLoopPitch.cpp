#include "platform/media/g729/ClosedLoopPitch.h"

#include <algorithm>

#include "platform/media/g729/Sizes.h"

namespace g729 {

LagRange LagRange::First(int openLoop) {
    constexpr int Width = 6;
    const int min = std::clamp(openLoop - 3, MinLag, MaxLag - Width);
    return {min, min + Width};
}

LagRange LagRange::Second(int firstLag) {
    constexpr int Width = 9;
    const int min = std::clamp(firstLag - 5, MinLag, MaxLag - Width);
    return {min, min + Width};
}

std::int32_t ClosedLoopPitch::Try(const std::int16_t* wanted, Lag lag, std::int16_t* excitation) const {
    shared.interpolateLag(excitation, lag.whole, lag.fraction);
    bool clipped = false;
    return kernels.product(wanted, excitation, 0, clipped);
}

Lag ClosedLoopPitch::Search(const std::int16_t* response, const std::int16_t* target, LagRange range,
                            int fractionLimit, std::int16_t* excitation) const {
    std::int16_t wanted[SubframeSamples];
    kernels.filterBackward(response, target, wanted);
    Lag lag = {kernels.bestLag(wanted, excitation, range.min, range.max), 0};
    std::int32_t best = Try(wanted, lag, excitation);
    if (lag.whole > fractionLimit) return lag;
    std::int16_t kept[SubframeSamples];
    std::copy_n(excitation, SubframeSamples, kept);
    for (const int fraction : {-1, 1}) {
        const std::int32_t correlation = Try(wanted, {lag.whole, fraction}, excitation);
        if (correlation <= best) continue;
        best = correlation;
        lag.fraction = fraction;
        std::copy_n(excitation, SubframeSamples, kept);
    }
    std::copy_n(kept, SubframeSamples, excitation);
    return lag;
}

std::uint8_t FirstLagIndex(Lag lag) {
    const int index = lag.whole <= 85 ? 3 * lag.whole - 58 + lag.fraction : lag.whole + 112;
    return static_cast<std::uint8_t>(index);
}

std::uint8_t SecondLagIndex(Lag lag, LagRange range) {
    return static_cast<std::uint8_t>(3 * (lag.whole - range.min) + 2 + lag.fraction);
}

}  // namespace g729

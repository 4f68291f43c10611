#include "platform/media/g729/Taming.h"

#include <algorithm>

#include "platform/media/g729/Dpf.h"
#include "platform/media/g729/Sizes.h"
#include "platform/media/g729/Tables.h"

namespace g729 {

namespace {

constexpr std::int32_t Threshold = 983040000;  // Q14, 60000

std::int32_t Grown(std::int32_t error, std::int16_t gain) {
    return LAdd(16384, LShl(Multiply(Extract(error), gain), 1));
}

}  // namespace

bool Taming::IsNeeded(Lag lag) const {
    constexpr int Before = 50;  // the interpolation filter and a subframe
    constexpr int Behind = 8;
    const int reach = lag.fraction > 0 ? lag.whole + 1 : lag.whole;
    const int from = TamingZone[std::max(reach - Before, 0)];
    const int to = TamingZone[reach + Behind];
    return *std::max_element(errors + from, errors + to + 1) > Threshold;
}

void Taming::Update(std::int16_t gain, int lag) {
    std::int32_t worst;
    if (lag < SubframeSamples) {
        const std::int32_t once = Grown(errors[0], gain);
        worst = std::max(once, Grown(once, gain));
    } else {
        worst = Grown(errors[TamingZone[lag - SubframeSamples]], gain);
        worst = std::max(worst, Grown(errors[TamingZone[lag - 1]], gain));
    }
    std::copy_backward(errors, errors + Zones - 1, errors + Zones);
    errors[0] = worst;
}

}  // namespace g729

// When sums of products need no clipping. The sums of the standard are doubled and clip at 2^31 after every
// term, so that a plain sum is the same where the sum of all magnitudes fits. By the inequality of Cauchy it
// does where the product of the energies of the two signals is below 2^60.
#pragma once

#include "platform/media/g729/BasicOps.h"

namespace g729 {

// Of sums with a start of up to 2^15.
G729_OPERATION bool SumsFit(std::int64_t energy1, std::int64_t energy2) {
    constexpr double Limit = 1.15e18;  // a little below 2^60
    return static_cast<double>(energy1) * static_cast<double>(energy2) < Limit;
}

// Of sums of products of parts of one signal, 1 + its energy among them.
G729_OPERATION bool SumsFit(std::int64_t energy) {
    return energy <= Max32 / 2;
}

}  // namespace g729

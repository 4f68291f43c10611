// Levinson-Durbin recursion: autocorrelation to prediction filter.
#pragma once

#include "platform/media/g729/Dpf.h"
#include "platform/media/g729/Sizes.h"

namespace g729 {

// A(z) in Q12 of the autocorrelation `r`, whose r[0] is normalised, in the double precision of the standard.
// A filter on the verge of instability is refused and `a` left as it was: the one of the last frame, which
// thus has to be there.
void Levinson(const Dpf r[Coefficients], std::int16_t a[Coefficients]);

}  // namespace g729

// The AVX2 level of the coder.
#include "platform/media/g729/EncoderKernels.h"

#if G729_X86_KERNELS

#include "platform/media/g729/Vector256.h"
#include "platform/media/g729/VectorFilters.h"
#include "platform/media/g729/VectorGains.h"
#include "platform/media/g729/VectorLags.h"
#include "platform/media/g729/VectorLsp.h"
#include "platform/media/g729/VectorPulses.h"
#include "platform/media/g729/VectorRoots.h"
#include "platform/media/g729/VectorSums.h"
#include "platform/media/g729/VectorTargets.h"

namespace g729 {

const EncoderKernels Avx2EncoderKernels = {
    .runFirstFilters = RunFirstFilters,
    .autocorrelate = Autocorrelate<Vector256>,
    .findRoots = FindRoots<Vector256>,
    .searchLsp = SearchLsp<Vector256>,
    .correlateLags = CorrelateLags<Vector256>,
    .product = Product<Vector256>,
    .filterBackward = FilterBackward<Vector256>,
    .bestLag = BestLag<Vector256>,
    .searchPulses = SearchPulses,
    .removeScaled = RemoveScaled<Vector256>,
    .respondToPulses = RespondToPulses<Vector256>,
    .searchGains = SearchGains,
};

}  // namespace g729

#endif

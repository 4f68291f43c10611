// The AVX-512 level of the coder.
#include "platform/media/g729/EncoderKernels.h"

#if G729_X86_KERNELS

#include "platform/media/g729/Vector512.h"
#include "platform/media/g729/VectorFilters.h"
#include "platform/media/g729/VectorGains.h"
#include "platform/media/g729/VectorLags.h"
#include "platform/media/g729/VectorLsp.h"
#include "platform/media/g729/VectorPulses.h"
#include "platform/media/g729/VectorRoots.h"
#include "platform/media/g729/VectorSums.h"
#include "platform/media/g729/VectorTargets.h"

namespace g729 {

const EncoderKernels Avx512EncoderKernels = {
    .runFirstFilters = RunFirstFilters,
    .autocorrelate = Autocorrelate<Vector512>,
    .findRoots = FindRoots<Vector512>,
    .searchLsp = SearchLsp<Vector512>,
    .correlateLags = CorrelateLags<Vector512>,
    .product = Product<Vector512>,
    .filterBackward = FilterBackward<Vector512>,
    .bestLag = BestLag<Vector512>,
    .searchPulses = SearchPulses,
    .removeScaled = RemoveScaled<Vector512>,
    .respondToPulses = RespondToPulses<Vector512>,
    .searchGains = SearchGains,
};

}  // namespace g729

#endif

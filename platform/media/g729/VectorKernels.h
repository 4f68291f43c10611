// The coder's kernels over one kind of vector.
#pragma once

#include "platform/media/g729/EncoderKernels.h"
#include "platform/media/g729/VectorFilters.h"
#include "platform/media/g729/VectorGains.h"
#include "platform/media/g729/VectorLags.h"
#include "platform/media/g729/VectorLsp.h"
#include "platform/media/g729/VectorPulses.h"
#include "platform/media/g729/VectorRoots.h"
#include "platform/media/g729/VectorSums.h"
#include "platform/media/g729/VectorTargets.h"

namespace g729 {

namespace {

template <class Vector>
constexpr EncoderKernels VectorKernels = {
    .runFirstFilters = RunFirstFilters,
    .autocorrelate = Autocorrelate<Vector>,
    .findRoots = FindRoots<Vector>,
    .searchLsp = SearchLsp<Vector>,
    .correlateLags = CorrelateLags<Vector>,
    .product = Product<Vector>,
    .filterBackward = FilterBackward<Vector>,
    .bestLag = BestLag<Vector>,
    .searchPulses = SearchPulses,
    .removeScaled = RemoveScaled<Vector>,
    .respondToPulses = RespondToPulses<Vector>,
    .searchGains = SearchGains,
};

}  // namespace

}  // namespace g729

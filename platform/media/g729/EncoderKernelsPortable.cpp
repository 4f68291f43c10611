// The portable level of the coder.
#include "platform/media/g729/FirstFilters.h"
#include "platform/media/g729/PlainFilters.h"
#include "platform/media/g729/PlainKernels.h"
#include "platform/media/g729/ReferenceKernels.h"

namespace g729 {

const EncoderKernels PortableEncoderKernels = {
    .runFirstFilters = RunEach<plain::Synthesize>,
    .autocorrelate = plain::Autocorrelate,
    .findRoots = reference::FindRoots,
    .searchLsp = plain::SearchLsp,
    .correlateLags = plain::CorrelateLags,
    .product = plain::Product,
    .filterBackward = plain::FilterBackward,
    .bestLag = plain::BestLag,
    .searchPulses = plain::SearchPulses,
    .removeScaled = reference::RemoveScaled,
    .respondToPulses = reference::RespondToPulses,
    .searchGains = reference::SearchGains,
};

const EncoderKernels& EncoderKernelsFor(Level level) {
#if G729_X86_KERNELS
    if (level == Level::Avx2) return Avx2EncoderKernels;
    if (level == Level::Avx512) return Avx512EncoderKernels;
#endif
    static_cast<void>(level);
    return PortableEncoderKernels;
}

}  // namespace g729

// The AVX2 level of the decoder.
#if G729_X86_KERNELS

#include "platform/media/g729/X86DecoderKernels.h"

namespace g729 {

const DecoderKernels Avx2DecoderKernels = X86DecoderKernels;

}  // namespace g729

#endif

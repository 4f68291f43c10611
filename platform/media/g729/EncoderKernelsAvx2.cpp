// The AVX2 level of the coder.
#if G729_X86_KERNELS

#include "platform/media/g729/Vector256.h"
#include "platform/media/g729/VectorKernels.h"

namespace g729 {

const EncoderKernels Avx2EncoderKernels = VectorKernels<Vector256>;

}  // namespace g729

#endif

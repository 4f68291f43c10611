// The AVX-512 level of the coder.
#if G729_X86_KERNELS

#include "platform/media/g729/Vector512.h"
#include "platform/media/g729/VectorKernels.h"

namespace g729 {

const EncoderKernels Avx512EncoderKernels = VectorKernels<Vector512>;

}  // namespace g729

#endif

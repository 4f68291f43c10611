// The input high-pass step by step.
#include "platform/media/g729/Dpf.h"
#include "platform/media/g729/ReferenceKernels.h"
#include "platform/media/g729/Tables.h"

namespace g729::reference {

void PreProcess(PreProcessMemory& memory, const std::int16_t* input, std::int16_t* output) {
    for (int n = 0; n < FrameSamples; n++) {
        std::int32_t sum = Multiply(Extract(memory.y1), InputHighPassA[1]);
        sum = LAdd(sum, Multiply(Extract(memory.y2), InputHighPassA[2]));
        sum = LMac(sum, input[n], InputHighPassB[0]);
        sum = LMac(sum, memory.x1, InputHighPassB[1]);
        sum = LMac(sum, memory.x2, InputHighPassB[2]);
        memory = {LShl(sum, 3), memory.y1, input[n], memory.x1};
        output[n] = Round(memory.y1);
    }
}

}  // namespace g729::reference

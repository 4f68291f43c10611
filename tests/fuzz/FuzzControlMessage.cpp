// Control datagrams and key blocks: any bytes decode without reading past their end, and what decodes
// survives a second round trip.
#include <cstdlib>
#include <memory>
#include <vector>

#include "app/ControlChannel/ControlMessage.h"
#include "app/ControlChannel/KeyBlock.h"
#include "platform/kernel/Kernel.h"

namespace {

class SilentConsole final : public OSConsole {
 public:
    void vPrint(const char* /*str*/, va_list /*vargs*/) override {}
};

bool Start() {
    static SilentConsole silent;
    static KernelCfg cfg;
    Console = &silent;
    os_startup(0, 0, &cfg);
    return true;
}

std::vector<UBYTE> RoundTrip(std::span<const UBYTE> bytes) {
    OSBuf* in = OSBuf::Alloc(static_cast<int>(bytes.size()));
    in->PushData(bytes.data(), static_cast<int>(bytes.size()));
    const std::unique_ptr<ControlMessage> msg(&ControlMessage::NetToSys(in));
    in->Free();
    KeyBlock().Parse(msg->Extra());
    OSBuf* out = msg->SysToNet();
    std::vector<UBYTE> encoded(out->Data().begin(), out->Data().end());
    out->Free();
    return encoded;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const UBYTE* data, size_t size) {
    static const bool started = Start();
    if (!started || size > 65507) return 0;
    const std::vector<UBYTE> once = RoundTrip({data, size});
    if (!ControlMessage::HasFixedPart(once) || RoundTrip(once) != once) std::abort();
    return 0;
}

// Report lines of the RTP driver: any bytes are taken apart without reading past their end.
#include "common/rtpdev.h"
#include "platform/kernel/Kernel.h"

namespace {

// Formats every line, so that what is printed is read.
class FormattingConsole final : public OSConsole {
 public:
    void vPrint(const char* str, va_list vargs) override {
        char line[2048];
        vsnprintf(line, sizeof line, str, vargs);
    }
};

void OnKey(void* /*obj*/, int /*channel*/, char /*key*/, int /*duration*/) {}

RTPDevice& Device() {
    static FormattingConsole console;
    static KernelCfg cfg;
    Console = &console;
    os_startup(0, 0, &cfg);
    constexpr int None = 3;
    static RTPDevice& device = *new RTPDevice(None);  // never destroyed
    device.SetDTMFCallback(OnKey, nullptr);
    return device;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const UBYTE* data, size_t size) {
    static RTPDevice& device = Device();
    constexpr size_t MostRead = 1600;
    if (size > MostRead) return 0;
    OSBuf* buf = OSBuf::Alloc(static_cast<int>(size));
    buf->PushData(data, static_cast<int>(size));
    device.Receive(buf);
    return 0;
}

// Beginning and end of the kernel library.
#include "platform/kernel/Startup.h"

#include <algorithm>
#include <climits>

#include "platform/kernel/OSBufPools.h"
#include "platform/kernel/OSCallback.h"
#include "platform/kernel/OSLink.h"
#include "platform/kernel/Sleepers.h"

pthread_attr_t std_thread_attr;
void* OS_MEMORY = OS_EMPTYPOOL;
char OS_EMPTYPOOL[1];

namespace {

constexpr int ParkMs = 1000;

// The sanitizers' frames are several times the size of ours.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int ThreadStack = 2 * 1024 * 1024;
#else
constexpr int ThreadStack = 256 * 1024;
#endif

void SetThreadStack(int bytes) {
    pthread_attr_setstacksize(&std_thread_attr,
                              static_cast<std::size_t>(std::max<long>(bytes, PTHREAD_STACK_MIN)));
}

// Threads may be made before os_startup, with the default.
[[gnu::constructor(102)]] void PrepareThreadAttributes() {
    pthread_attr_init(&std_thread_attr);
    SetThreadStack(ThreadStack);
}

}  // namespace

KernelCfg::KernelCfg() : trigger_stack(ThreadStack) {}

void os_startup(int /*reserved1*/, int /*reserved2*/, KernelCfg* cfg) {
    kernel::Sleepers::Reopen();
    OSLink::FillPool(cfg->link_qty);
    OSCallback::FillPool(cfg->callback_qty);
    OSBufPools::Make(*cfg);
    SetThreadStack(cfg->trigger_stack);
}

void os_cleanup() {
    kernel::Sleepers::ParkAll(ParkMs);
    OSBufPools::Drop();
}

#include "app/Startup.h"

#include <cstdlib>

#include "app/Globals.h"
#include "app/MainConsole.h"
#include "platform/kernel/AsyncSocket.h"

namespace {

// Off the server's hardware audio frames pass through this process: many small buffers, and no message of the
// smallest kind.
void ConfigureSoftwarePools() {
    static constexpr int Sizes[] = {0, 160, 600, 1740};
    static constexpr int Quantities[] = {200, 8000, 500};
    for (int pool = 0; pool < 4; pool++) cfg.buf_size[pool] = Sizes[pool];
    for (int pool = 0; pool < 3; pool++) cfg.buf_qty[pool] = Quantities[pool];
}

}  // namespace

void Startup() {
    cfg.link_qty = 100000;
    if (!real_hardware) ConfigureSoftwarePools();
    cfg.buf_qty[3] = 500;
    os_startup(0, 0, &cfg);
    Console = new MainConsole;
}

void Cleanup() {
    AsyncSocket::Cleanup();
    os_cleanup();
    delete Console;
    if (OS_MEMORY != OS_EMPTYPOOL) free(OS_MEMORY);
}

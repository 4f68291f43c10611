// The kernel library's beginning and end.
#pragma once

#include <pthread.h>

#include "platform/kernel/Types.h"

struct KernelCfg {
    KernelCfg();

    int buf_size[4] = {64, 160, 600, 1740};  // bytes of room of the buffers of each pool, ascending
    int buf_qty[4] = {500, 4000, 500, 500};  // buffers in each pool
    int buf_min_space = 32;                  // bytes that stay free behind a buffer's data
    int callback_qty = 4000;                 // callback records
    int link_qty = 20000;                    // list links
    int trigger_stack;                       // bytes of stack of a thread made with std_thread_attr
};

// Makes the pools and locks; before the first buffer, trigger or console use. The first two arguments are 0.
void os_startup(int reserved1, int reserved2, KernelCfg* cfg);

// Ends the library. Threads that still run are parked: from their next Sleep they never return, and this
// waits (at most a second) until each thread that has ever slept through the library is parked, except the
// caller. Buffers and callback records are gone afterwards; the memory at OS_MEMORY is the caller's to free.
void os_cleanup();

// Attributes for every thread of the system: joinable, with a small stack.
extern pthread_attr_t std_thread_attr;

// The pools' memory, released with free unless it is OS_EMPTYPOOL.
extern void* OS_MEMORY;
extern char OS_EMPTYPOOL[1];

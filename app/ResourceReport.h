// Tells operators what is left in the kernel library's pools, and which buffers have leaked.
//
// Each pass counts free links, callback records and buffers, and sockets in use. When a count has changed
// since the last line printed it prints the resources line, and a line for every buffer that has been
// allocated for 30 seconds or more. The main thread's, between os_startup and os_cleanup.
#pragma once

#include <array>

#include "platform/kernel/OSBuf.h"

class ResourceReport {
 public:
    void Pass();

 private:
    // What one pass compares with the last line.
    struct Counts {
        unsigned long mem = 0;                     // no allocator reports here: 0
        int links = 0;                             // free list links
        int callbacks = 0;                         // free callback records
        std::array<int, OSBuf::PoolCount> bufs{};  // free buffers of each pool
        int numasockets = 0;                       // asynchronous sockets in use
        int numsockets = 0;                        // sockets in use

        bool operator==(const Counts&) const = default;
    };

    static Counts Count();
    static void PrintResources(const Counts& counts);
    static void PrintLeaks();
    static void PrintLeak(const OSBuf& buf);

    Counts last;  // of the last line printed
};

// The memory behind OSBuf: four pools in one block, and the heap when they are dry.
#pragma once

#include "platform/kernel/OSBuf.h"
#include "platform/kernel/Startup.h"

class OSBufPools {
 public:
    // Makes the pools in one block of memory, which becomes OS_MEMORY.
    static void Make(const KernelCfg& cfg);
    // Empties the pools and frees what came from the heap. OS_MEMORY stays.
    static void Drop();

    // The smallest free buffer with `bytes` of room, from the heap when all are dry. Any thread.
    static OSBuf* Take(int bytes, const void* caller);
    // Takes a buffer back, to where it came from. Any thread.
    static void Give(OSBuf* buf);

 private:
    static OSBuf* Place(void* memory, int size, int pool);
    static OSBuf* PopFrom(int bytes);
    static OSBuf* MakeOnHeap(int bytes);
    static void DeleteOnHeap(OSBuf* buf);
};

// What the threads of a load run have in common.
#pragma once

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

namespace lab {

// Names the calling thread, and has other work on the machine be less in its way; where that is not allowed
// it goes on without.
inline void BecomeLoadThread(const char* name) {
    constexpr int Niceness = -10;
    pthread_setname_np(pthread_self(), name);
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), Niceness);
}

}  // namespace lab

// Priority and placement of threads.
#include "platform/kernel/Scheduling.h"

#include <pthread.h>
#include <sched.h>
#include <sys/rseq.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>

namespace kernel {

namespace {
thread_local bool takesTurns = false;
}

void NameThread(const char* name) {
    pthread_setname_np(pthread_self(), name);
}

bool TakeTurnsWithRealTimeThreads() {
    sched_param param{};
    param.sched_priority = sched_get_priority_max(SCHED_RR);
    takesTurns = pthread_setschedparam(pthread_self(), SCHED_RR, &param) == 0;
    return takesTurns;
}

void EndTurn() {
    if (takesTurns) sched_yield();
}

void KeepOnProcessor(unsigned index) {
    cpu_set_t allowed;
    if (sched_getaffinity(0, sizeof allowed, &allowed) != 0) return;
    int skip = static_cast<int>(index % static_cast<unsigned>(CPU_COUNT(&allowed)));
    for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
        if (!CPU_ISSET(cpu, &allowed) || skip-- > 0) continue;
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(cpu, &one);
        sched_setaffinity(0, sizeof one, &one);
        return;
    }
}

void LeaveRestartableSequences() {
    if (__rseq_size == 0) return;  // not registered
    constexpr unsigned SmallestArea = 32;
    void* area = static_cast<char*>(__builtin_thread_pointer()) + __rseq_offset;
    syscall(SYS_rseq, area, std::max(__rseq_size, SmallestArea), RSEQ_FLAG_UNREGISTER, RSEQ_SIG);
}

}  // namespace kernel

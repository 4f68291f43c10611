// Re-entrant, priority-inheriting locks over POSIX mutexes.
#include "platform/kernel/CriticalSection.h"

namespace {

// Holders leave within a fraction of a microsecond, while to block on an inheriting lock costs several, and
// those who queue for it are then handed it one context switch at a time.
constexpr int Attempts = 60;

void Relax() {
#if defined(__x86_64__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

}  // namespace

void InitializeCriticalSection(CRITICAL_SECTION* cs) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT);
    pthread_mutex_init(&cs->mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

void EnterCriticalSection(CRITICAL_SECTION* cs) {
    for (int attempt = 0; attempt < Attempts; ++attempt) {
        if (pthread_mutex_trylock(&cs->mutex) == 0) return;
        Relax();
    }
    pthread_mutex_lock(&cs->mutex);
}

void LeaveCriticalSection(CRITICAL_SECTION* cs) {
    pthread_mutex_unlock(&cs->mutex);
}

void DeleteCriticalSection(CRITICAL_SECTION* cs) {
    pthread_mutex_destroy(&cs->mutex);
}

// A re-entrant, priority-inheriting lock: real-time threads share these with ordinary ones.
#pragma once

#include <pthread.h>

struct CRITICAL_SECTION {
    pthread_mutex_t mutex;
};

void InitializeCriticalSection(CRITICAL_SECTION* cs);
void EnterCriticalSection(CRITICAL_SECTION* cs);
void LeaveCriticalSection(CRITICAL_SECTION* cs);
void DeleteCriticalSection(CRITICAL_SECTION* cs);

// Holds a critical section for a scope.
class CriticalSectionLock {
 public:
    explicit CriticalSectionLock(CRITICAL_SECTION& held) : cs(held) { EnterCriticalSection(&cs); }
    ~CriticalSectionLock() { LeaveCriticalSection(&cs); }
    CriticalSectionLock(const CriticalSectionLock&) = delete;
    CriticalSectionLock& operator=(const CriticalSectionLock&) = delete;

 private:
    CRITICAL_SECTION& cs;
};

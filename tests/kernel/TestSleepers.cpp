// What happens to threads that still run when the library ends, and the lock that real-time threads share.
#include <atomic>
#include <cstdlib>
#include <thread>

#include "tests/support/LoopTest.h"

namespace {

TEST(TestSleepers, CleanupParksThreadsThatSleepBeforeThePoolsGo) {
    EXPECT_EXIT(
        {
            KernelCfg cfg;
            os_startup(0, 0, &cfg);
            std::atomic<int> running{0};
            for (int i = 0; i < 50; ++i) {
                std::thread([&running] {
                    ++running;
                    for (;;) {
                        OSBuf* buf = OSBuf::Alloc(100);
                        buf->PushDown(100);
                        Sleep(1);
                        buf->Free();
                    }
                }).detach();
            }
            while (running < 50) Sleep(1);
            const ULONG start = os_clock();
            os_cleanup();
            const bool prompt = os_expired(start, 900) == 0;
            std::free(OS_MEMORY);
            // A thread that went on would run into freed memory here.
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            std::_Exit(prompt ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(TestSleepers, SleepEndsWhenTheClockHasAdvanced) {
    for (const ULONG ms : {1U, 2U, 7U}) {
        const ULONG start = os_clock();
        Sleep(ms);
        EXPECT_GE(os_clock() - start, ms);
    }
}

TEST(TestSleepers, CriticalSectionsAreReentrantForTheirOwnerAlone) {
    CRITICAL_SECTION cs;
    InitializeCriticalSection(&cs);
    EnterCriticalSection(&cs);
    EnterCriticalSection(&cs);
    int other = -1;
    std::thread([&] { other = pthread_mutex_trylock(&cs.mutex); }).join();
    EXPECT_EQ(other, EBUSY);
    LeaveCriticalSection(&cs);
    std::thread([&] { other = pthread_mutex_trylock(&cs.mutex); }).join();
    EXPECT_EQ(other, EBUSY) << "still held once";
    LeaveCriticalSection(&cs);
    std::thread([&] {
        other = pthread_mutex_trylock(&cs.mutex);
        if (other == 0) pthread_mutex_unlock(&cs.mutex);
    }).join();
    EXPECT_EQ(other, 0);
    DeleteCriticalSection(&cs);
}

}  // namespace

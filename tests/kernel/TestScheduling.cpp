// Priority and placement of threads.
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>

#include <set>
#include <thread>

#include "platform/kernel/Scheduling.h"

namespace {

TEST(TestScheduling, AThreadTakesTurnsWithRealTimeOnesOrStaysWhatItWas) {
    std::thread([] {
        const bool raised = kernel::TakeTurnsWithRealTimeThreads();
        int policy = -1;
        sched_param param{};
        pthread_getschedparam(pthread_self(), &policy, &param);
        EXPECT_EQ(policy, raised ? SCHED_RR : SCHED_OTHER);
        EXPECT_EQ(param.sched_priority, raised ? sched_get_priority_max(SCHED_RR) : 0);
    }).join();
}

TEST(TestScheduling, ThreadsAreSpreadOverTheProcessorsThatTheyMayUse) {
    cpu_set_t allowed;
    ASSERT_EQ(sched_getaffinity(0, sizeof allowed, &allowed), 0);
    const auto processors = static_cast<unsigned>(CPU_COUNT(&allowed));
    std::set<int> used;
    for (unsigned index = 0; index < 2 * processors; ++index) {
        std::thread([&] {
            kernel::KeepOnProcessor(index);
            cpu_set_t kept;
            ASSERT_EQ(sched_getaffinity(0, sizeof kept, &kept), 0);
            ASSERT_EQ(CPU_COUNT(&kept), 1);
            EXPECT_TRUE(CPU_ISSET(sched_getcpu(), &kept));
            EXPECT_TRUE(CPU_ISSET(sched_getcpu(), &allowed));
            used.insert(sched_getcpu());
        }).join();
    }
    EXPECT_EQ(used.size(), processors);
}

}  // namespace

// What threads of this very process use, by their names.
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <ctime>
#include <thread>

#include "tools/lab/ProcessMeter.h"

namespace lab {
namespace {

TEST(ThreadUsage, KnowsRolesByTheNamesOfThreads) {
    EXPECT_EQ(ThreadUsage::RoleOf("relay 12\n"), ThreadUsage::Relay);
    EXPECT_EQ(ThreadUsage::RoleOf("module\n"), ThreadUsage::Module);
    for (const char* name : {"", "a relay", "kestrel-compres\n"})
        EXPECT_EQ(ThreadUsage::RoleOf(name), ThreadUsage::Other) << name;
    EXPECT_FALSE(ThreadUsage::Read(0));
    EXPECT_FALSE(ThreadUsage::Read(-1));
}

// One thread works for 50 ms of its own time, one waits.
TEST(ProcessMeter, TellsWhoWorkedFromWhoWaited) {
    std::atomic<bool> begun{false};
    std::atomic<bool> worked{false};
    std::atomic<bool> ending{false};
    std::thread worker([&] {
        pthread_setname_np(pthread_self(), "relay 2");
        begun.wait(false);
        timespec used{};
        do clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
        while (used.tv_sec == 0 && used.tv_nsec < 50'000'000);
        worked = true;
        worked.notify_all();
        ending.wait(false);
    });
    std::thread idle([&] {
        pthread_setname_np(pthread_self(), "module");
        ending.wait(false);
    });
    while (ThreadUsage::Read(getpid())->shares[ThreadUsage::Relay].threads == 0 ||
           ThreadUsage::Read(getpid())->shares[ThreadUsage::Module].threads == 0)
        std::this_thread::yield();
    ProcessMeter meter(getpid());
    meter.Begin();
    begun = true;
    begun.notify_all();
    worked.wait(false);
    const std::optional<ProcessCost> cost = meter.End();
    ending = true;
    ending.notify_all();
    worker.join();
    idle.join();
    ASSERT_TRUE(cost);
    const double relaySeconds = cost->CpuPerSecond(ThreadUsage::Relay) * cost->seconds;
    EXPECT_GT(relaySeconds, 0.04);
    EXPECT_LE(relaySeconds, cost->cpuPerSecond * cost->seconds + 0.01);
    EXPECT_LT(cost->CpuPerSecond(ThreadUsage::Module) * cost->seconds, 0.01);
    EXPECT_EQ(cost->threads.shares[ThreadUsage::Module].threads, 1);
    EXPECT_GT(cost->rssBytes, 100'000U);
    EXPECT_FALSE(ProcessMeter(0).End());
}

}  // namespace
}  // namespace lab

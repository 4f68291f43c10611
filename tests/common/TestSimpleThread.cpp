// The worker thread's life, on real threads.
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "common/simplethread.h"
#include "platform/kernel/Event.h"
#include "platform/kernel/Startup.h"
#include "tests/support/RecordingConsole.h"

namespace {

// Waits until it is asked to stop, and counts.
class Worker : public SimpleThread {
 public:
    explicit Worker(bool start) : SimpleThread(false), stop(CreateEvent(nullptr, true, false, nullptr)) {
        if (start) Start();
    }
    ~Worker() override {
        Stop();
        CloseHandle(stop);
    }

    void OnStop() override {
        stops++;
        SetEvent(stop);
    }

    void Main() override {
        ranElsewhere = pthread_equal(pthread_self(), creator) == 0;
        WaitForSingleObject(stop, -1);
        ended++;
    }

    HANDLE stop;
    pthread_t creator = pthread_self();
    std::atomic<int> stops{0};
    std::atomic<int> ended{0};
    bool ranElsewhere = false;
};

class TestSimpleThread : public testing::Test {
 protected:
    RecordingConsole console;
};

TEST_F(TestSimpleThread, StopReturnsOnceMainHas) {
    Worker worker(true);
    worker.Stop();
    EXPECT_EQ(worker.ended, 1);
    EXPECT_TRUE(worker.ranElsewhere);
    worker.Stop();
    EXPECT_EQ(worker.stops, 1);
    EXPECT_TRUE(console.Lines().empty());
}

TEST_F(TestSimpleThread, ThreadsThatNeverStartedNeedNoStop) {
    Worker worker(false);
    worker.Stop();
    EXPECT_EQ(worker.stops, 0);
}

TEST_F(TestSimpleThread, CanStartAgain) {
    Worker worker(true);
    worker.Stop();
    worker.Start();
    worker.Stop();
    EXPECT_EQ(worker.ended, 2);
}

TEST_F(TestSimpleThread, ManyThreadsEndWithTheirObjects) {
    std::vector<std::unique_ptr<Worker>> workers(100);
    for (auto& worker : workers) worker = std::make_unique<Worker>(true);
    workers.clear();
    EXPECT_TRUE(console.Lines().empty());
}

TEST_F(TestSimpleThread, AFailedStartIsReportedOnceAndNeedsNoStop) {
    // A stack larger than the address space: no thread can be made.
    const pthread_attr_t kept = std_thread_attr;
    ASSERT_EQ(pthread_attr_setstacksize(&std_thread_attr, std::size_t{1} << 47), 0);
    {
        Worker worker(true);
        worker.Stop();
        EXPECT_EQ(worker.stops, 0);
    }
    std_thread_attr = kept;
    ASSERT_EQ(console.Lines().size(), 1U);
    EXPECT_EQ(console.Lines()[0], "SimpleThread::Start - pthread_create errno " + std::to_string(EAGAIN));
}

}  // namespace

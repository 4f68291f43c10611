// Timers, queue triggers and the trigger event: order, cancelling, other threads, destruction from within
// callbacks.
#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "platform/kernel/OperatingSystem.h"
#include "tests/support/LoopTest.h"

namespace {

using TestTriggerLoop = LoopTest;

void Count(OSObj* counter, void* /*param*/, unsigned long value) {
    *static_cast<int*>(counter) += static_cast<int>(value);
}

struct Bomb {
    OSTimerTrigger own{0, 0};
    OSTimerTrigger* other = nullptr;
    int* runs = nullptr;

    static void Explode(OSObj* object, void* /*param*/, unsigned long /*value*/) {
        auto* bomb = static_cast<Bomb*>(object);
        ++*bomb->runs;
        delete bomb->other;
        delete bomb;
    }
};

// Time passes while the loop waits, and at no other moment.
class WaitingTime : public kernel::OperatingSystem {
 public:
    WaitingTime() { kernel::ReplaceSystem(this); }
    ~WaitingTime() override { kernel::ReplaceSystem(nullptr); }
    std::uint64_t MonotonicMicroseconds() override { return now; }
    int WaitEvents(int epoll, std::span<epoll_event> events, std::int64_t timeout) override {
        now += static_cast<std::uint64_t>(std::max<std::int64_t>(timeout, 0));
        return OperatingSystem::WaitEvents(epoll, events, 0);
    }

 private:
    std::uint64_t now = 1'000'000;
};

TEST_F(TestTriggerLoop, TimersFireInOrderOnceAndNotWhenCancelled) {
    const WaitingTime time;
    std::vector<int> order;
    struct Entry {
        std::vector<int>* order;
        int number;
        OSTimerTrigger timer{0, 0};
        Entry(std::vector<int>* order, int number) : order(order), number(number) {}
        static void Note(OSObj* object, void* /*param*/, unsigned long /*value*/) {
            auto* entry = static_cast<Entry*>(object);
            entry->order->push_back(entry->number);
        }
    };
    std::vector<std::unique_ptr<Entry>> entries;
    for (int i = 0; i < 40; ++i) {
        entries.push_back(std::make_unique<Entry>(&order, i));
        entries.back()->timer.SetCallback(Entry::Note, entries.back().get(), nullptr, 0);
        // 17 is coprime to 40: the heap sees neither ascending nor descending deadlines.
        entries.back()->timer.SetTimer(static_cast<ULONG>(5 + (i * 17) % 40));
    }
    for (int i = 0; i < 40; i += 4) entries[static_cast<std::size_t>(i)]->timer.Cancel();
    entries[1]->timer.SetTimer(60);  // in place of its first expiry
    ASSERT_TRUE(RunUntil([&] { return order.size() == 30; }));
    RunFor(20);
    ASSERT_EQ(order.size(), 30U);
    for (std::size_t i = 1; i + 1 < order.size(); ++i) {
        EXPECT_LT((order[i - 1] * 17) % 40, (order[i] * 17) % 40);
    }
    EXPECT_EQ(order.back(), 1);
}

TEST_F(TestTriggerLoop, ACallbackMayDestroyItsOwnTriggerAndAnotherThatIsReady) {
    int runs = 0;
    int others = 0;
    for (int i = 0; i < 10; ++i) {
        auto* bomb = new Bomb;
        bomb->runs = &runs;
        bomb->own.SetCallback(Bomb::Explode, bomb, nullptr, 0);
        bomb->other = new OSTimerTrigger(0, 0);
        bomb->other->SetCallback(Count, &others, nullptr, 1);
        bomb->own.SetTimer(1);
        bomb->other->SetTimer(2);
    }
    Sleep(5);  // all are due in one poll
    ASSERT_TRUE(RunUntil([&] { return runs == 10; }));
    RunFor(5);
    EXPECT_EQ(others, 0);
}

TEST_F(TestTriggerLoop, OtherThreadsArmTimersFireQueuesAndSignal) {
    int fired = 0;
    OSTimerTrigger timer(0, 0);
    timer.SetCallback(Count, &fired, nullptr, 1);
    OSQueue queue(0);
    OSQTrigger trigger(queue, 1, 0, 0);
    trigger.SetCallback(Count, &fired, nullptr, 100);
    HANDLE event = OSTrigger::TLSGetEvent();

    std::thread([&] { timer.SetTimer(1); }).join();
    ASSERT_TRUE(RunUntil([&] { return fired == 1; }));
    // The loop already waits, for ever, when the timer is armed and when the queue fills.
    std::thread late([&] {
        Sleep(5);
        timer.SetTimer(1);
    });
    while (fired == 1) {
        WaitForSingleObject(event, -1);
        OSTrigger::TLSPoll();
    }
    late.join();
    std::thread([&] { queue.Append(OSBuf::Alloc(10)); }).join();
    ASSERT_TRUE(RunUntil([&] { return fired == 102; }));
    queue.RemoveFirst()->Free();

    queue.Append(OSBuf::Alloc(10));
    trigger.Clear();
    RunFor(5);
    EXPECT_EQ(fired, 102);
    queue.RemoveFirst()->Free();

    std::thread([&] { SetEvent(event); }).join();
    EXPECT_EQ(WaitForSingleObject(event, -1), WAIT_OBJECT_0);
    OSTrigger::TLSPoll();
    EXPECT_EQ(WaitForSingleObject(event, 10), WAIT_TIMEOUT);
}

TEST_F(TestTriggerLoop, AnEndedLoopIgnoresLateSignalsAndItsTriggersAreHarmless) {
    HANDLE event = nullptr;
    std::unique_ptr<OSTimerTrigger> left;
    int fired = 0;
    std::thread([&] {
        OSTrigger::TLSInitialise();
        event = OSTrigger::TLSGetEvent();
        left = std::make_unique<OSTimerTrigger>(0, 0);
        left->SetCallback(Count, &fired, nullptr, 1);
        left->SetTimer(1);
        OSTrigger::TLSUninitialise();
        EXPECT_EQ(OSTrigger::TLSGetEvent(), nullptr);
    }).join();
    SetEvent(event);
    left->SetTimer(1);
    EXPECT_FALSE(left->IsArmed());
    left.reset();
    EXPECT_EQ(fired, 0);
}

TEST_F(TestTriggerLoop, EventsAreAutoOrManualReset) {
    HANDLE automatic = CreateEvent(nullptr, false, true, nullptr);
    EXPECT_EQ(WaitForSingleObject(automatic, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(automatic, 1), WAIT_TIMEOUT);
    std::thread signal([&] { SetEvent(automatic); });
    EXPECT_EQ(WaitForSingleObject(automatic, -1), WAIT_OBJECT_0);
    signal.join();
    CloseHandle(automatic);

    HANDLE manual = CreateEvent(nullptr, true, false, nullptr);
    EXPECT_EQ(WaitForSingleObject(manual, 0), WAIT_TIMEOUT);
    SetEvent(manual);
    EXPECT_EQ(WaitForSingleObject(manual, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(manual, 0), WAIT_OBJECT_0);
    CloseHandle(manual);
}

}  // namespace

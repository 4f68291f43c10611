// Kernel buffers: room, the pools' counts, and the order in which a dry pool is served.
#include <dlfcn.h>

#include <thread>

#include "platform/kernel/OSCallback.h"
#include "platform/kernel/OSLinkList.h"
#include "tests/support/LoopTest.h"

namespace {

class TestOSBuf : public LoopTest {
 protected:
    void SetUp() override {
        KernelCfg cfg;
        const int sizes[] = {0, 160, 600, 1740};
        const int quantities[] = {2, 3, 2, 1};
        std::copy(std::begin(sizes), std::end(sizes), cfg.buf_size);
        std::copy(std::begin(quantities), std::end(quantities), cfg.buf_qty);
        os_startup(0, 0, &cfg);
        OSTrigger::TLSInitialise();
    }
    static std::vector<int> FreeCounts() {
        std::vector<int> counts;
        for (const OSBufPool& pool : OSBuf::buffer_pool) counts.push_back(pool.free);
        return counts;
    }
};

TEST_F(TestOSBuf, RoomIsInFrontOfTheDataAndNeverOverrun) {
    OSBuf* buf = OSBuf::Alloc(130);
    EXPECT_EQ(buf->len, 0);
    UBYTE* payload = buf->PushDown(80);
    ASSERT_NE(payload, nullptr);
    EXPECT_EQ(buf->len, 80);
    EXPECT_EQ(buf->Headroom(), 50);
    const ULONG clock = 0x01020304;
    EXPECT_TRUE(buf->PushData(&clock, sizeof clock));
    EXPECT_EQ(buf->data, payload - 4);
    EXPECT_EQ(buf->PushDown(47), nullptr);
    EXPECT_FALSE(buf->PushData(&clock, -1));
    EXPECT_EQ(buf->len, 84);
    buf->Strip(4);
    EXPECT_EQ(buf->data, payload);
    ASSERT_NE(buf->Append(10), nullptr);
    EXPECT_EQ(buf->len, 90);
    EXPECT_EQ(buf->Append(buf->Tailroom() + 1), nullptr);
    buf->Strip(1000);
    EXPECT_EQ(buf->len, 0);
    buf->Free();
}

TEST_F(TestOSBuf, ADuplicateIsACopyWithHeadroom) {
    OSBuf* buf = OSBuf::Alloc(20);
    buf->PushData("twenty bytes of data", 20);
    buf->stamp = 4711;
    OSBuf* copy = buf->Duplicate();
    buf->data[0] = 'T';
    EXPECT_EQ(std::string(reinterpret_cast<char*>(copy->data), copy->len), "twenty bytes of data");
    EXPECT_EQ(copy->stamp, 4711U);
    EXPECT_GE(copy->Headroom(), 50);
    buf->Free();
    copy->Free();
}

TEST_F(TestOSBuf, ADryPoolIsServedFromTheNextLargerThenFromTheHeap) {
    struct Row {
        int bytes;
        std::vector<int> freeAfterwards;
    };
    const Row rows[] = {
        {0, {1, 3, 2, 1}},  {0, {0, 3, 2, 1}},    {0, {0, 2, 2, 1}},     {160, {0, 1, 2, 1}},
        {1, {0, 0, 2, 1}},  {100, {0, 0, 1, 1}},  {600, {0, 0, 0, 1}},   {161, {0, 0, 0, 0}},
        {80, {0, 0, 0, 0}}, {1741, {0, 0, 0, 0}}, {65535, {0, 0, 0, 0}},
    };
    std::vector<OSBuf*> taken;
    for (const Row& row : rows) {
        taken.push_back(OSBuf::Alloc(row.bytes));
        EXPECT_EQ(FreeCounts(), row.freeAfterwards);
        EXPECT_GE(taken.back()->size, row.bytes);
        ASSERT_NE(taken.back()->PushDown(row.bytes), nullptr);
        EXPECT_GE(taken.back()->Tailroom(), 32);
        std::fill_n(taken.back()->data, row.bytes, 0xAA);
    }
    EXPECT_EQ(OSBuf::allocated_list.Size(), 11);
    for (std::size_t i = 0; i < taken.size(); i += 2) taken[i]->Free();
    for (std::size_t i = 1; i < taken.size(); i += 2) taken[i]->Free();
    EXPECT_EQ(FreeCounts(), (std::vector<int>{2, 3, 2, 1}));
    EXPECT_EQ(std::vector<int>(std::begin(OSBuf::min_count), std::end(OSBuf::min_count)),
              (std::vector<int>{0, 0, 0, 0}));
}

TEST_F(TestOSBuf, ABufferMayStandInAListOfItsOwnersWhileItIsAllocated) {
    OSLinkList<OSBuf> queue;
    std::vector<OSBuf*> taken;
    for (const int bytes : {10, 1000, 0, 5000, 100}) {  // of different pools, and of the heap
        const std::uint64_t before = os_clock_us();
        while (os_clock_us() == before) {
        }
        taken.push_back(OSBuf::Alloc(bytes));
    }
    for (OSBuf* buf : taken) queue.Append(buf);
    EXPECT_EQ(OSBuf::allocated_list.OldestFirst(), taken);
    while (OSBuf* buf = queue.RemoveFirst()) buf->Free();
    EXPECT_EQ(OSBuf::allocated_list.Size(), 0);
    EXPECT_TRUE(OSBuf::allocated_list.OldestFirst().empty());
}

TEST_F(TestOSBuf, TheCallerOfAllocIsRecorded) {
    OSBuf* buf = OSBuf::Alloc(10);
    Dl_info info{};
    ASSERT_NE(buf->allocator, nullptr);
    EXPECT_NE(dladdr(buf->allocator, &info), 0);
    // The address lies in this test, which is in the executable, not in the library's own code.
    EXPECT_NE(reinterpret_cast<const void*>(&OSBuf::Alloc), buf->allocator);
    EXPECT_STREQ(info.dli_fname, program_invocation_name);
    buf->Free();
}

TEST_F(TestOSBuf, PrintShowsTheHeadButNotWhatMayBeKeys) {
    OSBuf* buf = OSBuf::Alloc(40);
    UBYTE* data = buf->PushDown(40);
    for (int i = 0; i < 40; ++i) data[i] = static_cast<UBYTE>(i < 12 ? i : 0xEE);
    buf->Print();
    EXPECT_EQ(console.Count("len 40, data 00 01 02 03 04 05 06 07 08 09 0a 0b ..."), 1);
    EXPECT_EQ(console.Count("ee"), 0);
    buf->Free();
}

TEST_F(TestOSBuf, ThreadsShareThePoolsWithoutLosingABuffer) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            const auto mark = static_cast<UBYTE>(t);
            for (int i = 0; i < 5000; ++i) {
                OSBuf* buffers[] = {OSBuf::Alloc(t * 200 + 1), OSBuf::Alloc(50)};
                for (OSBuf* buf : buffers) *buf->PushDown(1) = mark;
                for (OSBuf* buf : buffers) {
                    EXPECT_EQ(*buf->data, mark) << "another thread has it too";
                    buf->Free();
                }
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(FreeCounts(), (std::vector<int>{2, 3, 2, 1}));
}

TEST_F(TestOSBuf, LinksAndCallbackRecordsReturnToTheirPools) {
    const int links = OSLink::link_pool.count;
    const int records = OSCallback::callback_pool.count;
    {
        OSIndirectList<int> list;
        std::vector<int> values(static_cast<std::size_t>(links) + 5);
        for (int& value : values) list.Append(&value);
        EXPECT_EQ(OSLink::link_pool.count, 0) << "five links came from the heap";
        EXPECT_TRUE(list.Remove(&values[1]));
        EXPECT_FALSE(list.Remove(&values[1]));
        EXPECT_EQ(list.RemoveFirst(), values.data());
        EXPECT_EQ(list.Head(), &values[2]);
        EXPECT_EQ(list.Size(), links + 3);
        OSTimerTrigger timer(0, 0);
        timer.SetCallback([](OSObj*, void*, unsigned long) {}, nullptr, nullptr, 0);
        timer.SetCallback([](OSObj*, void*, unsigned long) {}, nullptr, nullptr, 1);
        EXPECT_EQ(OSCallback::callback_pool.count, records - 1);
    }
    EXPECT_EQ(OSLink::link_pool.count, links);
    EXPECT_EQ(OSCallback::callback_pool.count, records);
    {
        OSIndirectList<int> busy(2);
        int values[3] = {};
        for (int round = 0; round < 3; ++round) {
            for (int& value : values) busy.Append(&value);
            for (int& value : values) EXPECT_EQ(busy.RemoveFirst(), &value);
            EXPECT_EQ(OSLink::link_pool.count, links - 2) << "it keeps two";
        }
    }
    EXPECT_EQ(OSLink::link_pool.count, links);
}

}  // namespace

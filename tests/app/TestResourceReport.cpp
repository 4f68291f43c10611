// The resource report over the kernel library's real pools.
#include <gtest/gtest.h>

#include <cstdlib>

#include "app/ResourceReport.h"
#include "platform/kernel/Kernel.h"
#include "tests/support/LoopTest.h"

// Has a symbol of its own, unlike what stands in an unnamed namespace.
[[gnu::noinline]] OSBuf* AllocateForTheLeakReport() {
    OSBuf* buf = OSBuf::Alloc(100);
    buf->PushDown(40);
    return buf;
}

namespace {

constexpr ULONG LeakAgeMs = 30000;

class TestResourceReport : public LoopTest {
 protected:
    void SetUp() override {
        LoopTest::SetUp();
        report = ResourceReport();
        report.Pass();
        console.Clear();
    }

    // The lines of one pass.
    std::vector<std::string> Pass() {
        console.Clear();
        report.Pass();
        return console.Lines();
    }

    ResourceReport report;
};

TEST_F(TestResourceReport, TheFirstPassPrintsWhatThePoolsHold) {
    ResourceReport first;
    first.Pass();
    ASSERT_EQ(console.Lines().size(), 1U);
    char expected[256];
    KernelCfg cfg;
    snprintf(
        expected, sizeof expected,
        "Resources: mem=0 (0) L=%04d CB=%04d B=%02d(%02d),%02d(%02d),%02d(%02d),%02d(%02d) AsyncSockets=0 "
        "Sockets=0 ActiveChans=0\n",
        cfg.link_qty, cfg.callback_qty, cfg.buf_qty[0], OSBuf::min_count[0].load(), cfg.buf_qty[1],
        OSBuf::min_count[1].load(), cfg.buf_qty[2], OSBuf::min_count[2].load(), cfg.buf_qty[3],
        OSBuf::min_count[3].load());
    EXPECT_EQ(console.Lines()[0], expected);
    first.Pass();
    EXPECT_EQ(console.Lines().size(), 1U);
}

TEST_F(TestResourceReport, EveryCountThatChangesPrintsALine) {
    const auto expectLine = [this](const char* what, const std::string& part) {
        console.Clear();
        report.Pass();
        ASSERT_EQ(console.Lines().size(), 1U) << what;
        EXPECT_NE(console.Lines()[0].find(part), std::string::npos) << console.Lines()[0];
        report.Pass();
        EXPECT_EQ(console.Lines().size(), 1U) << what;
    };
    OSBuf* buf = OSBuf::Alloc(500);
    expectLine("buffers", ",499(499),");
    buf->Free();
    expectLine("buffers", ",500(499),");
    {
        OSIndirectList<int> list;
        int entry = 0;
        list.Append(&entry);
        expectLine("links", " L=19999 ");
    }
    expectLine("links", " L=20000 ");
    {
        OSTimerTrigger timer(0, 0);
        timer.SetCallback([](OSObj*, void*, unsigned long) {}, nullptr, nullptr, 0);
        expectLine("callbacks", " CB=3999 ");
    }
    expectLine("callbacks", " CB=4000 ");
    auto* socket = new AsyncSocket(false);
    ASSERT_EQ(socket->Create(AsyncSocket::Datagram, 0, 0x7F000001, false), 0);
    expectLine("sockets", "AsyncSockets=1 Sockets=1 ");
    socket->Free();
    expectLine("sockets", "AsyncSockets=0 Sockets=0 ");
}

TEST_F(TestResourceReport, ALowWaterCountAlonePrintsNothing) {
    OSBuf::Alloc(1000)->Free();
    report.Pass();
    EXPECT_TRUE(console.Lines().empty());
}

// The leak line of a buffer, without the symbol.
std::string LeakLine(const OSBuf* buf, unsigned age) {
    char line[256];
    snprintf(line, sizeof line, "BufLeak: buf %p, size %d, len 40, age %us, ptr %p",
             static_cast<const void*>(buf), buf->size, age, buf->allocator.load());
    return line;
}

TEST_F(TestResourceReport, LeaksAreNamedWheneverTheLineIsPrinted) {
    // Buffers of one microsecond have no order.
    const auto allocate = [] {
        const std::uint64_t now = os_clock_us();
        while (os_clock_us() == now) {
        }
        return AllocateForTheLeakReport();
    };
    OSBuf* leak = allocate();
    leak->stamp = os_clock() - LeakAgeMs - 1500;
    OSBuf* unnamed = allocate();
    unnamed->stamp = os_clock() - LeakAgeMs;
    unnamed->allocator = nullptr;
    OSBuf* young = allocate();
    OSBuf* behindYoung = allocate();
    behindYoung->stamp = os_clock() - LeakAgeMs;
    for (int pass = 0; pass < 2; pass++) {
        const std::vector<std::string> lines = Pass();
        ASSERT_EQ(lines.size(), 3U);
        EXPECT_EQ(lines[0].rfind("Resources: ", 0), 0U);
        EXPECT_EQ(lines[1].rfind(LeakLine(leak, 31) + " (", 0), 0U) << lines[1];
        EXPECT_NE(lines[1].find("AllocateForTheLeakReport"), std::string::npos) << lines[1];
        EXPECT_EQ(lines[2], LeakLine(unnamed, 30));
        EXPECT_TRUE(Pass().empty());
        // The second time another count has changed.
        if (pass == 0) young->Free();
        behindYoung->stamp = os_clock();
    }
    leak->Free();
    unnamed->Free();
    behindYoung->Free();
}

}  // namespace

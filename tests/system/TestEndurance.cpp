// What must not grow, and how the end comes with everything in use.
#include <regex>

#include "tests/system/SystemTest.h"

namespace {

class TestEndurance : public SystemTest {
 protected:
    // The counts of the latest resources line, from its first pool on.
    std::string LatestCounts() {
        std::string latest;
        for (const std::string& line : module.Daemon().Lines()) {
            std::smatch match;
            if (!std::regex_search(
                    line, match,
                    std::regex(
                        R"(L=(\d+) CB=(\d+) B=(\d+)\(\d+\),(\d+)\(\d+\),(\d+)\(\d+\),(\d+)\(\d+\) (AsyncSockets=\d+ Sockets=\d+))")))
                continue;
            latest.clear();
            for (std::size_t i = 1; i < match.size(); ++i) latest += match[i].str() + " ";
        }
        return latest;
    }
    // Waits until the counts are these: the report comes once a second.
    void ExpectCounts(const std::string& expected) {
        std::size_t from = 0;
        for (int i = 0; i < 15 && LatestCounts() != expected; ++i) {
            from = module.Daemon().LineCount();
            module.Daemon().WaitLine("Resources:", 1000, from);
        }
        EXPECT_EQ(LatestCounts(), expected);
    }
    void Round(UWORD chan) {
        lab::ControlClient& control = module.Control();
        ASSERT_TRUE(
            control.Map({.chan = chan, .comp = 1, .remote = SockAddr(0x7F000001, 40000), .mfpp = 20}));
        const auto outer = static_cast<UWORD>(chan + 1);
        ASSERT_TRUE(
            control.Map({.chan = outer, .comp = 11, .remote = SockAddr(0x7F000001, 40002), .mfpp = 2}));
        ASSERT_TRUE(control.HoldMusic(chan, 1, SockAddr("239.7.7.7", 45454)));
        ASSERT_TRUE(control.Unmap(chan));
        ASSERT_TRUE(control.Free(outer));
    }
};

TEST_F(TestEndurance, RoundsOfRequestsLeaveDescriptorsThreadsAndPoolsAsTheyWere) {
    StartModule();
    Round(0);
    std::size_t from = 0;
    ASSERT_TRUE(module.Daemon().WaitLine("Resources:", PatienceMs, from));
    ASSERT_TRUE(module.Daemon().WaitLine("RasEndpoint::OnRegistered", PatienceMs));
    std::string counts;
    for (std::string last = "?"; counts != last;) {
        last = counts;
        from = module.Daemon().LineCount();
        module.Daemon().WaitLine("Resources:", 1500, from);
        counts = LatestCounts();
    }
    const auto before = module.Daemon().Measure();
    ASSERT_TRUE(before);
    const char* wanted =
        std::getenv("KESTREL_ROUNDS");  // a round takes about 10 ms: a relay thread's last cycle
    const int rounds = wanted != nullptr ? std::atoi(wanted) : Sanitized ? 200 : 1000;
    for (int i = 0; i < rounds && !HasFatalFailure(); ++i) Round(static_cast<UWORD>(2 * (i % 8)));
    ExpectCounts(counts);
    const auto after = module.Daemon().Measure();
    ASSERT_TRUE(after);
    EXPECT_EQ(after->threads, before->threads);
    EXPECT_EQ(after->descriptors, before->descriptors);
    EXPECT_EQ(module.Daemon().CountLines("BufLeak"), 0U);
    ExpectCleanEnd();
}

TEST_F(TestEndurance, WithHundredsOfSlotsInUseTheEndIsOrderly) {
    const UWORD slots = Sanitized ? 100 : 500;
    lab::ModuleSetup::Options options;
    options.slots = slots;
    StartModule(options);
    auto talker = Phone(0, lab::Codec::Alaw);
    auto listener = Phone(1, lab::Codec::G729);
    talker->Talk(Speech().Code(lab::Codec::Alaw, 20));
    const auto first = module.Daemon().Measure();
    for (UWORD slot = 1; slot < slots; ++slot) {
        const auto chan = static_cast<UWORD>(2 * slot);
        ASSERT_TRUE(module.Control().Map({.chan = chan, .comp = 1, .remote = talker->Local(), .mfpp = 20}));
        ASSERT_TRUE(module.Control().Map(
            {.chan = static_cast<UWORD>(chan + 1), .comp = 11, .remote = listener->Local(), .mfpp = 2}));
    }
    ASSERT_TRUE(listener->WaitAudio(50, PatienceMs));
    const auto usage = module.Daemon().Measure();
    ASSERT_TRUE(first && usage);
    EXPECT_GE(usage->threads, slots);
    if (!Sanitized) {
        EXPECT_LT(usage->rssBytes, 150U << 20U);
    }
    RecordProperty("resident_kib_per_slot",
                   std::to_string((usage->rssBytes - first->rssBytes) / 1024 / slots));
    ExpectCleanEnd();
}

}  // namespace

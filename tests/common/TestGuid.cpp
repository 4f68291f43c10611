// Identifiers: their layout under a clock that stands still, their text, and a library that finds them.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "common/guid.h"
#include "platform/kernel/OperatingSystem.h"

namespace {

using Guid = std::array<unsigned char, 16>;
using Mac = std::array<unsigned char, 6>;

// A wall clock that stands still.
class StoppedClock : public kernel::OperatingSystem {
 public:
    StoppedClock() { kernel::ReplaceSystem(this); }
    ~StoppedClock() override { kernel::ReplaceSystem(nullptr); }
    void WallClock(timeval& out) override { out = now; }

    timeval now{0x6789ABCD, 0x000ABCDE};
};

Guid Build(unsigned char* mac = nullptr) {
    Guid guid;
    EXPECT_EQ(BuildGUID(guid.data(), mac), guid.data());
    return guid;
}

int ClockSequence(const Guid& guid) {
    return (guid[8] & 0x3F) << 8 | guid[9];
}

Mac Node(const Guid& guid) {
    Mac node;
    std::copy_n(guid.begin() + 10, 6, node.begin());
    return node;
}

std::string Text(Guid guid) {
    char text[37];
    EXPECT_EQ(GUIDToString(guid.data(), text), text);
    return text;
}

Guid Read(std::string text) {
    Guid guid;
    guid.fill(0x77);
    GUIDFromString(guid.data(), text.data());
    return guid;
}

// Before any other test of this program sets an address.
TEST(TestGuid, ANodeOfItsOwnIsRandomUntilAnAddressIsSet) {
    std::set<Mac> nodes;
    for (int i = 0; i < 20; i++) nodes.insert(Node(Build()));
    EXPECT_EQ(nodes.size(), 20U);
    for (const Mac& node : nodes) EXPECT_NE(node[0] & 0x80, 0);
    Mac own = {0x02, 0x11, 0x22, 0x33, 0x44, 0x55};
    GUIDSetMac(own.data());
    EXPECT_EQ(Node(Build()), own);
    Mac given = {6, 5, 4, 3, 2, 1};
    EXPECT_EQ(Node(Build(given.data())), given);
    EXPECT_EQ(Node(Build()), own);
}

TEST(TestGuid, TimeAndClockSequenceStandWhereTheyBelong) {
    StoppedClock clock;
    const Guid first = Build();
    const unsigned char time[] = {0xDE, 0xBC, 0x0A, 0x00, 0xCD, 0xAB, 0x89, 0x17};
    EXPECT_TRUE(std::equal(std::begin(time), std::end(time), first.begin())) << Text(first);
    EXPECT_EQ(first[8] & 0xC0, 0x80);

    // The clock stands still for longer than there are sequence numbers.
    int expected = ClockSequence(first);
    for (int i = 0; i < 0x4000 + 3; i++) {
        const Guid next = Build();
        expected = (expected + 1) % 0x4000;
        ASSERT_EQ(ClockSequence(next), expected);
        ASSERT_EQ(next[8] & 0xC0, 0x80);
    }
    clock.now.tv_usec++;
    EXPECT_EQ(ClockSequence(Build()), expected) << "another time needs no other sequence";
    clock.now.tv_sec++;
    EXPECT_EQ(ClockSequence(Build()), expected);
    clock.now.tv_usec--;
    clock.now.tv_sec--;
    EXPECT_EQ(ClockSequence(Build()), expected) << "only the last time counts";
}

TEST(TestGuid, ThreadsNeverGetTheSame) {
    constexpr int Threads = 4;
    constexpr int Each = 2000;
    Mac mac = {1, 1, 1, 1, 1, 1};
    std::vector<std::vector<Guid>> built(Threads);
    std::vector<std::thread> threads;
    for (std::vector<Guid>& own : built) {
        threads.emplace_back([&own, &mac] {
            for (int i = 0; i < Each; i++) own.push_back(Build(mac.data()));
        });
    }
    for (std::thread& thread : threads) thread.join();
    std::set<Guid> all;
    for (const std::vector<Guid>& own : built) all.insert(own.begin(), own.end());
    EXPECT_EQ(all.size(), std::size_t{Threads} * Each);
}

TEST(TestGuid, TextAndBack) {
    Guid guid;
    for (std::size_t i = 0; i < guid.size(); i++) guid[i] = static_cast<unsigned char>(i * 0x11);
    const std::string text = "00112233-4455-6677-8899-aabbccddeeff";
    EXPECT_EQ(Text(guid), text);
    std::string upper = text;
    std::transform(upper.begin(), upper.end(), upper.begin(), ::toupper);
    for (const std::string& form : {text, upper, "\"" + text, "\"" + text + "\"", text + " and more",
                                    std::string("00112233x4455y6677z8899?aabbccddeeff")}) {
        EXPECT_EQ(Read(form), guid) << form;
    }
    for (int i = 0; i < 100; i++) {
        const Guid built = Build();
        EXPECT_EQ(Read(Text(built)), built);
    }
}

TEST(TestGuid, TextThatIsShortOrNoneReadsAsItIs) {
    const Guid zero{};
    EXPECT_EQ(Read(""), zero);
    EXPECT_EQ(Read("\""), zero);
    Guid expected{};
    expected[0] = 0x12;
    expected[1] = 0x30;
    EXPECT_EQ(Read("123"), expected);
    expected[1] = 0x34;
    expected[2] = 0x56;
    expected[3] = 0x78;
    expected[4] = 0x9A;
    EXPECT_EQ(Read("12345678-9a"), expected);
    // Other characters yield what the rule for digits gives: G is 16, a space -16, both cut to a byte.
    expected = {};
    expected[0] = (16 * 16 + 16) & 0xFF;
    expected[1] = (-16 * 16 - 16) & 0xFF;
    EXPECT_EQ(Read("Gg  "), expected);
}

TEST(TestGuid, ALibraryFindsThem) {
    void* library = dlopen(KESTREL_GUID_LIBRARY, RTLD_NOW);
    ASSERT_NE(library, nullptr) << dlerror();
    auto* test = reinterpret_cast<const char* (*)()>(dlsym(library, "TestGuidLibrary"));
    ASSERT_NE(test, nullptr);
    EXPECT_STREQ(test(), "");
    dlclose(library);
}

}  // namespace

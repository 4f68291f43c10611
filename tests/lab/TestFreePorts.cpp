#include <gtest/gtest.h>

#include "tools/lab/FreePorts.h"
#include "tools/lab/UdpSocket.h"

namespace lab {
namespace {

TEST(FreePorts, GivesRangesThatCanBeBoundAndNeverTheSameTwice) {
    const std::optional<UWORD> first = FindFreePorts(40);
    const std::optional<UWORD> second = FindFreePorts(40);
    ASSERT_TRUE(first && second);
    EXPECT_EQ(*first % 4, 0);
    EXPECT_TRUE(*second >= *first + 40 || *first >= *second + 40);
    std::string error;
    for (int i = 0; i < 40; ++i) {
        UdpSocket socket;
        EXPECT_TRUE(socket.Open(SockAddr(0U, static_cast<UWORD>(*first + i)), error)) << error;
    }
    EXPECT_FALSE(FindFreePorts(60000));
}

TEST(FreePorts, PassesOverWhatIsTaken) {
    std::string error;
    const std::optional<UWORD> range = FindFreePorts(8);
    ASSERT_TRUE(range);
    UdpSocket behind;  // the range that would come next
    ASSERT_TRUE(behind.Open(SockAddr(0U, static_cast<UWORD>(*range + 9)), error)) << error;
    const std::optional<UWORD> next = FindFreePorts(8);
    ASSERT_TRUE(next);
    EXPECT_TRUE(*next > *range + 9 || *next + 8 <= *range);
}

}  // namespace
}  // namespace lab

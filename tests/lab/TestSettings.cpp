// What users type: addresses and legs.
#include <gtest/gtest.h>

#include "tools/lab/LegSettings.h"
#include "tools/lab/SockAddrText.h"

namespace lab {
namespace {

TEST(SockAddrText, ReadsAddressesRowByRow) {
    const struct {
        const char* text;
        UWORD defaultPort;
        const char* expected;  // null: refused
    } rows[] = {{"127.0.0.1:5060", 0, "127.0.0.1:5060"},
                {"10.0.0.1", 1719, "10.0.0.1:1719"},
                {"10.0.0.1:65535", 0, "10.0.0.1:65535"},
                {"10.0.0.1", 0, nullptr},
                {"10.0.0.1:", 1719, nullptr},
                {"10.0.0.1:0", 0, nullptr},
                {"10.0.0.1:65536", 0, nullptr},
                {"10.0.0.1:5x", 0, nullptr},
                {"10.0.0:5", 0, nullptr},
                {"host:5", 0, nullptr},
                {":5060", 0, nullptr},
                {"10.0.0.1:-5", 0, nullptr},
                {"", 1719, nullptr}};
    for (const auto& row : rows) {
        const std::optional<SockAddr> address = ParseSockAddr(row.text, row.defaultPort);
        EXPECT_EQ(address.has_value(), row.expected != nullptr) << row.text;
        if (address && row.expected != nullptr) {
            EXPECT_EQ(ToText(*address), row.expected) << row.text;
        }
    }
}

TEST(LegSettings, ReadsLegsRowByRow) {
    const struct {
        const char* text;
        const char* internal;  // null: refused
        const char* external;
    } rows[] = {{"alaw", "alaw, 20 ms", "alaw, 20 ms"},
                {"ULAW/30", "ulaw, 30 ms", "ulaw, 30 ms"},
                {"g729/60:pcma/10", "g729, 60 ms", "alaw, 10 ms"},
                {"opus", nullptr, nullptr},
                {"alaw/15", nullptr, nullptr},
                {"alaw/70", nullptr, nullptr},
                {"alaw/", nullptr, nullptr},
                {"alaw:", nullptr, nullptr},
                {"", nullptr, nullptr}};
    for (const auto& row : rows) {
        std::string error;
        const auto legs = ParseLegs(row.text, error);
        EXPECT_EQ(legs.has_value(), row.internal != nullptr) << row.text;
        EXPECT_EQ(error.empty(), row.internal != nullptr) << row.text;
        if (!legs || row.internal == nullptr) continue;
        EXPECT_EQ(legs->first.Words(), row.internal) << row.text;
        EXPECT_EQ(legs->second.Words(), row.external) << row.text;
    }
    EXPECT_EQ((LegSettings{.codec = Codec::G729, .packetMs = 30}.Mfpp()), 3);
    EXPECT_EQ((LegSettings{.codec = Codec::Alaw, .packetMs = 30}.Mfpp()), 30);
}

}  // namespace
}  // namespace lab

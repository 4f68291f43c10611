// What the encoder writes, as an independent protocol dissector (tshark, Debian's package) reads it.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/h323/Captures.h"
#include "tests/h323/Samples.h"

namespace {

class TestRasDissection : public ::testing::Test {
 protected:
    void SetUp() override {
        if (std::system("command -v tshark >/dev/null && command -v text2pcap >/dev/null") != 0) {
            GTEST_SKIP() << "tshark is not installed";
        }
        char name[] = "/tmp/kestrel-ras-XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        folder = name;
    }
    void TearDown() override {
        if (!folder.empty()) std::filesystem::remove_all(folder);
    }

    // The dissector's output lines for `messages`, each of which is a datagram to the RAS port.
    std::vector<std::string> Dissect(const std::vector<RasMessage>& messages,
                                     const std::string& options) const {
        std::ofstream dump(folder + "/dump");
        for (const RasMessage& message : messages) {
            dump << "000000";
            for (const std::uint8_t octet : message.Encode()) dump << ' ' << ToHex({octet});
            dump << '\n';
        }
        dump.close();
        const std::string command = "cd " + folder +
                                    " && text2pcap -q -u 1719,1719 dump pcap 2>/dev/null && tshark -r pcap " +
                                    options + " >out 2>/dev/null";
        EXPECT_EQ(std::system(command.c_str()), 0) << command;
        std::vector<std::string> lines;
        std::ifstream out(folder + "/out");
        for (std::string line; std::getline(out, line);) lines.push_back(line);
        return lines;
    }

    std::string folder;
};

TEST_F(TestRasDissection, EveryKindIsReadWithoutComplaint) {
    const std::vector<RasMessage> messages = FullSamples();
    const std::vector<std::string> lines =
        Dissect(messages,
                "-T fields -E separator=/s -e h225.RasMessage -e h225.requestSeqNum -e _ws.malformed "
                "-e _ws.expert.message");
    ASSERT_EQ(lines.size(), messages.size());
    for (std::size_t i = 0; i < messages.size(); ++i) {
        // Kind and number, and nothing behind them: neither malformed nor a remark of an expert.
        std::ostringstream expected;
        expected << messages[i].body.index() << ' ' << messages[i].SequenceNumber();
        EXPECT_EQ(lines[i].substr(0, lines[i].find_last_not_of(' ') + 1), expected.str())
            << messages[i].Dump();
    }
}

TEST_F(TestRasDissection, ComponentsHaveTheirValues) {
    const std::vector<std::string> lines =
        Dissect(FullSamples(),
                "-Y h225.registrationRequest_element -T fields -E separator=/s -e h225.timeToLive "
                "-e h225.gatekeeperIdentifier -e h225.dialledDigits -e h225.manufacturerCode "
                "-e h225.url_ID -e h225.email_ID");
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_NE(lines[0].find("4294967295 !Kestrel 0123456789#*, 19269,"), std::string::npos) << lines[0];
    EXPECT_NE(lines[0].find("h323:a@b a@b"), std::string::npos) << lines[0];
}

}  // namespace

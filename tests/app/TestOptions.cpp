// The command line, word by word.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/Globals.h"
#include "app/Options.h"
#include "platform/h323/H245Session.h"
#include "platform/h323/H323Session.h"
#include "platform/h323/H450Service.h"
#include "platform/h323/Ras.h"
#include "platform/kernel/AsyncSocket.h"

namespace {

class TestOptions : public testing::Test {
 protected:
    void SetUp() override {
        compressionBase = 6300;
        relayQuantity = 0;
        AsyncSocket::SetPrimaryAddress(0);
    }
    void TearDown() override { SetUp(); }

    // What the words give; `output` is what was printed meanwhile.
    std::optional<int> Read(std::vector<std::string> words) {
        words.insert(words.begin(), "kestrel-compressor");
        std::vector<char*> pointers;
        pointers.reserve(words.size());
        for (std::string& word : words) pointers.push_back(word.data());
        options = Options();
        testing::internal::CaptureStdout();
        const std::optional<int> status = options.Read(static_cast<int>(pointers.size()), pointers.data());
        output = testing::internal::GetCapturedStdout();
        return status;
    }

    Options options;
    std::string output;
};

TEST_F(TestOptions, Gatekeeper) {
    struct Row {
        std::vector<std::string> words;
        const char* address;
        int port;
    };
    const Row rows[] = {{{}, "", 1718},
                        {{"-gk", "10.0.0.1"}, "10.0.0.1", 1719},
                        {{"-gk", "10.0.0.1:1720"}, "10.0.0.1", 1720},
                        {{"-GK", "10.0.0.1:"}, "10.0.0.1", 1719},
                        {{"-gk", "10.0.0.1:x99"}, "10.0.0.1", 1719},
                        {{"-gk", "10.0.0.1:-5"}, "10.0.0.1", 1719},
                        {{"-gk", "10.0.0.1:99x"}, "10.0.0.1", 99},
                        {{"-gk", "10.0.0.1:0"}, "10.0.0.1", 0},
                        {{"-gk", ":1720"}, "", 1720},
                        {{"-gk", "10.0.0.1:70000"}, "10.0.0.1", 4464},
                        {{"-gk", "10.0.0.1:4294967297"}, "10.0.0.1", 1},
                        {{"-gk", "10.0.0.1:9:8"}, "10.0.0.1", 9},
                        {{"-gk", "-rtpbase"}, "-rtpbase", 1719},
                        {{"-gk", ""}, "", 1719},
                        {{"-gkx", "10.0.0.1"}, "", 1718},
                        {{"-gk", "1.1.1.1:5", "-gk", "2.2.2.2"}, "2.2.2.2", 1719}};
    for (const Row& row : rows) {
        EXPECT_EQ(Read(row.words), std::nullopt);
        EXPECT_TRUE(options.gkAddress == row.address) << row.address;
        EXPECT_EQ(options.gkPort, row.port) << row.address;
    }
}

TEST_F(TestOptions, NumbersOfPortsAndChannels) {
    struct Row {
        std::vector<std::string> words;
        int base;
        int relays;
    };
    const Row rows[] = {{{"-rtpbase", "7000"}, 7000, 0},
                        {{"-RTPBASE", "7000"}, 6300, 0},
                        {{"-rtpbase", "0"}, 6300, 0},
                        {{"-rtpbase", "-5"}, 6300, 0},
                        {{"-rtpbase", "-relayquantity", "40"}, 6300, 0},
                        {{"-rtpbase", "99999999999999999999"}, 2147483647, 0},
                        {{"-relayquantity", "40"}, 6300, 40},
                        {{"-relayquantity", "x"}, 6300, 0},
                        {{"-RelayQuantity", "40"}, 6300, 0},
                        {{"word", "-relayquantity", "7", "-rtpbase", "8000", "end"}, 8000, 7}};
    for (const Row& row : rows) {
        SetUp();
        EXPECT_EQ(Read(row.words), std::nullopt);
        EXPECT_EQ(compressionBase, row.base) << row.words[0];
        EXPECT_EQ(relayQuantity, row.relays) << row.words[0];
        EXPECT_EQ(output, "");
    }
}

TEST_F(TestOptions, MissingArguments) {
    for (const std::string option : {"-gk", "-rtpbase", "-relayquantity"}) {
        EXPECT_EQ(Read({"-hostaddr=127.0.0.1", option}), -1);
        EXPECT_EQ(output.substr(0, 4 + option.size()), "Use " + option);
        EXPECT_EQ(output.back(), '\n');
    }
}

TEST_F(TestOptions, HostAddress) {
    struct Row {
        const char* word;
        ULONG address;
        bool complains;
    };
    const Row rows[] = {{"-hostaddr=127.0.0.1", 0, false},
                        {"-hostaddr=127.0.0.2", 0x7F000002, false},
                        {"-HOSTADDR=10.1.1.1", 0x0A010101, false},
                        {"-hostaddr=", 0, true},
                        {"-hostaddr=10.1.1", 0, true},
                        {"-hostaddr", 0, false}};
    for (const Row& row : rows) {
        SetUp();
        EXPECT_EQ(Read({row.word}), std::nullopt);
        EXPECT_EQ(AsyncSocket::local_ipaddr, row.address) << row.word;
        EXPECT_EQ(!output.empty(), row.complains) << row.word;
    }
}

TEST_F(TestOptions, TraceSwitches) {
    struct Row {
        const char* word;
        std::vector<int> switches;  // socket, RAS, RAS packets, H.323, H.245, H.450
    };
    const Row rows[] = {{"-debug-socket", {1, 0, 0, 0, 0, 0}},   {"-debug-ras", {0, 1, 0, 0, 0, 0}},
                        {"-Debug-Ras-Pkt", {0, 0, 1, 0, 0, 0}},  {"-debug-h323", {0, 0, 0, 1, 0, 0}},
                        {"-debug-h225", {0, 0, 0, 2, 0, 0}},     {"-debug-h245", {0, 0, 0, 0, 1, 0}},
                        {"-debug-h245-pkt", {0, 0, 0, 0, 2, 0}}, {"-debug-h450", {0, 0, 0, 0, 0, 1}},
                        {"-debug-", {0, 0, 0, 0, 0, 0}}};
    const auto reset = [] {
        AsyncSocket::trace = H323Session::msgTrace = H245Session::msgTrace = 0;
        Ras::infoTrace = Ras::msgTrace = H450Service::msgTrace = 0;
    };
    for (const Row& row : rows) {
        reset();
        EXPECT_EQ(Read({row.word}), std::nullopt);
        const std::vector<int> switches{AsyncSocket::trace,    Ras::infoTrace,        Ras::msgTrace,
                                        H323Session::msgTrace, H245Session::msgTrace, H450Service::msgTrace};
        EXPECT_EQ(switches, row.switches) << row.word;
    }
    reset();
}

}  // namespace

// The RTP driver's devices: which is opened, and what becomes of every kind of line.
#include "common/rtpdev.h"
#include "tests/common/DeviceTest.h"

namespace {

using Texts = std::vector<std::string>;

constexpr int NoDevice = 3;

class TestRTPDevice : public DeviceTest {
 protected:
    static OSBuf* Buffer(const std::string& text) {
        OSBuf* buf = OSBuf::Alloc(static_cast<int>(text.size()));
        buf->PushData(text.data(), static_cast<int>(text.size()));
        return buf;
    }
    static void OnKey(void* obj, int channel, char key, int duration) {
        char text[60];
        snprintf(text, sizeof text, "%d %02x %d", channel, static_cast<unsigned char>(key), duration);
        static_cast<Texts*>(obj)->emplace_back(text);
    }
    static std::string Unknown(const std::string& text) {
        return "RTPDevice::Receive - unknown command (" + text + ") from driver";
    }
};

TEST_F(TestRTPDevice, EveryKindOfLine) {
    struct Row {
        std::string text;
        Texts printed;
        Texts keys;
    };
    const Row rows[] = {
        {"dtmf 513,35,120\n", {"dtmf 513,35,120"}, {"513 35 120"}},
        {"dtmf:513,2a,1\n", {"dtmf:513,2a,1"}, {"513 2a 1"}},
        {"dtmf 513,23,0\n", {"dtmf 513,23,0"}, {"513 23 0"}},
        {"dtmf   515, 39, 80 ms\n", {"dtmf   515, 39, 80 ms"}, {"515 39 80"}},
        {"dtmf 513,0x41,7\n", {"dtmf 513,0x41,7"}, {"513 41 7"}},
        {"dtmf 513,1d35,120,9\n", {"dtmf 513,1d35,120,9"}, {"513 35 120"}},
        {"dtmf ,,\n", {"dtmf ,,"}, {"0 00 0"}},
        {"dtmf five,xy,zz\n", {"dtmf five,xy,zz"}, {"0 00 0"}},
        {"dtmf 4294967809,35,120\n", {"dtmf 4294967809,35,120"}, {"-1 35 120"}},
        {"dtmf 99999999999999999999,35,120\n", {"dtmf 99999999999999999999,35,120"}, {"-1 35 120"}},
        {"dtmf 513,35\n", {Unknown("dtmf 513,35")}, {}},
        {"dtmf 513\n", {Unknown("dtmf 513")}, {}},
        {"dtmf\n", {Unknown("dtmf")}, {}},
        {"dtmf,513,35\n", {Unknown("dtmf,513,35")}, {}},
        {"dtmf 513,35,120", {Unknown("dtmf 513,35,120")}, {}},
        {"dtmf 513\ndebug a,35,120\n", {Unknown("dtmf 513"), "RTP: a,35,120"}, {}},
        {"debug buffer low\n", {"RTP: buffer low"}, {}},
        {"debug %s %n\n", {"RTP: %s %n"}, {}},
        {"debug\n", {"RTP: "}, {}},
        {"debug \n", {"RTP: "}, {}},
        {"debug buffer", {Unknown("debug buffer")}, {}},
        {"hello\n", {Unknown("hello\n")}, {}},
        {"deb", {Unknown("deb")}, {}},
        {"\n", {Unknown("\n")}, {}},
        {"", {}, {}},
        {"xx debug ok\n", {"RTP: ok"}, {}},
        {"hello\nddtmf 513,31,1\n", {"dtmf 513,31,1"}, {"513 31 1"}},
        {"dtmf 513,31,1\ndtmf 515,32,2\n\ndebug x\nrest",
         {"dtmf 513,31,1", "dtmf 515,32,2", "RTP: x", Unknown("rest")},
         {"513 31 1", "515 32 2"}},
        {std::string("debug a\0b\n", 10), {Unknown("debug a")}, {}},
        {std::string(3, '\0') + "dtmf 513,35,120\n", {}, {}},
        {"dtmf 513,35,120\n" + std::string(1, '\0') + "debug b\n", {"dtmf 513,35,120"}, {"513 35 120"}},
    };
    RTPDevice device(NoDevice);
    for (const Row& row : rows) {
        Texts keys;
        device.SetDTMFCallback(OnKey, &keys);
        console.Clear();
        device.Receive(Buffer(row.text));
        EXPECT_EQ(console.Lines(), row.printed) << row.text;
        EXPECT_EQ(keys, row.keys) << row.text;
    }
}

TEST_F(TestRTPDevice, WithoutACallbackKeysGoToTheMediaLibrary) {
    RTPDevice device(NoDevice);
    device.Receive(Buffer("dtmf 513,35,120\n"));
    EXPECT_EQ(console.Count("RTPEndPointOnDTMFDigit - stream 513, digit 5, duration 120"), 1);
}

TEST_F(TestRTPDevice, LinesOfTheDeviceReachTheCallback) {
    twin.elsewhere["/dev/rtpif_dtmf2"] = path;
    RTPDevice device(2);
    Texts keys;
    device.SetDTMFCallback(OnKey, &keys);
    Feed("dtmf 513,31,1\ndtmf 515,32,2\ndtmf 51");
    Feed("7,33,3\ndtmf 519,34,4\n");
    ASSERT_TRUE(RunUntil([&] { return keys.size() == 3; }));
    EXPECT_EQ(keys, (Texts{"513 31 1", "515 32 2", "519 34 4"}));
    EXPECT_EQ(console.Count(Unknown("dtmf 51")), 1);
    EXPECT_EQ(console.Count(Unknown("7,33,3\n")), 1);
}

TEST_F(TestRTPDevice, EachOpensItsOwnDevice) {
    for (const char* device : {"/dev/rtpif", "/dev/rtpif_dtmf", "/dev/rtpif_dtmf2"}) {
        twin.elsewhere[device] = folder + "/missing";
    }
    twin.statusFault = EACCES;
    { const RTPDevice driver(false); }
    { const RTPDevice reports(true); }
    for (const int minor : {0, 1, 2, 3, -1}) const RTPDevice device(minor);
    EXPECT_EQ(twin.opened,
              (Texts{"/dev/rtpif", "/dev/rtpif_dtmf", "/dev/rtpif", "/dev/rtpif_dtmf", "/dev/rtpif_dtmf2"}));
    EXPECT_EQ(console.Count("DeviceTask::Start /dev/rtpif_dtmf2 - open failed 2"), 1);
    EXPECT_TRUE(twin.made.empty()) << "the node may be there";
    twin.statusFault = ENOENT;
    for (const int minor : {0, 1, 2}) const RTPDevice device(minor);
    EXPECT_EQ(twin.made, Texts{"/dev/rtpif_dtmf2 666 101:2"});
}

TEST_F(TestRTPDevice, WhatIsSentIsShown) {
    twin.elsewhere["/dev/rtpif"] = path;
    RTPDevice device(0);
    UBYTE text[] = {'s', 't', 'a', 't', 's', 'X'};
    device.Send(text, 5);
    EXPECT_EQ(console.Lines(), Texts{"RTPDevice::Send - stats (len=5)"});
    OSBuf* buf = Buffer("more");
    device.Send(buf);
    EXPECT_EQ(console.Count("RTPDevice::Send - more (len=4)"), 1);
    EXPECT_EQ(twin.writes, 2);
}

}  // namespace

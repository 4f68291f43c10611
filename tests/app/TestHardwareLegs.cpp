// Requests on the server's own hardware, with a driver behind it that counts and that refuses.
#include "tests/app/ControlTest.h"
#include "tests/support/RecordingHardware.h"

namespace {

class TestHardwareLegs : public ControlTest {
 protected:
    // Behind the control channel, which would look for the machine's own report device.
    void SetUp() override {
        ControlTest::SetUp();
        real_hardware = true;
    }
    void MapLeg(int chan, const Bytes& extra = {}) {
        const RtpPeer peer;
        Map(chan, peer, ControlMessage::Alaw, 20, 0, extra);
    }

    RecordingHardware driver;
};

TEST_F(TestHardwareLegs, FreeChanPrintsTheHardwaresCountersOfLegsThatHaveThem) {
    MapLeg(2);
    EXPECT_TRUE(IsAcknowledged(Message(ControlMessage::FreeChan, 3)));
    const std::string line =
        "ControlChannel::OnFreeChan - RTP Stats: dropped pkt 1, jitter changed 2, seq err 3, missed cb 4, "
        "dsp rx "
        "full 5, dsp tx full 6";
    EXPECT_EQ(console.Count(line), 1) << "the other leg has no endpoint";
    MapLeg(2);
    MapLeg(3);
    driver.accepts = false;
    EXPECT_TRUE(IsAcknowledged(Message(ControlMessage::FreeChan, 2)));
    EXPECT_EQ(console.Count("RTP Stats:"), 1) << "counters that cannot be read are left out";
    EXPECT_EQ(Pair(2), nullptr);
}

TEST_F(TestHardwareLegs, KeysThatTheHardwareRefusesCloseTheLeg) {
    MapLeg(2, KeyBlockBytes(1));
    ASSERT_NE(Leg(2).rtpendpoint, nullptr);
    EXPECT_EQ(driver.Take(), (std::vector<std::string>{"open 514, direction 3",
                                                       "protect 514, tag 10, a2 a1 a4 a3", "describe 514"}));
    driver.accepts = false;
    MapLeg(2, KeyBlockBytes(2));
    EXPECT_EQ(Leg(2).rtpendpoint, nullptr);
    EXPECT_EQ(console.Count("SRTP refused the keys, the channel stays closed"), 1);
    for (const std::string& note : driver.Take()) EXPECT_EQ(note.find("describe"), std::string::npos) << note;
}

TEST_F(TestHardwareLegs, BlockedDigitsStayBlocked) {
    MapLeg(2);
    const RtpPeer peer;
    Map(3, peer, ControlMessage::G729, 2, ControlMessage::FlagBlockDtmf);
    driver.Take();
    EXPECT_TRUE(IsAcknowledged(Message(ControlMessage::Digit, 2, '#', 160)));
    EXPECT_TRUE(driver.Take().empty());
    Map(3, peer, ControlMessage::G729, 2, 0);
    driver.Take();
    EXPECT_TRUE(IsAcknowledged(Message(ControlMessage::Digit, 2, '#', 160)));
    EXPECT_EQ(driver.Take(), std::vector<std::string>{"digit 515, #, 160"});
}

}  // namespace

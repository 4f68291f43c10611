// Endpoints on the server's hardware: what they ask of it, by a driver that writes everything down, and what
// stands in for a driver.
#include "platform/media/AudioHardware.h"
#include "platform/media/RTPEndPoint.h"
#include "platform/media/StreamKeeper.h"
#include "tests/support/LoopTest.h"
#include "tests/support/RecordingHardware.h"

namespace {

using Texts = std::vector<std::string>;

// An endpoint and its phone device, as the owner of a leg makes them; the device goes first.
struct Leg {
    explicit Leg(UWORD sid, const SockAddr& heard = SockAddr(1, 6300))
        : endpoint(heard, SockAddr(heard.Address(), heard.Port() + 1), media::Relay, false),
          phone(std::make_unique<PhoneDevice>(sid, PhoneDevice::InputOutput)) {
        endpoint.BindMediaSource(phone.get());
        endpoint.BindMediaSink(phone.get());
    }

    RTPEndPoint endpoint;
    std::unique_ptr<PhoneDevice> phone;
};

void Start(RTPEndPoint& endpoint) {
    endpoint.SetMSA(SockAddr(1, 6300), SockAddr(1, 6301), SockAddr(2, 5004), SockAddr(2, 5005), media::G729,
                    3, 101);
}

class TestHardwareStream : public LoopTest {};

TEST_F(TestHardwareStream, AStreamFromItsOpeningToItsEnd) {
    RecordingHardware driver;
    RtpSetRealTimeAudio();
    EXPECT_EQ(driver.Take(), Texts{"real time"});
    {
        Leg leg(517, SockAddr(0xEF010101, 7000));
        EXPECT_EQ(driver.Take(), Texts{"open 517, direction 3"}) << "once, for source and sink";
        UBYTE localSalt[14] = {};
        UBYTE localKey[16] = {};
        UBYTE remoteSalt[14] = {};
        UBYTE remoteKey[16] = {};
        localSalt[13] = 0xA1;
        localKey[15] = 0xA2;
        remoteSalt[13] = 0xA3;
        remoteKey[15] = 0xA4;
        EXPECT_EQ(leg.endpoint.SRTPEnable(4, localSalt, localKey, remoteSalt, remoteKey), 0);
        EXPECT_EQ(leg.endpoint.SRTPEnable(4, nullptr, localKey, remoteSalt, remoteKey), -1);
        Start(leg.endpoint);
        leg.endpoint.DTMFDigit('#', 120);
        _rtp_callstats stats{};
        EXPECT_EQ(leg.endpoint.GetStats(&stats), 0);
        EXPECT_EQ(leg.endpoint.GetStats(nullptr), -1);
        EXPECT_EQ(stats.hdr.sid, 517U);
        EXPECT_EQ(stats.dropped_pkt, 1U);
        EXPECT_EQ(stats.dsp_tx_full, 6U);
        EXPECT_EQ(driver.Take(), (Texts{"protect 517, tag 4, a1 a2 a3 a4", "describe 517",
                                        "digit 517, #, 120", "statistics 517"}));
        EXPECT_EQ(driver.last.heardRtp, SockAddr(0xEF010101, 7000));
        EXPECT_EQ(driver.last.heardRtcp, SockAddr(0xEF010101, 7001));
        EXPECT_EQ(driver.last.localRtp, SockAddr(1, 6300));
        EXPECT_EQ(driver.last.localRtcp, SockAddr(1, 6301));
        EXPECT_EQ(driver.last.remoteRtp, SockAddr(2, 5004));
        EXPECT_EQ(driver.last.remoteRtcp, SockAddr(2, 5005));
        EXPECT_EQ(driver.last.comp, media::G729);
        EXPECT_EQ(driver.last.mediaComp, media::Relay);
        EXPECT_EQ(driver.last.mfpp, 3);
        EXPECT_EQ(driver.last.dtmfPayloadType, 101);
        EXPECT_EQ(leg.phone->GetChannel(), 517);
        leg.phone->UnBind();
        leg.phone.reset();
    }
    EXPECT_EQ(driver.Take(), Texts{"close 517"});
}

TEST_F(TestHardwareStream, NoPacketPassesThroughTheEndpoint) {
    RecordingHardware driver;
    Leg leg(512);
    auto* socket = new AsyncSocket(false);
    ASSERT_EQ(socket->Create(AsyncSocket::Datagram, 0, 0x7F000001, true), 0);
    leg.endpoint.BindStreamData(socket);
    leg.endpoint.BindStreamControl(socket);
    EXPECT_EQ(socket->Bound(), nullptr);
    Start(leg.endpoint);
    EXPECT_EQ(leg.endpoint.DatagramIndication(OSBuf::Alloc(50), nullptr, nullptr), Blocked);
    EXPECT_EQ(leg.phone->DataIndication(OSBuf::Alloc(50)), Blocked);
    socket->Free();
    EXPECT_EQ(leg.endpoint.rxlen, 0U);
    EXPECT_EQ(leg.endpoint.rxdiscards, 0U);
}

TEST_F(TestHardwareStream, WhoeverEndsLeavesTheConferenceFirst) {
    RecordingHardware driver;
    auto host = std::make_unique<Leg>(512);
    auto first = std::make_unique<Leg>(514);
    auto second = std::make_unique<Leg>(516);
    driver.Take();
    host->endpoint.ConferenceAdd(&first->endpoint);
    host->endpoint.ConferenceAdd(&first->endpoint);
    host->endpoint.ConferenceAdd(&second->endpoint);
    host->endpoint.ConferenceAdd(nullptr);
    second->endpoint.ConferenceAdd(&first->endpoint);
    EXPECT_EQ(driver.Take(), (Texts{"mix 514 into 512", "mix 516 into 512"})) << "one host each, once";
    second->endpoint.ConferenceRemove(&first->endpoint);
    host->endpoint.ConferenceRemove(nullptr);
    EXPECT_TRUE(driver.Take().empty());
    host->endpoint.ConferenceRemove(&first->endpoint);
    host->endpoint.ConferenceRemove(&first->endpoint);
    EXPECT_EQ(driver.Take(), Texts{"mix 514 out of 512"});
    second->endpoint.ConferenceAdd(&first->endpoint);
    EXPECT_EQ(driver.Take(), Texts{"mix 514 into 516"}) << "a member may host";
    second.reset();
    EXPECT_EQ(driver.Take(), (Texts{"mix 516 out of 512", "mix 514 out of 516", "close 516"}));
    host->endpoint.ConferenceAdd(&host->endpoint);
    host->endpoint.ConferenceAdd(&first->endpoint);
    driver.Take();
    host.reset();
    EXPECT_EQ(driver.Take(), (Texts{"mix 512 out of 512", "mix 514 out of 512", "close 512"}));
    first.reset();
    EXPECT_EQ(driver.Take(), Texts{"close 514"});
}

TEST_F(TestHardwareStream, WhatTheHardwareRefusesIsReported) {
    RecordingHardware driver;
    Leg leg(512);
    Leg member(514);
    UBYTE key[16] = {};
    _rtp_callstats stats{};
    driver.accepts = false;
    Start(leg.endpoint);
    leg.endpoint.DTMFDigit('1', 40);
    leg.endpoint.ConferenceAdd(&member.endpoint);
    EXPECT_EQ(leg.endpoint.SRTPEnable(10, key, key, key, key), -1);
    EXPECT_EQ(leg.endpoint.GetStats(&stats), -1);
    for (const char* request : {"SetMSA", "DTMFDigit", "ConferenceAdd", "SRTPEnable", "GetStats"}) {
        EXPECT_EQ(
            console.Count(std::string("RTPEndPoint::") + request + " - stream 512 refused by the hardware"),
            1);
    }
    {
        Leg refused(516);
        EXPECT_EQ(console.Count("RTPEndPoint::Open - stream 516 refused by the hardware"), 1);
        driver.Take();
        Start(refused.endpoint);
        EXPECT_EQ(refused.endpoint.SRTPEnable(10, key, key, key, key), -1);
        leg.endpoint.ConferenceAdd(&refused.endpoint);
    }
    EXPECT_TRUE(driver.Take().empty()) << "a stream that did not open is never spoken of again";
    driver.accepts = true;
}

TEST_F(TestHardwareStream, WithoutADriverTheStateIsKeptAndShown) {
    media::StreamKeeper keeper;
    _rtp_callstats stats{};
    stats.dropped_pkt = 7;
    EXPECT_FALSE(keeper.Describe(512, {}));
    EXPECT_FALSE(keeper.ReadStatistics(512, stats));
    EXPECT_TRUE(keeper.Open(512, PhoneDevice::InputOutput));
    EXPECT_FALSE(keeper.Open(512, PhoneDevice::Input)) << "it is open";
    EXPECT_FALSE(keeper.PlayDigit(512, '1', 40)) << "towards whom?";
    EXPECT_FALSE(keeper.MixIn(512, 514));
    EXPECT_TRUE(keeper.Open(514, PhoneDevice::Output));
    EXPECT_TRUE(keeper.MixIn(512, 514));
    EXPECT_FALSE(keeper.MixIn(512, 514));
    keeper.MixOut(512, 514);
    EXPECT_TRUE(keeper.MixIn(512, 514));
    EXPECT_TRUE(console.Lines().empty()) << "silent unless asked to trace";

    AsyncSocket::trace = 1;
    UBYTE key[16];
    UBYTE salt[14];
    std::fill(std::begin(key), std::end(key), UBYTE{0xC3});
    std::fill(std::begin(salt), std::end(salt), UBYTE{0xC3});
    using Session = media::SrtpSession;
    const media::StreamKeys keys{10, Session::Salt(salt), Session::Key(key), Session::Salt(salt),
                                 Session::Key(key)};
    EXPECT_TRUE(keeper.Protect(512, keys));
    media::StreamDescription description;
    description.heardRtp = SockAddr(0x0A000001, 6300);
    description.heardRtcp = SockAddr(0x0A000001, 6301);
    description.remoteRtp = SockAddr(0x0A000002, 5004);
    description.comp = media::G729;
    description.mediaComp = media::Alaw;
    description.mfpp = 2;
    description.dtmfPayloadType = 101;
    EXPECT_TRUE(keeper.Describe(512, description));
    EXPECT_TRUE(keeper.PlayDigit(512, '*', 100));
    EXPECT_TRUE(keeper.ReadStatistics(512, stats));
    keeper.Close(512);
    AsyncSocket::trace = 0;
    EXPECT_FALSE(keeper.ReadStatistics(512, stats));
    EXPECT_EQ(stats.dropped_pkt, 0U);
    EXPECT_EQ(console.Lines(),
              (Texts{"AudioHardware::Protect - stream 512, tag of 10 bytes",
                     "AudioHardware::Describe - stream 512, heard at 10.0.0.1:6300 and 10.0.0.1:6301, local "
                     "0.0.0.0:0 and 0.0.0.0:0, remote 10.0.0.2:5004 and 0.0.0.0:0",
                     "AudioHardware::Describe - stream 512, comp 11, media side 1, mfpp 2, DTMF payload type "
                     "101, protected 1",
                     "AudioHardware::PlayDigit - stream 512, digit *, duration 100",
                     "AudioHardware::ReadStatistics - stream 512", "AudioHardware::Close - stream 512"}));
}

TEST_F(TestHardwareStream, ADigitOfTheDriverWithoutACallbackIsNamed) {
    RTPEndPointOnDTMFDigit(517, '#', 120);
    EXPECT_EQ(console.Lines(), Texts{"RTPEndPointOnDTMFDigit - stream 517, digit #, duration 120"});
}

}  // namespace

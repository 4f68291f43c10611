// Everything that listens, fed with what nobody should send: the module goes on, in silence but for a line a
// second.
#include <random>

#include "tests/system/SystemTest.h"

namespace {

using Bytes = std::vector<UBYTE>;

class TestHostileTraffic : public SystemTest {
 protected:
    Bytes Random(std::size_t longest) {
        Bytes bytes(random() % (longest + 1));
        for (UBYTE& byte : bytes) byte = static_cast<UBYTE>(random());
        return bytes;
    }
    // A Map request in words, then bent: lengths that lie, cut anywhere, flipped bits.
    Bytes BentRequest() {
        lab::ControlDatagram request;
        request.seq = static_cast<UBYTE>(random());
        request.event = static_cast<lab::ControlEvent>(random() % 10);
        request.chan = static_cast<UWORD>(random() % 12);
        request.comp = static_cast<UBYTE>(random() % 14);
        request.addr = 0x7F000001;
        request.port = static_cast<UWORD>(random());
        request.mfpp = static_cast<UBYTE>(random());
        request.flags = static_cast<UBYTE>(random());
        if (random() % 2 == 0) request.extra = lab::SrtpKeys::Random(lab::SrtpKeys::Sha1_80).KeyBlock();
        Bytes bytes = request.Encode();
        for (int flips = static_cast<int>(random() % 4); flips > 0; --flips) {
            bytes[random() % bytes.size()] ^= static_cast<UBYTE>(1U << random() % 8);
        }
        if (random() % 3 == 0) bytes.resize(random() % (bytes.size() + 1));
        return bytes;
    }
    // RTP whose header promises more than there is.
    Bytes BentRtp() {
        Bytes bytes = Random(200);
        if (bytes.size() < 12) return bytes;
        bytes[0] = static_cast<UBYTE>(0x80 | (random() & 0x3F));
        const UBYTE types[] = {0, 8, 4, 18, 101, 13, 72, 127};
        bytes[1] = static_cast<UBYTE>(types[random() % 8] | (random() & 0x80));
        return bytes;
    }
    Bytes BentRtcp() {
        Bytes bytes = Random(120);
        if (bytes.size() < 8) return bytes;
        bytes[0] = static_cast<UBYTE>(0x80 | (random() & 0x3F));
        bytes[1] = static_cast<UBYTE>(199 + random() % 7);
        if (random() % 2 == 0) {
            bytes[2] = 0;
            bytes[3] = static_cast<UBYTE>(random() % 40);
        }
        return bytes;
    }
    void ExpectAlive() {
        ASSERT_TRUE(module.Daemon().IsRunning());
        EXPECT_TRUE(module.Control().Free(20)) << "it still answers";
    }

    std::minstd_rand random{4711};
};

TEST_F(TestHostileTraffic, ControlRequestsOfEveryKindAndNone) {
    StartModule();
    for (int i = 0; i < 50; ++i) {
        for (int n = 0; n < 60; ++n) module.Control().SendRaw(n % 3 == 0 ? Random(100) : BentRequest());
        ExpectAlive();
    }
    EXPECT_GT(module.Daemon().CountLines("dropped"), 0U) << "what is too short is named";
    for (UWORD chan = 0; chan < 12; chan = static_cast<UWORD>(chan + 2))
        EXPECT_TRUE(module.Control().Free(chan));
    ExpectCleanEnd();
}

TEST_F(TestHostileTraffic, MediaPortsUnderFireCarryTheirCallsAndNameWhatTheyRefuse) {
    StartModule();
    const lab::SrtpKeys keys = lab::SrtpKeys::Random(lab::SrtpKeys::Sha1_80);
    auto inside = Phone(0, lab::Codec::Alaw);
    auto outside = Phone(1, lab::Codec::G729);
    auto plain = Phone(2, lab::Codec::Ulaw);
    auto secure = Phone(3, lab::Codec::Alaw, 20, 0, &keys);
    const auto speech = Speech().Code(lab::Codec::Alaw, 20);

    lab::UdpSocket stranger;
    std::string error;
    ASSERT_TRUE(stranger.Open(SockAddr(module.OwnAddress(), 0), error)) << error;
    for (int i = 0; i < 3000; ++i) {
        const UWORD chan = static_cast<UWORD>(random() % 4);
        const SockAddr rtp = module.Leg(chan);
        stranger.SendTo(BentRtp(), rtp);
        stranger.SendTo(BentRtcp(), SockAddr(rtp.Address(), static_cast<UWORD>(rtp.Port() + 1)));
        lab::RtpPeer* phones[] = {inside.get(), outside.get(), plain.get(), secure.get()};
        phones[chan]->SendRtp(BentRtp());
        phones[chan]->SendRtcp(BentRtcp());
        if (i % 100 == 0) ExpectAlive();
    }
    inside->Talk(speech);
    EXPECT_TRUE(outside->WaitAudio(50, PatienceMs)) << "the call goes on";
    std::size_t refusals = module.Daemon().CountLines("datagram of a stranger");
    EXPECT_GT(refusals, 0U);
    EXPECT_LT(refusals, 120U) << "at most one a second";
    for (const UWORD chan : {0, 2}) EXPECT_TRUE(module.Control().Free(chan));
    ExpectCleanEnd();
}

TEST_F(TestHostileTraffic, AFloodOfEventsAndPacketsOnOneLegLeavesTheOtherAtItsCadence) {
    StartModule();
    auto inside = Phone(0, lab::Codec::Alaw);
    auto outside = Phone(1, lab::Codec::Alaw);
    auto flooded = Phone(2, lab::Codec::Alaw);
    const auto speech = Speech().Code(lab::Codec::Alaw, 20);
    inside->Talk(speech);
    ASSERT_TRUE(outside->WaitAudio(10, PatienceMs));
    Bytes event{0x80, 101, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4, 5, 0x8A, 0, 160};
    for (int i = 0; i < 20000; ++i) {
        event[3] = static_cast<UBYTE>(i);
        event[2] = static_cast<UBYTE>(i >> 8);
        event[6] = static_cast<UBYTE>(i >> 6);
        flooded->SendRtp(event);
    }
    const auto before = outside->Counts();
    EXPECT_TRUE(outside->WaitAudio(before.audio + 50, PatienceMs));
    EXPECT_EQ(outside->Counts().missing, 0U);
    ExpectAlive();
    ExpectCleanEnd();
}

TEST_F(TestHostileTraffic, TheRasPortRefusesWhatIsNoAnswer) {
    StartModule();
    const auto registered = module.Registrar().WaitModule(PatienceMs);
    ASSERT_TRUE(registered);
    lab::UdpSocket stranger;
    std::string error;
    ASSERT_TRUE(stranger.Open(SockAddr(0x7F000001, 0), error)) << error;
    for (int i = 0; i < 5000; ++i) stranger.SendTo(Random(300), registered->ras);
    ExpectAlive();
    // An inquiry may be lost behind the flood, as any datagram may.
    bool answered = false;
    for (int attempt = 0; attempt < 20 && !answered; ++attempt) {
        EXPECT_EQ(module.Registrar().Inquire(), 1U);
        answered = module.Registrar().WaitFor(lab::Gatekeeper::Event::InfoResponse, 1, PatienceMs / 20);
    }
    EXPECT_TRUE(answered);
    EXPECT_EQ(module.Daemon().CountLines("RasEndpoint::OnUnregistered"), 0U);
    ExpectCleanEnd();
}

}  // namespace

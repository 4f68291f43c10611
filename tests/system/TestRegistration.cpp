// The road from start to a kept registration, with a gatekeeper that also refuses, forgets and throws out.
#include "tests/system/SystemTest.h"

namespace {

using lab::Gatekeeper;
using Event = Gatekeeper::Event;

class TestRegistration : public SystemTest {
 protected:
    // The daemon alone, towards a gatekeeper that the test has set up.
    void StartDaemon(const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments{"-hosted=" + root.Path(), "-hostaddr=127.0.0.2", "-debug-ras",
                                           "-debug-ras-pkt"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        std::string error;
        ASSERT_TRUE(daemon.Start(lab::DaemonProcess::Find(), arguments, error)) << error;
    }
    void StartGatekeeper(Gatekeeper::Setup setup = {}) {
        std::string error;
        ASSERT_TRUE(gatekeeper.Start(std::move(setup), error)) << error;
    }
    std::vector<std::string> ToGatekeeper() const {
        return {"-gk", "127.0.0.1:" + std::to_string(gatekeeper.Address().Port())};
    }
    void ExpectInOrder(const std::vector<std::string>& texts) {
        std::size_t from = 0;
        for (const std::string& text : texts) {
            ASSERT_TRUE(daemon.WaitLine(text, PatienceMs, from)) << "missing or out of order: " << text;
        }
    }

    lab::TemporaryFolder root;
    Gatekeeper gatekeeper;
    lab::DaemonProcess daemon;
};

TEST_F(TestRegistration, FromStartToRegisteredAndBack) {
    StartGatekeeper();
    auto arguments = ToGatekeeper();
    arguments.insert(arguments.end(), {"-rtpbase", "7000", "-relayquantity", "40"});
    StartDaemon(arguments);
    const auto module = gatekeeper.WaitModule(PatienceMs);
    ASSERT_TRUE(module);
    EXPECT_EQ(module->alias.rfind("KestrelCompressor ", 0), 0U);
    EXPECT_EQ(module->alias.size(), 35U);
    ASSERT_TRUE(module->data);
    EXPECT_EQ(module->data->compressionBase, 7000);
    EXPECT_EQ(module->data->compressionQuantity, 40U);
    EXPECT_EQ(module->data->relayQuantity, 0U);
    EXPECT_EQ(module->data->controlPort, module->callSignal.Port());
    EXPECT_EQ(module->callSignal.AddressStr(), "127.0.0.1")
        << "the address from which it speaks to the gatekeeper";
    EXPECT_EQ(module->product, "Kestrelon Compressor");
    EXPECT_EQ(module->version, "TQ 1.3(117)");
    ExpectInOrder({"Waiting for IP Address.....", "Discovery Starting...",
                   "Discovery::Startup - TLSTrigger...", "Discovery::Startup - RasEndpoint...",
                   "Discovery Started", "Discovery::UpdateTimer - discovering gatekeeper",
                   "RasDiscovery::OnGRQ_Timeout - looking at replies", "Compressor::Main - TLSTrigger...",
                   "Compressor::Startup - RasEndpoint...", "Compressor::Update - Config changed",
                   "Compressor::Restart - Compressor Starting...", "Compressor::StartCompressor - Register",
                   "Compressor::StartCompressor - ras->Register 127.0.0.1:",
                   "RasEndpoint::Register - registering to", "RasEndpoint::OnRegistered"});
    EXPECT_EQ(daemon.Stop(), 0);
    EXPECT_TRUE(gatekeeper.WaitFor(Event::Unregistration, 1, PatienceMs));
    ExpectInOrder({"***** Ostrevin TERMINATING", "***** signal 15, code 0 (user), pid",
                   "Main process cleaning up...", "Discovery Terminating", "Discovery Closing...",
                   "Discovery::Shutdown - closing gateways...", "Compressor 0x", "Compressor Closing... 0x",
                   "Compressor::Shutdown - RasEndpoint...", "Compressor::Shutdown - TLSTrigger...",
                   "Compressor::Shutdown - complete.", "Discovery::Shutdown - RasEndpoint...",
                   "Discovery::Shutdown - TLSTrigger...", "Discovery::Shutdown - complete.", "Bye bye...."});
}

TEST_F(TestRegistration, MulticastFindsTheGatekeeperWhoseNameBeginsRight) {
    Gatekeeper other;
    std::string error;
    Gatekeeper::Setup wrong;
    wrong.identifier = "Another system";
    wrong.listen = SockAddr(0x7F000005, 0);
    wrong.multicast = true;
    ASSERT_TRUE(other.Start(wrong, error)) << error;
    Gatekeeper::Setup right;
    right.multicast = true;
    StartGatekeeper(right);
    StartDaemon();
    ASSERT_TRUE(gatekeeper.WaitModule(PatienceMs));
    EXPECT_TRUE(other.WaitFor(Event::Discovery, 1, PatienceMs)) << "it was asked as well";
    EXPECT_EQ(other.CountOf(Event::Registration), 0U);
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(TestRegistration, SearchesWithoutEndUntilAGatekeeperAnswers) {
    StartGatekeeper();
    gatekeeper.AnswerDiscovery(Gatekeeper::Answer::Silent);
    StartDaemon(ToGatekeeper());
    ASSERT_TRUE(daemon.WaitLine("RasDiscovery::OnGRQ_Timeout - looking at replies", PatienceMs));
    gatekeeper.AnswerDiscovery(Gatekeeper::Answer::Reject);
    ASSERT_TRUE(gatekeeper.WaitFor(Event::Discovery, 2, PatienceMs) ||
                gatekeeper.WaitFor(Event::Ignored, 2, PatienceMs));
    std::size_t from = 0;
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(daemon.WaitLine("RasDiscovery::OnGRQ_Timeout - looking at replies", PatienceMs, from));
    }
    gatekeeper.AnswerDiscovery(Gatekeeper::Answer::Confirm);
    EXPECT_TRUE(gatekeeper.WaitModule(PatienceMs));
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(TestRegistration, ComesBackAfterSilenceAfterBeingForgottenAndAfterBeingThrownOut) {
    Gatekeeper::Setup setup;
    setup.timeToLive = 4;
    StartGatekeeper(setup);
    gatekeeper.AnswerRegistration(Gatekeeper::Answer::Silent);
    StartDaemon(ToGatekeeper());
    ASSERT_TRUE(daemon.WaitLine("RasEndpoint::Register - registering to", PatienceMs));
    std::size_t from = daemon.LineCount();
    ASSERT_TRUE(daemon.WaitLine("RasEndpoint::Register - registering to", PatienceMs, from))
        << "after the time-out";
    gatekeeper.AnswerRegistration(Gatekeeper::Answer::Confirm);
    ASSERT_TRUE(gatekeeper.WaitFor(Event::Registration, 1, PatienceMs));
    ASSERT_TRUE(gatekeeper.WaitFor(Event::KeepAlive, 2, PatienceMs)) << "kept while it lives";

    gatekeeper.Forget();
    ASSERT_TRUE(gatekeeper.WaitFor(Event::Registration, 2, PatienceMs));
    EXPECT_EQ(daemon.CountLines("RasEndpoint::OnUnregistered"), 1U);

    EXPECT_EQ(gatekeeper.Unregister(), 1U);
    ASSERT_TRUE(gatekeeper.WaitFor(Event::Confirmed, 1, PatienceMs));
    ASSERT_TRUE(gatekeeper.WaitFor(Event::Registration, 3, PatienceMs));
    EXPECT_EQ(daemon.CountLines("RasEndpoint::OnUnregistered"), 2U);

    EXPECT_EQ(gatekeeper.Inquire(), 1U);
    EXPECT_TRUE(gatekeeper.WaitFor(Event::InfoResponse, 1, PatienceMs));
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(TestRegistration, ARejectionIsTracedAndLeftAtThat) {
    StartGatekeeper();
    gatekeeper.AnswerRegistration(Gatekeeper::Answer::Reject);
    StartDaemon(ToGatekeeper());
    EXPECT_TRUE(daemon.WaitLine("RasEndpoint::OnRRJ", PatienceMs));
    EXPECT_EQ(daemon.Stop(), 0);
    EXPECT_EQ(gatekeeper.CountOf(Event::Rejection), 1U);
}

}  // namespace

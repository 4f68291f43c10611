// Registration and its keeping, over real sockets.
#include "platform/h323/H323Init.h"
#include "platform/h323/ModuleData.h"
#include "tests/h323/Captures.h"
#include "tests/h323/RasClientTest.h"

using namespace h323;
using Received = ScriptedGatekeeper::Received;
using Events = std::vector<std::string>;

namespace {

bool IsLight(const Received& r) {
    const auto* rrq = r.message.As<RegistrationRequest>();
    return rrq != nullptr && rrq->keepAlive == true;
}

class TestRasRegistration : public RasClientTest {
 protected:
    int LightCount() const {
        return static_cast<int>(
            std::count_if(gatekeeper->received.begin(), gatekeeper->received.end(), IsLight));
    }
    UnregistrationRequest MakeURQ(std::optional<EndpointIdentifier> identifier) const {
        UnregistrationRequest urq;
        urq.requestSeqNum.value = 77;
        urq.endpointIdentifier = std::move(identifier);
        urq.reason = UnregRequestReason::Maintenance;
        return urq;
    }
};

TEST_F(TestRasRegistration, TheRequestTellsTheGatekeeperEverything) {
    H323Init("Kestrelon Compressor", "TQ 1.3(117)", 2);
    {
        ReportingClient searcher;
        gatekeeper->script = [&](const Received& r) { gatekeeper->Confirm(r, u"!Kestrel"); };
        searcher.FindGatekeeper(L"Relay-7", 5000, &gatekeeper->address);
        ASSERT_TRUE(RunUntil([&] { return !searcher.replies.empty(); }));
    }
    client->compressionBase = 6300;
    client->compressionQuantity = 500;
    client->relayQuantity = 38;
    BeRegistered(0);
    EXPECT_TRUE(client->IsRegistered());
    const auto rrq = gatekeeper->All<RegistrationRequest>().front();
    const ULONG host = clientAddress.Address();
    EXPECT_EQ(rrq.callSignalAddress, std::vector{TransportAddress::FromIp(host, 40001)});
    EXPECT_EQ(rrq.rasAddress, std::vector{TransportAddress::FromIp(host, clientAddress.Port())});
    EXPECT_EQ(rrq.terminalAlias, (std::vector<AliasAddress>{H323Id{u"Relay-7"}}));
    EXPECT_EQ(rrq.gatekeeperIdentifier, GatekeeperIdentifier{u"!Kestrel"});
    EXPECT_TRUE(rrq.discoveryComplete);
    EXPECT_EQ(rrq.keepAlive, false);
    EXPECT_FALSE(rrq.endpointIdentifier);
    const std::string product(rrq.endpointVendor.productId->octets.begin(),
                              rrq.endpointVendor.productId->octets.end());
    EXPECT_EQ(product, "Kestrelon Compressor");
    EXPECT_EQ(ModuleData::FromNonStandard(*rrq.nonStandardData), (ModuleData{40001, 6300, 500, 38}));
}

TEST_F(TestRasRegistration, OutcomesAreReportedInOrder) {
    gatekeeper->script = [&](const Received& r) { gatekeeper->ConfirmRegistration(r, 60); };
    StartRegistration();
    ASSERT_TRUE(RunUntilEvent("registered"));
    EXPECT_EQ(client->events, (Events{"RCF", "registered"}));

    client->events.clear();
    gatekeeper->script = [&](const Received& r) {
        gatekeeper->Reject(r, RegistrationRejectReason::DuplicateAlias);
    };
    StartRegistration();
    ASSERT_TRUE(RunUntilEvent("RRJ"));
    RunFor(20);
    EXPECT_EQ(client->events, Events{"RRJ"});
    EXPECT_FALSE(client->IsRegistered());
    EXPECT_EQ(console.Count("duplicateAlias"), 1);
}

TEST_F(TestRasRegistration, SilenceAndNoAddressRunIntoTheTimeOut) {
    StartRegistration(150);
    ASSERT_TRUE(RunUntilEvent("RRQ over"));
    const auto requests = gatekeeper->All<RegistrationRequest>();
    ASSERT_EQ(requests.size(), RasTransaction::Attempts);
    EXPECT_EQ(requests[0], requests[2]);
    EXPECT_EQ(client->events, Events{"RRQ over"});

    client->events.clear();
    EXPECT_EQ(client->Register(SockAddr(), nullptr, L"Relay-7", nullptr, 100), 0);
    EXPECT_TRUE(client->events.empty());
    ASSERT_TRUE(RunUntilEvent("RRQ over"));
}

TEST_F(TestRasRegistration, RequestInProgressExtendsTheWait) {
    gatekeeper->script = [&](const Received& r) {
        RequestInProgress rip;
        rip.requestSeqNum.value = r.message.SequenceNumber();
        rip.delay.value = 3000;
        gatekeeper->Send(RasMessage(rip), r.from);
        gatekeeper->script = nullptr;
    };
    StartRegistration(150);
    RunFor(400);
    EXPECT_TRUE(client->events.empty());
    gatekeeper->ConfirmRegistration(gatekeeper->received[0], 60);
    ASSERT_TRUE(RunUntilEvent("registered"));
    EXPECT_EQ(client->Count("RRQ over"), 0);
}

TEST_F(TestRasRegistration, ALightRequestKeepsTheRegistration) {
    BeRegistered(2);
    const ULONG start = gatekeeper->received[0].at;
    ASSERT_TRUE(RunUntil([&] { return LightCount() == 2; }));
    EXPECT_EQ(client->Count("unregistered"), 0);
    const auto light = gatekeeper->All<RegistrationRequest>()[1];
    EXPECT_GE(gatekeeper->received[1].at - start, 900U);
    EXPECT_LT(gatekeeper->received[1].at - start, 1900U);
    EXPECT_EQ(light.endpointIdentifier, EndpointIdentifier{u"ep-1"});
    EXPECT_EQ(light.gatekeeperIdentifier, GatekeeperIdentifier{u"!Kestrel"});
    EXPECT_FALSE(light.terminalAlias);
    EXPECT_EQ(client->events[0], "RCF");
    EXPECT_EQ(client->Count("registered"), 0) << "a keep-alive is no new registration";
}

TEST_F(TestRasRegistration, TwoLostKeepAlivesDoNotEndIt) {
    BeRegistered(2);
    std::vector<std::uint16_t> numbers;
    gatekeeper->script = [&](const Received& r) {
        const std::uint16_t number = r.message.SequenceNumber();
        if (numbers.empty() || numbers.back() != number) numbers.push_back(number);
        if (numbers.size() >= 3) gatekeeper->ConfirmRegistration(r, 60);
    };
    ASSERT_TRUE(RunUntilEvent("RCF"));
    EXPECT_EQ(numbers.size(), 3U);
    EXPECT_EQ(client->events, Events{"RCF"});
    EXPECT_TRUE(client->IsRegistered());
}

TEST_F(TestRasRegistration, SilenceEndsItAfterTheTimeToLive) {
    BeRegistered(1);
    const ULONG start = gatekeeper->received[0].at;
    gatekeeper->script = nullptr;
    ASSERT_TRUE(RunUntilEvent("unregistered"));
    EXPECT_GE(os_clock() - start, 1000U);
    EXPECT_FALSE(client->IsRegistered());
    gatekeeper->received.clear();
    RunFor(300);
    EXPECT_TRUE(gatekeeper->received.empty()) << "nothing more goes out";
    EXPECT_EQ(client->events, Events{"unregistered"});
}

TEST_F(TestRasRegistration, ARefusedKeepAliveEndsItAndAFullRequestRenewsIt) {
    BeRegistered(1);
    gatekeeper->script = [&](const Received& r) {
        if (IsLight(r)) gatekeeper->Reject(r, RegistrationRejectReason::FullRegistrationRequired);
    };
    ASSERT_TRUE(RunUntilEvent("unregistered"));
    EXPECT_EQ(client->events, (Events{"RRJ", "unregistered"}));
    BeRegistered(60);
    const auto renewed = gatekeeper->All<RegistrationRequest>().back();
    EXPECT_EQ(renewed.keepAlive, false);
    EXPECT_FALSE(renewed.endpointIdentifier);
}

TEST_F(TestRasRegistration, TheGatekeeperEndsIt) {
    BeRegistered(60);
    gatekeeper->Send(RasMessage(MakeURQ(EndpointIdentifier{u"ep-1"})), clientAddress);
    ASSERT_TRUE(RunUntilEvent("unregistered"));
    gatekeeper->Send(RasMessage(MakeURQ(EndpointIdentifier{u"ep-1"})), clientAddress);
    ASSERT_TRUE(RunUntil([&] { return gatekeeper->All<UnregistrationConfirm>().size() == 2; }));
    EXPECT_EQ(gatekeeper->All<UnregistrationConfirm>()[0].requestSeqNum.value, 77U);
    EXPECT_EQ(client->events, Events{"unregistered"}) << "said twice, reported once";
    EXPECT_EQ(console.Count("maintenance"), 1);
}

TEST_F(TestRasRegistration, NobodyElseEndsIt) {
    BeRegistered(60);
    ScriptedGatekeeper stranger("127.0.0.9");
    ScriptedGatekeeper neighbour;  // on the gatekeeper's host
    InfoRequest irq;
    irq.requestSeqNum.value = 9;
    stranger.Send(RasMessage(MakeURQ(EndpointIdentifier{u"ep-1"})), clientAddress);
    stranger.Send(RasMessage(irq), clientAddress);
    stranger.SendOctets(FromHex("3c04d2ff"), clientAddress);
    neighbour.Send(RasMessage(MakeURQ(std::nullopt)), clientAddress);
    gatekeeper->Send(RasMessage(MakeURQ(EndpointIdentifier{u"ep-2"})), clientAddress);
    ASSERT_TRUE(RunUntil([&] { return gatekeeper->Has<UnregistrationReject>(); }));
    EXPECT_TRUE(neighbour.Has<UnregistrationReject>());
    EXPECT_TRUE(stranger.received.empty());
    EXPECT_TRUE(client->events.empty());
    EXPECT_TRUE(client->IsRegistered());
    EXPECT_EQ(console.Count("127.0.0.9"), 2) << "a stranger's request, and one that is not served";
}

TEST_F(TestRasRegistration, StatusIsTold) {
    BeRegistered(60);
    ScriptedGatekeeper elsewhere;
    InfoRequest irq;
    irq.requestSeqNum.value = 5;
    gatekeeper->Send(RasMessage(irq), clientAddress);
    irq.callReferenceValue.value = 3;
    irq.replyAddress = TransportAddress::FromIp(elsewhere.address.Address(), elsewhere.address.Port());
    gatekeeper->Send(RasMessage(irq), clientAddress);
    irq.replyAddress = TransportAddress::FromIp(SockAddr("127.0.0.9", 0).Address(), 9);
    gatekeeper->Send(RasMessage(irq), clientAddress);
    ASSERT_TRUE(RunUntil([&] {
        return gatekeeper->All<InfoRequestResponse>().size() == 2 && elsewhere.Has<InfoRequestResponse>();
    }));
    const auto irr = gatekeeper->All<InfoRequestResponse>().front();
    EXPECT_EQ(irr.requestSeqNum.value, 5U);
    EXPECT_EQ(irr.endpointIdentifier.text, u"ep-1");
    EXPECT_EQ(irr.callSignalAddress, std::vector{TransportAddress::FromIp(clientAddress.Address(), 40001)});
    EXPECT_EQ(irr.endpointAlias, (std::vector<AliasAddress>{H323Id{u"Relay-7"}}));
    EXPECT_FALSE(irr.irrStatus);
    EXPECT_EQ(elsewhere.All<InfoRequestResponse>().front().irrStatus->index(),
              InfoRequestResponseStatus::InvalidCall);
}

TEST_F(TestRasRegistration, GarbageIsNamedAndDropped) {
    BeRegistered(60);
    for (int i = 0; i < 100; ++i) gatekeeper->SendOctets(FromHex("0e40ff"), clientAddress);
    gatekeeper->Send(RasMessage(UnknownMessageResponse{{5}, {}}), clientAddress);
    gatekeeper->SendOctets(FromHex("3c04d2ff"), clientAddress);
    ASSERT_TRUE(RunUntil([&] { return gatekeeper->Has<UnknownMessageResponse>(); }));
    ASSERT_EQ(gatekeeper->All<UnknownMessageResponse>().size(), 1U) << "only what is a request is answered";
    const auto xrs = gatekeeper->All<UnknownMessageResponse>().front();
    EXPECT_EQ(xrs.requestSeqNum.value, 1235U);
    EXPECT_EQ(ToHex(xrs.messageNotUnderstood->octets), "3c04d2ff");
    EXPECT_LE(console.Count("malformed message"), 2) << "once a second";
    EXPECT_GE(console.Count("malformed message"), 1);
    EXPECT_TRUE(client->IsRegistered());
}

TEST_F(TestRasRegistration, WithdrawalIsReportedHoweverItIsAnswered) {
    for (const bool answered : {true, false}) {
        BeRegistered(60);
        gatekeeper->script = [&](const Received& r) {
            if (!answered) return;
            UnregistrationConfirm ucf;
            ucf.requestSeqNum.value = r.message.SequenceNumber();
            gatekeeper->Send(RasMessage(ucf), r.from);
        };
        client->Unregister();
        EXPECT_TRUE(client->events.empty());
        ASSERT_TRUE(RunUntilEvent("unregistered"));
        EXPECT_EQ(client->events, Events{"unregistered"});
        EXPECT_EQ(gatekeeper->All<UnregistrationRequest>().back().endpointIdentifier,
                  EndpointIdentifier{u"ep-1"});
    }
}

TEST_F(TestRasRegistration, AWithdrawalLeavesBeforeTheClientIsGone) {
    BeRegistered(60);
    client->Unregister();
    client.reset();
    ASSERT_TRUE(RunUntil([&] { return gatekeeper->Has<UnregistrationRequest>(); }));
}

TEST_F(TestRasRegistration, TracesNameEachMessageAndItsComponents) {
    Ras::infoTrace = 1;
    Ras::msgTrace = 1;
    BeRegistered(60);
    Ras::infoTrace = 0;
    Ras::msgTrace = 0;
    EXPECT_EQ(console.Count("RasClient::sending RRQ "), 1);
    EXPECT_EQ(console.Count("RasClient::received RCF "), 1);
    EXPECT_EQ(console.Count("RasClient::  endpointIdentifier \"ep-1\""), 1);
}

}  // namespace

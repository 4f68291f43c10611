// The search for gatekeepers, over real sockets.
#include "tests/h323/Captures.h"
#include "tests/h323/RasClientTest.h"

using namespace h323;
using Received = ScriptedGatekeeper::Received;
using Events = std::vector<std::string>;

namespace {

constexpr int Short = 150;   // [ms] for a request that nobody answers
constexpr int Ample = 5000;  // [ms] for one that is over before

class TestRasDiscovery : public RasClientTest {
 protected:
    void Find(int ms) { client->FindGatekeeper(L"Relay-7", ms, &gatekeeper->address); }
};

TEST_F(TestRasDiscovery, TheOneGatekeepersAnswerEndsTheRequest) {
    gatekeeper->script = [&](const Received& r) { gatekeeper->Confirm(r, u"!Kestrel"); };
    Find(Ample);
    ASSERT_TRUE(RunUntilEvent("GRQ over", Ample / 2));
    ASSERT_EQ(client->replies.size(), 1U);
    EXPECT_EQ(client->replies[0].address, gatekeeper->address);
    EXPECT_EQ(client->replies[0].gkid, L"!Kestrel");
    const auto grq = gatekeeper->All<GatekeeperRequest>().front();
    EXPECT_EQ(grq.rasAddress, TransportAddress::FromIp(clientAddress.Address(), clientAddress.Port()));
    EXPECT_EQ(grq.endpointAlias, (std::vector<AliasAddress>{H323Id{u"Relay-7"}}));
    EXPECT_TRUE(grq.endpointType.terminal);
    EXPECT_FALSE(grq.gatekeeperIdentifier);
}

TEST_F(TestRasDiscovery, SilenceIsAskedThreeTimesWithOneNumber) {
    Find(Short);
    ASSERT_TRUE(RunUntilEvent("GRQ over"));
    EXPECT_TRUE(client->replies.empty());
    const auto requests = gatekeeper->All<GatekeeperRequest>();
    ASSERT_EQ(requests.size(), RasTransaction::Attempts);
    EXPECT_EQ(requests[0], requests[2]);
    EXPECT_GE(gatekeeper->received[2].at - gatekeeper->received[0].at, Short / 3U);

    gatekeeper->received.clear();
    Find(Short);
    ASSERT_TRUE(RunUntil([&] { return client->Count("GRQ over") == 2; }));
    EXPECT_NE(gatekeeper->received[0].message.SequenceNumber(), requests[0].requestSeqNum.value);
}

TEST_F(TestRasDiscovery, ARejectEndsItWithoutReply) {
    gatekeeper->script = [&](const Received& r) {
        GatekeeperReject grj;
        grj.requestSeqNum.value = r.message.SequenceNumber();
        grj.rejectReason = GatekeeperRejectReason::SecurityDenial;
        gatekeeper->Send(RasMessage(grj), r.from);
    };
    Find(Ample);
    ASSERT_TRUE(RunUntilEvent("GRQ over", Ample / 2));
    EXPECT_TRUE(client->replies.empty());
    EXPECT_EQ(console.Count("OnGRJ - GRJ "), 1);
    EXPECT_EQ(console.Count("securityDenial"), 1);
}

TEST_F(TestRasDiscovery, OnlyTheGatekeeperAskedAnswersAndOnlyWhatWasAsked) {
    ScriptedGatekeeper stranger("127.0.0.9");
    gatekeeper->script = [&](const Received& r) {
        stranger.Confirm(r, u"!Stranger");
        Received another = r;
        std::get<GatekeeperRequest>(another.message.body).requestSeqNum.value ^= 2;
        gatekeeper->Confirm(another, u"!Late");
    };
    Find(Short);
    ASSERT_TRUE(RunUntilEvent("GRQ over"));
    EXPECT_TRUE(client->replies.empty());
    gatekeeper->Confirm(gatekeeper->received[0], u"!Late");
    RunFor(20);
    EXPECT_TRUE(client->replies.empty());
    EXPECT_EQ(client->Count("GRQ over"), 1);
}

TEST_F(TestRasDiscovery, AnswersWithoutNameOrUsableAddress) {
    gatekeeper->script = [&](const Received& r) { gatekeeper->Confirm(r, nullptr); };
    Find(Ample);
    ASSERT_TRUE(RunUntilEvent("GRQ over"));
    ASSERT_EQ(client->replies.size(), 1U);
    EXPECT_FALSE(client->replies[0].gkid);

    const SockAddr asked = gatekeeper->address;
    gatekeeper->address.Set(asked.Address(), 0);  // what its next GCF names
    client->events.clear();
    client->FindGatekeeper(L"", Ample, &asked);
    ASSERT_TRUE(RunUntilEvent("GRQ over"));
    EXPECT_TRUE(client->replies.empty());
    EXPECT_FALSE(gatekeeper->All<GatekeeperRequest>().back().endpointAlias);
    EXPECT_EQ(console.Count("confirm without a usable address"), 1);
}

TEST_F(TestRasDiscovery, MulticastGathersEveryAnswerInTheOrderOfArrival) {
    const ULONG host = SockAddr("127.0.0.2", 0).Address();
    const ULONG before = AsyncSocket::local_ipaddr;
    AsyncSocket::SetPrimaryAddress(host);
    ScriptedGatekeeper second("127.0.0.3");
    const TransportAddress asker = TransportAddress::FromIp(host, client->GetPort());
    // Requests and gatekeepers of other tests on this host share the group.
    const auto isOurs = [&](const Received& r) {
        const auto* grq = r.message.As<GatekeeperRequest>();
        return grq != nullptr && grq->rasAddress == asker;
    };
    gatekeeper->JoinGroup(host);
    gatekeeper->script = [&](const Received& r) {
        if (!isOurs(r)) return;
        second.Confirm(r, u"Second");
        gatekeeper->Confirm(r, u"!First");
        gatekeeper->Confirm(r, u"!First");
    };
    const ULONG start = os_clock();
    EXPECT_EQ(client->FindGatekeeper(L"Relay-7", 300, nullptr), 1);
    ASSERT_TRUE(RunUntilEvent("GRQ over"));
    EXPECT_GE(os_clock() - start, 300U);
    AsyncSocket::SetPrimaryAddress(before);
    std::vector<std::wstring> names;
    for (const RasGkInfo& reply : client->replies) {
        if (reply.address == second.address || reply.address == gatekeeper->address)
            names.push_back(*reply.gkid);
    }
    EXPECT_EQ(names, (std::vector<std::wstring>{L"Second", L"!First"}));
}

}  // namespace

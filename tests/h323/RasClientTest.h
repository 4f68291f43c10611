// A RAS client under test, with what it reports, and the fixture around it.
#pragma once

#include <memory>

#include "platform/h323/RasClient.h"
#include "tests/h323/ScriptedGatekeeper.h"
#include "tests/support/LoopTest.h"

class ReportingClient : public RasClient {
 public:
    ReportingClient() : RasClient(0, 0) {}

    std::vector<std::string> events;

    int Count(const std::string& event) const {
        return static_cast<int>(std::count(events.begin(), events.end(), event));
    }

 protected:
    bool OnRCF(RasMessage& message, SockAddr& from) override {
        return Note("RCF"), RasClient::OnRCF(message, from);
    }
    bool OnRRJ(RasMessage& message, SockAddr& from) override {
        return Note("RRJ"), RasClient::OnRRJ(message, from);
    }
    bool OnRegistered() override { return Note("registered"), true; }
    bool OnUnregistered() override { return Note("unregistered"), true; }
    void OnGRQ_Timeout(RasTransaction* t) override { RasClient::OnGRQ_Timeout(t), Note("GRQ over"); }
    void OnRRQ_Timeout(RasTransaction* t) override { RasClient::OnRRQ_Timeout(t), Note("RRQ over"); }

 private:
    void Note(const char* event) { events.emplace_back(event); }
};

class RasClientTest : public LoopTest {
 protected:
    void SetUp() override {
        LoopTest::SetUp();
        gatekeeper = std::make_unique<ScriptedGatekeeper>();
        client = std::make_unique<ReportingClient>();
        clientAddress = SockAddr("127.0.0.1", client->GetPort());
    }
    void TearDown() override {
        client.reset();
        gatekeeper.reset();
        LoopTest::TearDown();
    }

    void StartRegistration(ULONG ms = 2000) {
        client->controlPort = 40001;
        client->Register(gatekeeper->address, L"ignored", L"Relay-7", "Relay-7", ms);
    }
    // Registers at a gatekeeper that confirms every RRQ with that time to live [s].
    void BeRegistered(std::uint32_t timeToLive) {
        gatekeeper->script = [this, timeToLive](const ScriptedGatekeeper::Received& r) {
            if (r.message.As<h323::RegistrationRequest>()) gatekeeper->ConfirmRegistration(r, timeToLive);
        };
        StartRegistration();
        ASSERT_TRUE(RunUntil([this] { return client->Count("registered") == 1; }));
        client->events.clear();
    }
    bool RunUntilEvent(const char* event, ULONG ms = 5000) {
        return RunUntil([&] { return client->Count(event) > 0; }, ms);
    }

    std::unique_ptr<ScriptedGatekeeper> gatekeeper;
    std::unique_ptr<ReportingClient> client;
    SockAddr clientAddress;
};

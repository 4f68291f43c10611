// The module object and the discovery on real threads, with a gatekeeper's address at which nobody answers.
#include <gtest/gtest.h>

#include "app/Compressor/Compressor.h"
#include "app/Compressor/Discovery.h"
#include "app/Globals.h"
#include "tests/support/LoopTest.h"

namespace {

// The test thread has a loop of its own, in which the silent gatekeeper's socket stands.
class TestCompressor : public LoopTest {
 protected:
    void SetUp() override {
        LoopTest::SetUp();
        AsyncSocket::SetPrimaryAddress(0x7F000002);
        compressionBase = 6300;
        gatekeeper = new AsyncSocket(false);
        ASSERT_EQ(gatekeeper->Create(AsyncSocket::Datagram, 0, 0x7F000003, false), 0);
        port = std::to_string(gatekeeper->LocalPort());
    }
    void TearDown() override {
        gatekeeper->Free();
        AsyncSocket::SetPrimaryAddress(0);
        LoopTest::TearDown();
    }

    CompressorConfig* Configuration(const char* address) const {
        auto* config = new CompressorConfig;
        config->gkid = "!test";
        config->gkSearchAddr = address;
        config->gkSearchPort = static_cast<UWORD>(gatekeeper->LocalPort());
        return config;
    }

    void ExpectInOrder(const std::vector<std::string>& texts) const {
        const std::vector<std::string> lines = console.Lines();
        std::size_t at = 0;
        for (const std::string& text : texts) {
            while (at < lines.size() && lines[at].find(text) == std::string::npos) at++;
            ASSERT_LT(at, lines.size()) << "'" << text << "' missing or out of order";
            at++;
        }
    }

    AsyncSocket* gatekeeper = nullptr;
    std::string port;
};

TEST_F(TestCompressor, AppliesAConfigurationHandedOverAtOnce) {
    Compressor module;
    module.Update(Configuration("127.0.0.3"));
    EXPECT_TRUE(console.WaitFor("RasEndpoint::Register - registering to 127.0.0.3 as "));
    module.Stop();
    ExpectInOrder({"Compressor Task Starting...", "Compressor::Main - TLSTrigger...",
                   "Compressor::Startup - RasEndpoint...", "Compressor Task Started 0x",
                   "Compressor::Update - Config changed", "Compressor::Restart - Compressor Starting...",
                   "Compressor::StartCompressor - Register", "Compressor::Register",
                   "Compressor::StartCompressor - ras->Register 127.0.0.3:" + port,
                   "RasEndpoint::Register - "});
}

TEST_F(TestCompressor, StopReportsEveryStepInOrder) {
    {
        Compressor module;
        ASSERT_TRUE(console.WaitFor("Compressor Task Started"));
        module.Stop();
        ExpectInOrder({"Compressor 0x", "Compressor Closing... 0x", "Compressor::Shutdown - RasEndpoint...",
                       "Compressor::Shutdown - TLSTrigger...", "Compressor::Shutdown - complete."});
        EXPECT_EQ(console.Count(" Terminating"), 1);
        EXPECT_EQ(console.Lines().back(), "Compressor::Shutdown - complete.");
        EXPECT_EQ(console.Count("already shutting down"), 0);
    }
    EXPECT_EQ(console.Count(" Terminated"), 1);
}

TEST_F(TestCompressor, StopRightAfterTheStartEndsTheThread) {
    for (int i = 0; i < 50; i++) {
        Compressor module;
        module.Stop();
        EXPECT_EQ(console.Lines().back(), "Compressor::Shutdown - complete.");
    }
}

TEST_F(TestCompressor, ASecondConfigurationChangesNothing) {
    Compressor module;
    module.Update(Configuration("127.0.0.3"));
    ASSERT_TRUE(console.WaitFor("registering to 127.0.0.3"));
    module.Update(Configuration("127.0.0.4"));
    // One that withdraws the first comes after the second has been looked at.
    module.Update(nullptr);
    ASSERT_TRUE(console.WaitFor("Compressor::Restart - Stopping Compressor task"));
    module.Update(Configuration(""));
    ASSERT_TRUE(console.WaitFor("registering to 0.0.0.0"));
    module.Stop();
    EXPECT_EQ(console.Count("127.0.0.4"), 0);
    EXPECT_EQ(console.Count("Compressor::Update - Config changed"), 3);
    EXPECT_EQ(console.Count("ras->Register"), 2);
}

TEST_F(TestCompressor, ActiveCallsPutOffTheFirstConfiguration) {
    CompressorConfig call;
    Compressor module;
    module.calls.Append(&call);
    module.Update(Configuration("127.0.0.3"));
    EXPECT_TRUE(console.WaitFor("Compressor::Update - config changed but calls active - leaving for later"));
    module.Stop();
    EXPECT_EQ(console.Count("Config changed"), 0);
    EXPECT_EQ(module.cfg, nullptr);
    module.calls.Remove(&call);
}

TEST_F(TestCompressor, DiscoverySearchesAtOnceAndStops) {
    Discovery discovery("127.0.0.3", static_cast<UWORD>(gatekeeper->LocalPort()));
    ASSERT_TRUE(console.WaitFor("RasDiscovery::OnGRQ_Timeout - looking at replies"));
    discovery.Stop();
    ExpectInOrder({"Discovery Starting...", "Discovery::Startup - TLSTrigger...",
                   "Discovery::Startup - RasEndpoint...", "Discovery Started",
                   "Discovery::UpdateTimer - discovering gatekeeper", "Discovery Terminating",
                   "Discovery Closing...", "Discovery::Shutdown - closing gateways...",
                   "Discovery::Shutdown - RasEndpoint...", "Discovery::Shutdown - TLSTrigger...",
                   "Discovery::Shutdown - complete."});
    EXPECT_EQ(discovery.compressor, nullptr);
    const std::string alias(hardware_id);
    if (!alias.empty()) {
        EXPECT_EQ(alias, "KestrelCompressor " + std::string(serial_number));
        EXPECT_EQ(alias.size(), 35U);
    }
}

TEST_F(TestCompressor, DiscoveryStoppedAtOnceEnds) {
    for (int i = 0; i < 50; i++) {
        Discovery discovery("127.0.0.3", static_cast<UWORD>(gatekeeper->LocalPort()));
        discovery.Stop();
        EXPECT_EQ(console.Lines().back(), "Discovery::Shutdown - complete.");
    }
}

}  // namespace

// The generator against a real RTP proxy, where Debian's package of one is installed.
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/lab/Words.h"
#include "tools/lab/DaemonProcess.h"
#include "tools/lab/FreePorts.h"
#include "tools/lab/LoadGenerator.h"
#include "tools/lab/LoadProxyTarget.h"

namespace lab {
namespace {

constexpr const char* Proxy = "/usr/bin/rtpengine";
constexpr int Ports = 200;
constexpr int BoundMs = 20000;

class LoadProxy : public ::testing::Test {
 protected:
    void SetUp() override {
        if (access(Proxy, X_OK) != 0) GTEST_SKIP() << Proxy << " is not installed (package rtpengine-daemon)";
        const std::optional<UWORD> first = FindFreePorts(Ports);
        ASSERT_TRUE(first);
        control.Set(0x7F000001, *first);
        std::string error;
        ASSERT_TRUE(proxy.Start(
            Proxy,
            {"--config-file=none", "--foreground", "--table=-1", "--log-stderr", "--log-level=6",
             "--interface=127.0.0.1", "--listen-ng=127.0.0.1:" + std::to_string(*first),
             "--port-min=" + std::to_string(*first + 2), "--port-max=" + std::to_string(*first + Ports - 1)},
            error))
            << error;
        ASSERT_TRUE(proxy.WaitLine("Startup complete", BoundMs));
    }

    LoadResult Carry(const LoadOptions& options) {
        LoadProxyTarget target(proxy.Pid());
        std::string error;
        EXPECT_TRUE(target.Open(control, error)) << error;
        LoadGenerator generator(target, options);
        EXPECT_TRUE(generator.Prepare(SpeechSource(test::Words(5)), error)) << error;
        generator.Run([](const LoadGenerator::Progress&) { return true; });
        EXPECT_TRUE(generator.Release());
        return generator.Collect();
    }

    SockAddr control;
    DaemonProcess proxy;
};

// One after the other through one proxy, which keeps its answers to earlier requests for a while.
TEST_F(LoadProxy, CarriesCallsOfEveryKind) {
    const struct {
        const char* legs;
        int protectedSide;  // -1: none
    } rows[] = {{"alaw", -1}, {"g729:alaw", -1}, {"alaw:g729", 1}, {"g729:alaw", 0}};
    for (const auto& row : rows) {
        std::string error;
        const auto legs = ParseLegs(row.legs, error);
        ASSERT_TRUE(legs) << error;
        LoadOptions options;
        options.slots = 2;
        options.seconds = 2;
        options.legs = {legs->first, legs->second};
        if (row.protectedSide >= 0)
            options.legs[static_cast<std::size_t>(row.protectedSide)].srtp = SrtpKeys::Sha1_80;
        const LoadResult result = Carry(options);
        for (const DirectionResult& direction : result.directions) {
            EXPECT_EQ(direction.expected, 200U) << row.legs;
            EXPECT_GE(direction.received, 190U) << row.legs << ' ' << row.protectedSide;
            EXPECT_EQ(direction.refused, 0U) << row.legs << ' ' << row.protectedSide;
        }
        ASSERT_TRUE(result.process);
        EXPECT_GT(result.process->cpuPerSecond, 0);
        EXPECT_GT(result.control.time.count, 0U);
    }
}

}  // namespace
}  // namespace lab

// The real daemon from its first line to its exit status.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <regex>

#include "tests/app/Daemon.h"

namespace {

constexpr int CannotPrepare = 126;

// A UDP port of the loopback at which nobody answers gatekeeper requests: no test sends anything elsewhere.
class SilentGatekeeper {
 public:
    SilentGatekeeper() : fd(socket(AF_INET, SOCK_DGRAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = inet_addr("127.0.0.3");
        socklen_t size = sizeof address;
        EXPECT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), size), 0);
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
        name = "127.0.0.3:" + std::to_string(ntohs(address.sin_port));
    }
    ~SilentGatekeeper() { close(fd); }
    SilentGatekeeper(const SilentGatekeeper&) = delete;
    SilentGatekeeper& operator=(const SilentGatekeeper&) = delete;

    const std::string& Name() const { return name; }

 private:
    int fd;
    std::string name;
};

class TestProcess : public testing::Test {
 protected:
    std::vector<std::string> Arguments(const std::vector<std::string>& more = {}) {
        std::vector<std::string> words{"-hosted=" + root.Path(), "-hostaddr=127.0.0.2", "-gk",
                                       gatekeeper.Name()};
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }

    TemporaryRoot root;
    SilentGatekeeper gatekeeper;
};

// Whether the texts stand in `output` in this order.
void ExpectInOrder(const std::string& output, const std::vector<std::string>& texts) {
    std::size_t at = 0;
    for (const std::string& text : texts) {
        const std::size_t found = output.find(text, at);
        ASSERT_NE(found, std::string::npos) << "'" << text << "' missing or out of order in\n" << output;
        at = found + text.size();
    }
}

TEST_F(TestProcess, StartsWorksAndEndsInOrder) {
    Daemon daemon(Arguments());
    ASSERT_TRUE(daemon.WaitForOutput("Discovery::UpdateTimer - discovering gatekeeper")) << daemon.Output();
    EXPECT_EQ(root.Read("compressor.pid"), std::to_string(daemon.Pid()) + "\n");
    daemon.Signal(SIGTERM);
    EXPECT_EQ(daemon.Wait(), 0);
    ExpectInOrder(daemon.Output(), {"Starting on simulated hardware...\n",
                                    "Starting Virtual Server hosted @" + root.Path() + "\n",
                                    "SWMODULE: TQ 1.3(117)\n\n",
                                    "Ostrevin - found G.729 software\n",
                                    "RLIMIT_CORE - cur ",
                                    "RLIMIT_NOFILE - cur ",
                                    "RLIMIT_NOFILE - max ",
                                    "RLIMIT_NOFILE - cur ",
                                    "Waiting for IP Address.....\n",
                                    "Discovery::UpdateTimer - discovering gatekeeper\n",
                                    "\n***** Ostrevin TERMINATING\n",
                                    "***** signal 15, code 0 (user), pid ",
                                    "Main process cleaning up...\n",
                                    "Discovery Terminating\n",
                                    "Discovery Closing...\n",
                                    "Discovery::Shutdown - closing gateways...\n",
                                    "Discovery::Shutdown - RasEndpoint...\n",
                                    "Discovery::Shutdown - TLSTrigger...\n",
                                    "Discovery::Shutdown - complete.\n",
                                    "Bye bye....\n"});
    ExpectInOrder(daemon.Output(), {"Discovery Starting...\n", "Discovery::Startup - TLSTrigger...\n",
                                    "Discovery::Startup - RasEndpoint...\n", "Discovery Started\n"});
    EXPECT_NE(daemon.Output().find("Main process 0x"), std::string::npos);
    const std::string terminator =
        "pid " + std::to_string(getpid()) + ", uid " + std::to_string(getuid()) + "\n\n";
    EXPECT_NE(daemon.Output().find(terminator), std::string::npos);
    EXPECT_EQ(daemon.Output().find("Discovery Terminated"), std::string::npos);
}

TEST_F(TestProcess, ConsoleLinesAreStampedAndThePoolsReported) {
    Daemon daemon(Arguments());
    ASSERT_TRUE(daemon.WaitForOutput("Resources: "));
    ASSERT_TRUE(daemon.WaitForOutput("ActiveChans=0\n"));
    const std::regex line(
        R"(\n\d\d/\d\d/\d{4} \d\d:\d\d:\d\d\.\d{6} Resources: mem=0 \(0\) L=\d{5,6} CB=\d{4} B=200\(200\),8000\(8000\),\d{3}\(\d{3}\),\d{3}\(\d{3}\) AsyncSockets=\d Sockets=\d ActiveChans=0\n)");
    EXPECT_TRUE(std::regex_search(daemon.Output(), line)) << daemon.Output();
    daemon.Signal(SIGINT);
    EXPECT_EQ(daemon.Wait(), 0);
    EXPECT_NE(daemon.Output().find("***** signal 2, code 0 (user)"), std::string::npos);
}

TEST_F(TestProcess, OptionsWithoutTheirArgumentEndItBeforeAnythingStarts) {
    struct Row {
        const char* option;
        const char* usage;
    };
    const Row rows[] = {{"-gk", "Use -gk <addr>\n"},
                        {"-GK", "Use -gk <addr>\n"},
                        {"-rtpbase", "Use -rtpbase <base>\n"},
                        {"-relayquantity", "Use -relayquantity <quantity>\n"}};
    for (const Row& row : rows) {
        Daemon daemon({"-hosted=" + root.Path(), "unknown", row.option});
        EXPECT_EQ(daemon.Wait(), 255);
        EXPECT_EQ(daemon.Output(), "Starting on simulated hardware...\nStarting Virtual Server hosted @" +
                                       root.Path() + "\n" + row.usage);
    }
    EXPECT_TRUE(root.List("").empty());
}

TEST_F(TestProcess, TerminationEndsTheWaitForAnAddress) {
    Daemon daemon({"-hosted=" + root.Path(), "-gk", gatekeeper.Name()}, EnterOwnNetwork);
    if (!daemon.WaitForOutput("Waiting for IP Address.....")) {
        ASSERT_EQ(daemon.Wait(), CannotPrepare) << daemon.Output();
        GTEST_SKIP() << "network namespaces are not allowed here";
    }
    daemon.ReadFor(std::chrono::milliseconds(2500));
    EXPECT_EQ(daemon.Output().find("Discovery"), std::string::npos);
    daemon.Signal(SIGTERM);
    EXPECT_EQ(daemon.Wait(), 0);
    ExpectInOrder(daemon.Output(), {"Ostrevin TERMINATING", "Main process cleaning up...", "Bye bye....\n"});
    EXPECT_EQ(daemon.Output().find("Discovery"), std::string::npos);
}

TEST_F(TestProcess, OtherSignalsAreReportedAndChangeNothing) {
    Daemon daemon(Arguments());
    ASSERT_TRUE(daemon.WaitForOutput("Discovery Started"));
    daemon.Signal(SIGPIPE);
    ASSERT_TRUE(daemon.WaitForOutput("****** APPLICATION SIGPIPE IGNORED\n"));
    daemon.Signal(SIGHUP);
    ASSERT_TRUE(daemon.WaitForOutput("****** APPLICATION SIGHUP\n"));
    daemon.Signal(SIGTERM);
    EXPECT_EQ(daemon.Wait(), 0);
    EXPECT_NE(daemon.Output().find("Bye bye"), std::string::npos);
}

TEST_F(TestProcess, SurvivesAnOutputThatNobodyReads) {
    Daemon daemon(Arguments());
    ASSERT_TRUE(daemon.WaitForOutput("Discovery Started"));
    daemon.StopReading();
    daemon.Signal(SIGPIPE);
    daemon.Signal(SIGHUP);
    daemon.Signal(SIGTERM);
    EXPECT_EQ(daemon.Wait(), 0);
}

TEST_F(TestProcess, WithoutAPlaceForThePidFileItGoesOnSilently) {
    Daemon daemon({"-hosted=" + root.Path() + "/missing", "-hostaddr=127.0.0.2", "-gk", gatekeeper.Name()});
    ASSERT_TRUE(daemon.WaitForOutput("Discovery Started"));
    daemon.Signal(SIGTERM);
    EXPECT_EQ(daemon.Wait(), 0);
    EXPECT_TRUE(root.List("").empty());
}

}  // namespace

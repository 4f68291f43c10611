// The real daemon from its first line to its exit status.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <memory>
#include <regex>

#include "tests/app/Daemon.h"
#include "tests/support/Namespaces.h"
#include "tests/support/Preload.h"

namespace {

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
        ASSERT_EQ(daemon.Wait(), CannotEnter) << daemon.Output();
        GTEST_SKIP() << "network namespaces are not allowed here";
    }
    daemon.ReadFor(std::chrono::milliseconds(2500));
    EXPECT_EQ(daemon.Output().find("Discovery"), std::string::npos);
    daemon.Signal(SIGTERM);
    EXPECT_EQ(daemon.Wait(), 0);
    ExpectInOrder(daemon.Output(), {"Ostrevin TERMINATING", "Main process cleaning up...", "Bye bye....\n"});
    EXPECT_EQ(daemon.Output().find("Discovery"), std::string::npos);
}

// With a core size of 0 for good. Root has to give up the right to exceed it.
bool ForbidCores() {
    const rlimit none{0, 0};
    return setrlimit(RLIMIT_CORE, &none) == 0 &&
           (geteuid() != 0 || prctl(PR_CAPBSET_DROP, CAP_SYS_RESOURCE) == 0);
}

TEST_F(TestProcess, LimitsThatCannotBeRaisedAreReported) {
    struct Row {
        Daemon::Preparation prepare;
        std::vector<std::string> texts;
    };
    const Row rows[] = {
        {ForbidCores, {"setrlimit error 1\n", "RLIMIT_CORE - cur 0\n"}},
        {[] { return Preload(KESTREL_FAULT_LIBRARY) && setenv("KESTREL_FAULT_NOFILE", "1", 1) == 0; },
         {"RLIMIT_NOFILE - cur unlimited\n", "RLIMIT_NOFILE - max unlimited\n", "setrlimit error 1\n",
          "RLIMIT_NOFILE - cur unlimited\n"}}};
    for (const Row& row : rows) {
        Daemon daemon(Arguments(), row.prepare);
        ASSERT_TRUE(daemon.WaitForOutput("Discovery Started")) << "it goes on";
        daemon.Signal(SIGTERM);
        EXPECT_EQ(daemon.Wait(), 0);
        ExpectInOrder(daemon.Output(), row.texts);
    }
}

// SIGTERM to `pid` as a program with that code would send it; 0 as kill and -6 as tgkill do.
int SendCoded(pid_t pid, int code) {
    if (code == 0) return kill(pid, SIGTERM);
    if (code == SI_TKILL) return static_cast<int>(syscall(SYS_tgkill, pid, pid, SIGTERM));
    siginfo_t info{};
    info.si_signo = SIGTERM;
    info.si_code = code;
    info.si_pid = getpid();
    info.si_uid = getuid();
    return static_cast<int>(syscall(SYS_rt_sigqueueinfo, pid, SIGTERM, &info));
}

TEST_F(TestProcess, TheOriginOfATerminationIsNamed) {
    struct Row {
        int code;
        const char* name;
    };
    const Row rows[] = {{-7, "unknown"}, {-6, "asyncnl"}, {-5, "sigio"}, {-4, "asyncio"},
                        {-3, "mesgq"},   {-2, "timer"},   {-1, "queue"}, {0, "user"}};
    std::vector<std::unique_ptr<Daemon>> daemons;
    for (std::size_t i = 0; i < std::size(rows); i++)
        daemons.push_back(std::make_unique<Daemon>(Arguments()));
    for (std::size_t i = 0; i < std::size(rows); i++) {
        Daemon& daemon = *daemons[i];
        ASSERT_TRUE(daemon.WaitForOutput("Waiting for IP Address"));
        ASSERT_EQ(SendCoded(daemon.Pid(), rows[i].code), 0) << rows[i].name;
        EXPECT_EQ(daemon.Wait(), 0);
        const std::string line = "***** signal 15, code " + std::to_string(rows[i].code) + " (" +
                                 rows[i].name + "), pid " + std::to_string(getpid()) + ", uid " +
                                 std::to_string(getuid()) + "\n\n";
        EXPECT_NE(daemon.Output().find(line), std::string::npos) << line << daemon.Output();
    }
}

TEST_F(TestProcess, AnInterruptTypedAtItsTerminalComesFromTheKernel) {
    int master = -1;
    int slave = -1;
    ASSERT_EQ(openpty(&master, &slave, nullptr, nullptr, nullptr), 0);
    Daemon daemon(Arguments(), [slave] { return setsid() > 0 && ioctl(slave, TIOCSCTTY, 0) == 0; });
    ASSERT_TRUE(daemon.WaitForOutput("Waiting for IP Address"));
    ASSERT_EQ(write(master, "\x03", 1), 1);
    EXPECT_EQ(daemon.Wait(), 0);
    EXPECT_NE(daemon.Output().find("***** signal 2, code 128 (kernel), pid 0, uid 0\n\n"), std::string::npos)
        << daemon.Output();
    close(slave);
    close(master);
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

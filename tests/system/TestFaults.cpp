// What the daemon says when the system refuses it something, and when its module thread ends before its time.
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <thread>

#include "tests/support/Preload.h"
#include "tests/system/SystemTest.h"

namespace {

// Daemons that are started while it lives are started with the fault.
class Fault {
 public:
    Fault(const char* name, const char* value) : name(name), options(Get("ASAN_OPTIONS")) {
        EXPECT_TRUE(Preload(KESTREL_FAULT_LIBRARY));
        setenv(name, value, 1);
    }
    ~Fault() {
        unsetenv("LD_PRELOAD");
        unsetenv(name);
        setenv("ASAN_OPTIONS", options.c_str(), 1);
    }
    Fault(const Fault&) = delete;
    Fault& operator=(const Fault&) = delete;

 private:
    static std::string Get(const char* variable) {
        const char* text = std::getenv(variable);
        return text != nullptr ? text : "";
    }

    const char* name;
    std::string options;
};

const lab::ControlClient::MapRequest Leg{
    .chan = 0, .comp = 1, .remote = SockAddr(0x7F000001, 40000), .mfpp = 20};

class TestFaults : public SystemTest {
 protected:
    bool WaitLine(const std::string& text) { return module.Daemon().WaitLine(text, PatienceMs).has_value(); }
};

TEST_F(TestFaults, SchedulingThatIsRefusedIsNamedAndDoneWithout) {
    struct Row {
        const char* error;
        const char* message;
    };
    const Row rows[] = {
        {"1", "sched_setscheduler returned EPERM (calling process does not have superuser permissions)"},
        {"22", "sched_setscheduler returned EINVAL (invalid policy or priority)"},
        {"3", "sched_setscheduler returned ESRCH (target thread is invalid)"},
        {"38", "sched_setscheduler returned 38"}};
    for (const Row& row : rows) {
        lab::ModuleSetup own;
        {
            const Fault fault("KESTREL_FAULT_SCHEDULING", row.error);
            std::string error;
            ASSERT_TRUE(own.Start({}, error)) << error;
        }
        EXPECT_TRUE(own.Control().Map(Leg));
        EXPECT_TRUE(own.Daemon().WaitLine(row.message, PatienceMs));
        EXPECT_EQ(own.Stop(), 0);
    }
}

// Without the right to real-time priority, for this thread and the daemon that it starts.
bool GiveUpScheduling() {
    const rlimit none{0, 0};
    return setrlimit(RLIMIT_RTPRIO, &none) == 0 &&
           (geteuid() != 0 || prctl(PR_CAPBSET_DROP, CAP_SYS_NICE) == 0);
}

TEST_F(TestFaults, WithoutThePrivilegeTheRelayRunsAtOrdinaryPriority) {
    // In a child of its own, for what is given up is gone for good.
    const auto run = [] {
        if (!GiveUpScheduling()) return false;
        lab::ModuleSetup own;
        std::string error;
        return own.Start({}, error) && own.Control().Map(Leg) &&
               own.Daemon().WaitLine("sched_setscheduler returned EPERM", PatienceMs).has_value() &&
               own.Control().Free(0) && own.Stop() == 0;
    };
    EXPECT_EXIT(_exit(run() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST_F(TestFaults, AModuleThreadThatEndsBeforeItsTimeClosesTheModule) {
    {
        const Fault fault("KESTREL_FAULT_MODULE", "exit");
        StartModule();
    }
    const std::string signal = "/tmp/kestrel-end-" + std::to_string(module.Daemon().Pid());
    std::ofstream(signal).flush();
    module.Control().SendRaw(std::array<UBYTE, 1>{});  // wakes it, and with its next wait it ends
    EXPECT_TRUE(WaitLine("Shutdown2"));
    EXPECT_TRUE(WaitLine("Compressor::Shutdown - complete."));
    unlink(signal.c_str());
    ExpectCleanEnd();
    EXPECT_EQ(module.Daemon().CountLines("Compressor::Shutdown - complete."), 1U);
}

TEST_F(TestFaults, AModuleIsShutDownOnce) {
    {
        const Fault fault("KESTREL_FAULT_MODULE", "again");
        StartModule();
    }
    ExpectCleanEnd();
    EXPECT_EQ(module.Daemon().CountLines("Compressor::Shutdown - already shutting down!!!"), 1U);
    EXPECT_EQ(module.Daemon().CountLines("Compressor::Shutdown - complete."), 1U);
}

}  // namespace

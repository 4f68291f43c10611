// The daemon's log: the file that SIGHUP reopens, and the ring-buffer device.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <ctime>
#include <fstream>

#include "tests/app/Daemon.h"
#include "tests/support/Namespaces.h"
#include "tests/support/Preload.h"

namespace {

class TestLogOptions : public testing::Test {
 protected:
    std::vector<std::string> Arguments(const std::string& option) {
        return {"-hosted=" + root.Path(), "-gk", "127.0.0.3:9", "-hostaddr=127.0.0.2", option};
    }

    // Waits until the log contains `text`.
    bool LogHas(const std::string& name, const std::string& text) const {
        for (int i = 0; i < 20000; i++) {
            if (root.Read(name).find(text) != std::string::npos) return true;
            usleep(1000);
        }
        return false;
    }

    // The names under which a log may have been kept since `start`.
    static std::vector<std::string> KeptNames(time_t start) {
        std::vector<std::string> names;
        for (const time_t when : {start, time(nullptr)}) {
            tm local{};
            localtime_r(&when, &local);
            char name[40];
            snprintf(name, sizeof name, "Compressor_%02d%02d.log", local.tm_hour, local.tm_min);
            names.emplace_back(name);
        }
        return names;
    }

    std::string ReadKept(time_t start) const {
        for (const std::string& name : KeptNames(start)) {
            std::string content = root.Read("logs/" + name);
            if (!content.empty()) return content;
        }
        return "";
    }

    TemporaryRoot root;
};

TEST_F(TestLogOptions, FileModeKeepsTheOldLogAndReopensOnSighup) {
    root.MakeFolder("logs");
    root.Write("logs/Compressor.log", "the log before\n");
    const time_t start = time(nullptr);
    Daemon daemon(Arguments("-LOGCP"));
    ASSERT_TRUE(LogHas("logs/Compressor.log", "Discovery Started\n"));
    EXPECT_EQ(ReadKept(start), "the log before\n");
    EXPECT_EQ(root.Read("logs/Compressor.log").find("Starting Virtual Server"), std::string::npos);

    const std::string log = root.Path() + "/logs/Compressor.log";
    ASSERT_EQ(rename(log.c_str(), (root.Path() + "/logs/moved").c_str()), 0);
    daemon.Signal(SIGHUP);
    ASSERT_TRUE(LogHas("logs/moved", "****** APPLICATION SIGHUP\n"));
    for (int i = 0; i < 20000 && access(log.c_str(), F_OK) != 0; i++) usleep(1000);
    daemon.Signal(SIGTERM);
    EXPECT_EQ(daemon.Wait(), 0);
    const std::string reopened = root.Read("logs/Compressor.log");
    EXPECT_NE(reopened.find("Ostrevin TERMINATING"), std::string::npos);
    EXPECT_NE(reopened.find("Bye bye....\n"), std::string::npos);
    EXPECT_EQ(root.Read("logs/moved").find("Bye bye"), std::string::npos);
    EXPECT_NE(daemon.Output().find("Starting Virtual Server"), std::string::npos);
}

TEST_F(TestLogOptions, AFileThatDoesNotReopenLeavesTheLogWhereItIs) {
    root.MakeFolder("logs");
    Daemon daemon(Arguments("-logcp"));
    ASSERT_TRUE(LogHas("logs/Compressor.log", "Discovery Started\n"));
    const std::string logs = root.Path() + "/logs";
    ASSERT_EQ(rename(logs.c_str(), (root.Path() + "/gone").c_str()), 0);
    daemon.Signal(SIGHUP);
    ASSERT_TRUE(LogHas("gone/Compressor.log", "Failed to open log file \"Compressor.log\"\n"));
    daemon.Signal(SIGTERM);
    EXPECT_EQ(daemon.Wait(), 0);
    EXPECT_NE(root.Read("gone/Compressor.log").find("Bye bye....\n"), std::string::npos);
}

TEST_F(TestLogOptions, FileModeWithoutItsFolderEndsWithZero) {
    Daemon daemon(Arguments("-logcp"));
    EXPECT_EQ(daemon.Wait(), 0);
    const std::string last = "Failed to open log file \"Compressor.log\"\n";
    EXPECT_EQ(daemon.Output().substr(daemon.Output().size() - std::min(daemon.Output().size(), last.size())),
              last);
    EXPECT_TRUE(root.List("").empty());
}

// In a /dev of its own where the ring-buffer device is a plain file with `content`.
bool PrepareRing(const std::string& content) {
    if (!EnterOwnDev()) return false;
    std::ofstream("/dev/emlog4") << content;
    return true;
}

TEST_F(TestLogOptions, RingModeKeepsWhatTheDeviceHeld) {
    root.MakeFolder("logs");
    const std::string held(10000, 'r');
    const time_t start = time(nullptr);
    Daemon daemon(Arguments("-log"), [&] { return PrepareRing(held); });
    const int ring = [&] {
        for (int i = 0; i < 20000 && ReadKept(start) != held; i++) usleep(1000);
        return ReadKept(start) == held ? 0 : daemon.Wait();
    }();
    if (ring == CannotEnter) GTEST_SKIP() << "mount namespaces are not allowed here";
    ASSERT_EQ(ring, 0) << daemon.Output();
    // The device is seen through the daemon's own root.
    const std::string device = "/proc/" + std::to_string(daemon.Pid()) + "/root/dev/emlog4";
    std::string content;
    for (int i = 0; i < 20000 && content.find("Discovery Started\n") == std::string::npos; i++) {
        std::ifstream file(device);
        content.assign(std::istreambuf_iterator<char>(file), {});
        usleep(1000);
    }
    EXPECT_NE(content.find("Discovery Started\n"), std::string::npos);
    daemon.Signal(SIGTERM);
    EXPECT_EQ(daemon.Wait(), 0);
    EXPECT_EQ(daemon.Output().find("Discovery"), std::string::npos);
}

TEST_F(TestLogOptions, RingModeFailures) {
    struct Row {
        Daemon::Preparation prepare;
        bool logFolder;
        std::string last;
    };
    const std::string unreadable = "Failed to open file /dev/emlog4\n";
    const std::string noStdout = "Failed to open log file \"/dev/emlog4\"\n for stdout\n";
    // A folder in the device's place opens for reading alone, and reading it is an error.
    const Row rows[] = {
        {[] { return EnterOwnDev() && mkdir("/dev/emlog4", 0777) == 0; }, true,
         "Read error 21 for file /dev/emlog4\n" + noStdout},
        {[] { return EnterOwnDev() && symlink("missing/device", "/dev/emlog4") == 0; }, true,
         unreadable + noStdout},
        {[] { return EnterOwnDev() && mkdir("/dev/emlog4", 0777) == 0; }, false, "Failed to open file "},
    };
    for (const Row& row : rows) {
        TemporaryRoot own;
        if (row.logFolder) own.MakeFolder("logs");
        Daemon daemon({"-hosted=" + own.Path(), "-log"}, row.prepare);
        const int status = daemon.Wait();
        if (status == CannotEnter) GTEST_SKIP() << "mount namespaces are not allowed here";
        EXPECT_EQ(status, 0);
        EXPECT_NE(daemon.Output().find(row.last), std::string::npos) << daemon.Output();
        EXPECT_NE(daemon.Output().find(noStdout), std::string::npos);
    }
}

TEST_F(TestLogOptions, RingModeWithoutRoomForTheKeptLog) {
    root.MakeFolder("logs");
    const std::string logs = root.Path() + "/logs";
    Daemon daemon(Arguments("-log"), [&] {
        return PrepareRing(std::string(10000, 'r')) &&
               mount("none", logs.c_str(), "tmpfs", 0, "size=4k") == 0;
    });
    if (!daemon.WaitForOutput("Write error 28 for file " + logs + "/Compressor_")) {
        ASSERT_EQ(daemon.Wait(), CannotEnter) << daemon.Output();
        GTEST_SKIP() << "mount namespaces are not allowed here";
    }
    EXPECT_TRUE(daemon.WaitForOutput(".log\n"));
}

TEST_F(TestLogOptions, RingModeWithoutStandardErrorEndsWithZero) {
    root.MakeFolder("logs");
    root.Write("ring", "");
    const std::string ring = root.Path() + "/ring";
    Daemon daemon(Arguments("-log"), [&] {
        return EnterOwnDev() && symlink(ring.c_str(), "/dev/emlog4") == 0 && Preload(KESTREL_FAULT_LIBRARY) &&
               setenv("KESTREL_FAULT_OPEN", "/dev/emlog4 3 13", 1) == 0;
    });
    const int status = daemon.Wait();
    if (status == CannotEnter) GTEST_SKIP() << "mount namespaces are not allowed here";
    EXPECT_EQ(status, 0);
    EXPECT_EQ(root.Read("ring"), "Failed to open log file \"/dev/emlog4\"\n for stderr\n");
    EXPECT_EQ(root.List("").size(), 2U) << "nothing has been started";
}

}  // namespace

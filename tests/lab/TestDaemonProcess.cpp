// Children of all kinds, played by the shell.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "tools/lab/DaemonProcess.h"

namespace lab {
namespace {

constexpr int BoundMs = 10000;

void StartShell(DaemonProcess& process, const std::string& script) {
    std::string error;
    ASSERT_TRUE(process.Start("/bin/sh", {"-c", script}, error)) << error;
}

TEST(DaemonProcess, CollectsBothOutputsAndTheExitStatus) {
    DaemonProcess process;
    StartShell(process, "echo one; echo two >&2; printf three; exit 7");
    EXPECT_EQ(process.WaitExit(BoundMs), 7);
    EXPECT_EQ(process.Lines(), (std::vector<std::string>{"one", "two", "three"}));
    EXPECT_FALSE(process.IsRunning());
    EXPECT_FALSE(process.Signal(SIGTERM));
}

TEST(DaemonProcess, WaitsForLinesInTheirOrder) {
    DaemonProcess process;
    StartShell(process, "echo state up; echo noise; echo state down; read never");
    std::size_t from = 0;
    EXPECT_EQ(process.WaitLine("state", BoundMs, from), "state up");
    EXPECT_EQ(process.WaitLine("state", BoundMs, from), "state down");
    EXPECT_EQ(from, 3U);
    EXPECT_FALSE(process.WaitLine("state", 10, from));
    EXPECT_EQ(process.CountLines("state"), 2U);
}

TEST(DaemonProcess, StopsGentlyFirstAndByForceThen) {
    DaemonProcess gentle;
    StartShell(gentle, "trap 'echo bye; exit 3' TERM; echo ready; while :; do sleep 0.05; done");
    ASSERT_TRUE(gentle.WaitLine("ready", BoundMs));
    EXPECT_EQ(gentle.Stop(BoundMs), 3);
    EXPECT_TRUE(gentle.WaitLine("bye", 0));

    DaemonProcess stubborn;
    StartShell(stubborn, "trap '' TERM; echo ready; while :; do sleep 0.05; done");
    ASSERT_TRUE(stubborn.WaitLine("ready", BoundMs));
    EXPECT_EQ(stubborn.Stop(100), -1);
    EXPECT_FALSE(stubborn.IsRunning());
}

TEST(DaemonProcess, SaysWhyItCannotStart) {
    DaemonProcess process;
    std::string error;
    EXPECT_FALSE(process.Start("/no/such/daemon", {}, error));
    EXPECT_EQ(error, "Cannot run /no/such/daemon: No such file or directory");
}

TEST(DaemonProcess, MeasuresWhatTheChildUses) {
    DaemonProcess process;
    StartShell(process, "echo ready; while :; do :; done");
    ASSERT_TRUE(process.WaitLine("ready", BoundMs));
    std::optional<DaemonProcess::Usage> usage;
    do usage = process.Measure();
    while (usage && usage->cpuSeconds < 0.05);
    ASSERT_TRUE(usage);
    EXPECT_GT(usage->rssBytes, 100'000U);
    EXPECT_GE(usage->peakBytes, usage->rssBytes);
    EXPECT_EQ(usage->threads, 1);
    EXPECT_GE(usage->descriptors, 3);
    process.Stop(100);
    EXPECT_FALSE(process.Measure());
}

// The grandchild writes into a pipe that this test holds: its end is the end of the grandchild.
TEST(DaemonProcess, ChildDiesWithItsParent) {
    int pipe[2];
    ASSERT_EQ(::pipe(pipe), 0);
    const pid_t parent = fork();
    if (parent == 0) {
        close(pipe[0]);
        DaemonProcess process;
        std::string error;
        process.Start("/bin/sh", {"-c", "echo ready; while :; do sleep 1; done"}, error);
        process.WaitLine("ready", BoundMs);
        const ssize_t told = write(pipe[1], "r", 1);
        for (;;) sleep(told == 1 ? 1 : 2);
    }
    close(pipe[1]);
    char byte = 0;
    ASSERT_EQ(read(pipe[0], &byte, 1), 1);
    kill(parent, SIGKILL);
    waitpid(parent, nullptr, 0);
    EXPECT_EQ(read(pipe[0], &byte, 1), 0);
    close(pipe[0]);
}

}  // namespace
}  // namespace lab

// Device tasks on a FIFO: what arrives, what a full queue drops, faults of the device, and every way of
// ending.
#include <pty.h>

#include <csignal>

#include "common/devicetask.h"
#include "tests/common/DeviceTest.h"
#include "tests/support/DeviceReader.h"

namespace {

using Texts = std::vector<std::string>;

class Task : public DeviceTask {
 public:
    explicit Task(bool binary) : DeviceTask(binary) {}

    void Receive(OSBuf* in) override {
        received.emplace_back(in->Data().begin(), in->Data().end());
        in->Free();
    }

    Texts received;
};

class TestDeviceTask : public DeviceTest {
 protected:
    bool WaitFor(const Task& task, std::size_t count) {
        return RunUntil([&] { return task.received.size() >= count; });
    }
    // The console's lines since the last call.
    Texts TakeLines() {
        Texts lines = console.Lines();
        console.Clear();
        return lines;
    }
    // The task's lines name its path.
    Texts Lines(const char* path, const Texts& formats) {
        Texts lines;
        for (const std::string& format : formats) {
            char line[200];
            snprintf(line, sizeof line, format.c_str(), path);
            lines.emplace_back(line);
        }
        return lines;
    }
};

TEST_F(TestDeviceTask, TextComesLineByLine) {
    struct Row {
        std::string read;
        Texts received;
    };
    const Row rows[] = {
        {"a\nbc\nd", {"a\n", "bc\n", "d"}},
        {"whole\n", {"whole\n"}},
        {"\n\n", {"\n", "\n"}},
        {std::string("a\0b\n", 4), {std::string("a\0b\n", 4)}},
        {std::string(1599, 'x') + "\n", {std::string(1599, 'x') + "\n"}},
        {std::string(1599, 'x') + "\ny\n", {std::string(1599, 'x') + "\n", "y\n"}},
        {std::string(1605, 'z') + "\n", {std::string(1600, 'z'), std::string(5, 'z') + "\n"}}};
    for (const Row& row : rows) {
        Task task(false);
        twin.reads = 0;
        ASSERT_EQ(task.Start(path.c_str()), 0);
        Feed(row.read);
        ASSERT_TRUE(WaitFor(task, row.received.size()));
        EXPECT_EQ(task.received, row.received);
    }
}

TEST_F(TestDeviceTask, BinaryComesAsItWasRead) {
    Task task(true);
    ASSERT_EQ(task.Start(path.c_str()), 0);
    Feed("a\nbc\n\nd");
    Feed("e");
    ASSERT_TRUE(WaitFor(task, 2));
    EXPECT_EQ(task.received, (Texts{"a\nbc\n\nd", "e"}));
}

TEST_F(TestDeviceTask, WhatIsSentGoesToTheDevice) {
    Task task(false);
    UBYTE text[] = "to the device\n";
    task.Send(text, 14);
    ASSERT_EQ(task.Start(path.c_str()), 0);
    task.Send(text, 14);
    OSBuf* buf = OSBuf::Alloc(20);
    buf->PushData("and more\n", 9);
    task.Send(buf);
    // The other end of the FIFO is the task's own.
    ASSERT_TRUE(WaitFor(task, 2));
    EXPECT_EQ(task.received, (Texts{"to the device\n", "and more\n"}));
    twin.writeFault = EIO;
    console.Clear();
    task.Send(text, 14);
    EXPECT_EQ(TakeLines(), Lines(path.c_str(), {"DeviceTask::Send %s - write error 5"}));
    task.Stop();
    task.Send(text, 14);
    EXPECT_EQ(twin.writes, 3) << "nothing is written before the start and behind the stop";
}

TEST_F(TestDeviceTask, AFullQueueDropsTheNewestAndSaysSoOnceASecond) {
    RunFor(1001);  // an earlier warning may stand in this one's way
    Task task(false);
    ASSERT_EQ(task.Start(path.c_str()), 0);
    console.Clear();
    const std::string before = "*************** DeviceTask::Main " + path + " - q.Size = ";
    for (int i = 0; i < 60; i++) Feed(std::to_string(i) + "\n");
    const Texts first = TakeLines();
    ASSERT_GE(first.size(), 1U);
    EXPECT_LE(first.size(), 2U) << "a warning a second, and this took one";
    EXPECT_EQ(first[0], before + "11 ****************");
    usleep(1001000);
    Feed("late\n");
    EXPECT_EQ(TakeLines(), Texts{before + "50 ****************"});
    ASSERT_TRUE(WaitFor(task, 50));
    RunFor(50);
    Feed("again\n");
    ASSERT_TRUE(WaitFor(task, 51));
    ASSERT_EQ(task.received.size(), 51U);
    for (int i = 0; i < 50; i++)
        EXPECT_EQ(task.received[static_cast<std::size_t>(i)], std::to_string(i) + "\n");
    EXPECT_EQ(task.received.back(), "again\n");
}

TEST_F(TestDeviceTask, StopEndsABlockedReader) {
    {
        Task task(false);
        ASSERT_EQ(task.Start(path.c_str()), 0);
        WaitForReads(1);
        task.Stop();
        EXPECT_EQ(TakeLines(),
                  Lines(path.c_str(), {"DeviceTask::Stop %s", "DeviceTask::Stop %s - closed",
                                       "DeviceTask::Stop %s - signal", "DeviceTask::Main %s - thread exiting",
                                       "DeviceTask::Stop %s - stopped"}));
        EXPECT_EQ(twin.open, 0);
    }
    EXPECT_TRUE(TakeLines().empty()) << "the destructor found it stopped";
}

TEST_F(TestDeviceTask, StopNeverHangsWheneverItComes) {
    for (int i = 0; i < 1000; i++) {
        enum { AtOnce, BeforeTheRead, InTheRead, WithData };
        const int moment = i % 4;
        std::signal(SIGABRT, SIG_DFL);  // as in a process that has had no reader yet
        twin.reads = 0;
        twin.lingersBeforeRead = moment == BeforeTheRead;
        Task task(i % 8 < 4);
        ASSERT_EQ(task.Start(path.c_str()), 0);
        if (moment != AtOnce) WaitForReads(1);
        if (moment == WithData) {
            ASSERT_EQ(write(feed, "some line\nand another\n", 22), 22);
        }
        if (i % 5 != 0) task.Stop();
    }
    EXPECT_EQ(console.Count(" - stopped"), 1000);
    EXPECT_EQ(console.Count(" - thread exiting"), 1000);
    EXPECT_EQ(console.Count("error"), 0);
}

TEST_F(TestDeviceTask, WithoutADeviceThereIsNothingToStop) {
    const std::string longest = folder + "/" + std::string(62 - folder.size(), 'n');
    const std::string tooLong = longest + "n";
    ASSERT_EQ(longest.size(), 63U);
    struct Row {
        std::string path;
        std::string report;
        std::string kept;  // the path that the task goes by
    };
    const Row rows[] = {{longest, "DeviceTask::Start %s - open failed 2", longest},
                        {tooLong, "DeviceTask::Start %s - open failed 36", ""},
                        {folder, "DeviceTask::Start %s - open failed 21", folder}};
    for (const Row& row : rows) {
        {
            Task task(false);
            EXPECT_EQ(task.Start(row.path.c_str()), -1);
            EXPECT_EQ(TakeLines(), Lines(row.path.c_str(), {row.report}));
        }
        EXPECT_EQ(TakeLines(), Lines(row.kept.c_str(), {"DeviceTask::Stop %s", "DeviceTask::Stop %s - signal",
                                                        "DeviceTask::Stop %s - stopped"}));
    }
    twin.closeOnExecFault = EBADF;
    Task task(false);
    EXPECT_EQ(task.Start(path.c_str()), -1);
    EXPECT_EQ(TakeLines(), Lines(path.c_str(), {"DeviceTask::Start %s - failed to set close-on-exec 9"}));
    EXPECT_EQ(twin.open, 0);
}

TEST_F(TestDeviceTask, AReadErrorEndsTheReaderAlone) {
    struct Row {
        int fault;
        Texts lines;
    };
    const Row rows[] = {{EIO, {"DeviceTask::Main %s - read error 5", "DeviceTask::Main %s - thread exiting"}},
                        {EINTR, {"DeviceTask::Main %s - thread exiting"}}};
    for (const Row& row : rows) {
        Task task(false);
        twin.readFault = row.fault;
        ASSERT_EQ(task.Start(path.c_str()), 0);
        EXPECT_TRUE(console.WaitFor("thread exiting"));
        EXPECT_EQ(TakeLines(), Lines(path.c_str(), row.lines));
        EXPECT_EQ(twin.open, 1) << "the device stays open until the stop";
        task.Stop();
        EXPECT_EQ(TakeLines(),
                  Lines(path.c_str(), {"DeviceTask::Stop %s", "DeviceTask::Stop %s - closed",
                                       "DeviceTask::Stop %s - signal", "DeviceTask::Stop %s - stopped"}));
    }
}

TEST_F(TestDeviceTask, AnEndOfFileIsReportedAndReadOn) {
    const std::string file = folder + "/file";
    close(open(file.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
    Task task(false);
    ASSERT_EQ(task.Start(file.c_str()), 0);
    EXPECT_TRUE(console.WaitFor("DeviceTask::Main " + file + " - end of file", 2));
    const int writer = open(file.c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_EQ(write(writer, "line\n", 5), 5);
    close(writer);
    ASSERT_TRUE(WaitFor(task, 1));
    EXPECT_EQ(task.received, Texts{"line\n"});
    task.Stop();
    unlink(file.c_str());
}

TEST_F(TestDeviceTask, ADeviceThatVanishesIsAReadError) {
    int master = -1;
    int slave = -1;
    char name[64];
    ASSERT_EQ(openpty(&master, &slave, name, nullptr, nullptr), 0);
    Task task(false);
    ASSERT_EQ(task.Start(name), 0);
    ASSERT_EQ(write(master, "key\n", 4), 4);
    ASSERT_TRUE(WaitFor(task, 1));
    EXPECT_EQ(task.received, Texts{"key\n"});
    ASSERT_TRUE(WaitUntilReadBy(name, getpid()));
    close(slave);
    close(master);
    EXPECT_TRUE(console.WaitFor(std::string("DeviceTask::Main ") + name + " - read error 5"));
    EXPECT_TRUE(console.WaitFor(std::string("DeviceTask::Main ") + name + " - thread exiting"));
}

TEST_F(TestDeviceTask, BuffersThatWaitAtTheEndAreFreed) {
    Task task(false);
    ASSERT_EQ(task.Start(path.c_str()), 0);
    for (int i = 0; i < 5; i++) Feed("x\n");
    EXPECT_TRUE(task.received.empty());
}

TEST_F(TestDeviceTask, PaceAllowsOneWarningASecond) {
    RunFor(1001);
    EXPECT_TRUE(pace());
    EXPECT_FALSE(pace());
    RunFor(1001);
    EXPECT_TRUE(pace());
}

}  // namespace

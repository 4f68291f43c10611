// A device under the test's control: a FIFO, whose open end in the test feeds the task under test.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "tests/support/DeviceTwin.h"
#include "tests/support/LoopTest.h"

class DeviceTest : public LoopTest {
 protected:
    void SetUp() override {
        LoopTest::SetUp();
        char name[] = "/tmp/kestrel-device-XXXXXX";
        folder = mkdtemp(name);
        path = folder + "/device";
        ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
        feed = open(path.c_str(), O_RDWR | O_CLOEXEC);
        ASSERT_GE(feed, 0);
    }
    void TearDown() override {
        close(feed);
        unlink(path.c_str());
        rmdir(folder.c_str());
        EXPECT_EQ(twin.open, 0) << "a device stayed open";
        LoopTest::TearDown();
    }

    // In one read of the task's, once it has dealt with what it read before.
    void Feed(const std::string& bytes) {
        WaitForReads(1);
        const int begun = twin.reads;
        ASSERT_EQ(write(feed, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        WaitForReads(begun + 1);
    }
    // Without running the loop: its thread is held.
    void WaitForReads(int count) {
        for (int i = 0; i < 10000 && twin.reads < count; i++) usleep(1000);
        ASSERT_GE(twin.reads, count);
    }

    DeviceTwin twin;
    std::string folder;
    std::string path;
    int feed = -1;
};

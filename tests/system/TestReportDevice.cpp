// The RTP driver's reports on their way to the call server, from a device that behaves and from others.
#include <fcntl.h>
#include <pty.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

#include "tests/support/DeviceReader.h"
#include "tests/system/HardwareTest.h"

namespace {

class TestReportDevice : public HardwareTest {
 protected:
    // The next digit at the call server: channel, key, milliseconds; empty when none comes.
    std::string NextDigit() {
        const auto digit = module.control.WaitDigit(PatienceMs);
        if (!digit) return "";
        return std::to_string(digit->chan) + " " + static_cast<char>(digit->port) + " " +
               std::to_string(digit->addr);
    }
    // A module whose report device is something else, below the file system's root.
    void StartWithDevice(const std::string& target) {
        std::filesystem::create_symlink(target, module.Path(HardwareModule::ReportDevice));
        ASSERT_NO_FATAL_FAILURE(module.Start());
        ASSERT_NO_FATAL_FAILURE(module.WaitRegistered());
    }
    // Everything still works, and the end comes in order.
    void ExpectUnharmed() {
        EXPECT_TRUE(Map(6));
        EXPECT_TRUE(module.control.Free(6));
        module.Stop();
        ExpectInOrder({"DeviceTask::Stop /dev/rtpif_dtmf2", "DeviceTask::Stop /dev/rtpif_dtmf2 - signal",
                       "DeviceTask::Stop /dev/rtpif_dtmf2 - stopped", "Compressor::Shutdown - complete.",
                       "Bye bye...."});
    }
};

constexpr const char* Unknown = "RTPDevice::Receive - unknown command (";

TEST_F(TestReportDevice, EveryKindOfLine) {
    StartModule({});
    ASSERT_TRUE(Map(0));
    ASSERT_TRUE(Map(3));
    module.Report("dtmf 513,35,120\n");
    EXPECT_EQ(NextDigit(), "1 5 120");
    module.Report("dtmf 513,2a,40\ndtmf 515,23,2000\ndebug buffer low\nxx debug ok\ndtmf:513,41,1\n");
    EXPECT_EQ(NextDigit(), "1 * 40");
    EXPECT_EQ(NextDigit(), "3 # 2000");
    EXPECT_EQ(NextDigit(), "1 A 1");
    // No external leg, none that exists, no number, a comma too few, nothing of the driver's.
    module.Report("dtmf 512,31,1\ndtmf 511,31,1\ndtmf 517,31,1\ndtmf x,31,1\ndtmf 513,35\nhello\n");
    module.Report("dtmf 513,39,77\n");
    EXPECT_EQ(NextDigit(), "1 9 77") << "none of the lines before it is a report";
    ExpectInOrder({"dtmf 513,35,120", "ControlChannel::RtpDtmfCallback - 0x", "dtmf 513,2a,40",
                   "chan 1, key *, duration 40", "dtmf 515,23,2000", "chan 3, key #, duration 2000",
                   "RTP: buffer low", "RTP: ok", "dtmf:513,41,1", "chan 1, key A, duration 1",
                   "dtmf 512,31,1", "dtmf 511,31,1", "dtmf 517,31,1", "dtmf x,31,1",
                   std::string(Unknown) + "dtmf 513,35) from driver", std::string(Unknown) + "hello",
                   ") from driver", "chan 1, key 9, duration 77"});
    EXPECT_EQ(Count("ControlChannel::RtpDtmfCallback"), 5U);
    module.Stop();
    ExpectInOrder({"DeviceTask::Stop /dev/rtpif_dtmf2", "DeviceTask::Stop /dev/rtpif_dtmf2 - closed",
                   "DeviceTask::Stop /dev/rtpif_dtmf2 - signal",
                   "DeviceTask::Main /dev/rtpif_dtmf2 - thread exiting",
                   "DeviceTask::Stop /dev/rtpif_dtmf2 - stopped"});
}

TEST_F(TestReportDevice, FragmentsAreReportedAndTheNextLineIsWhole) {
    StartModule({});
    ASSERT_TRUE(Map(1));
    module.Report("dtmf 513,35");
    ASSERT_TRUE(WaitLine(std::string(Unknown) + "dtmf 513,35) from driver"));
    module.Report(",120\n");
    ASSERT_TRUE(WaitLine(std::string(Unknown) + ",120"));
    module.Report(std::string(3000, '\xff') + "\n");
    module.Report(std::string(500, '\0') + "dtmf 513,31,1\n");
    module.Report("\ndtmf 513,37,9\n");
    EXPECT_EQ(NextDigit(), "1 7 9");
    ExpectUnharmed();
}

TEST_F(TestReportDevice, AFloodIsCutShortAndHoldsUpNobody) {
    StartModule({});
    ASSERT_TRUE(Map(1));
    std::atomic<bool> flooding{true};
    std::thread flood([&] {
        std::string lines;
        while (lines.size() < 4000) lines += "debug f\n";
        for (int i = 0; i < 800; i++) module.Report(lines);
        flooding = false;
    });
    int answered = 0;
    for (; flooding; answered++) ASSERT_TRUE(Map(0)) << "after " << answered << " requests in the flood";
    flood.join();
    EXPECT_GT(answered, 0);
    EXPECT_TRUE(WaitLine("*************** DeviceTask::Main /dev/rtpif_dtmf2 - q.Size = "));
    // Once there is room again reports come through.
    for (int i = 0; i < 1000 && Count("RTP: behind the flood") == 0; i++) {
        module.Report("debug behind the flood\n");
        module.daemon.WaitLine("RTP: behind the flood", 20);
    }
    module.Report("dtmf 513,38,8\n");
    EXPECT_EQ(NextDigit(), "1 8 8");
    EXPECT_LT(Count("RTP: f"), 800U * 500) << "some of it must have been lost";
    ExpectUnharmed();
}

TEST_F(TestReportDevice, ADeviceThatVanishesEndsItsReaderAlone) {
    int master = -1;
    int slave = -1;
    char name[64];
    ASSERT_EQ(openpty(&master, &slave, name, nullptr, nullptr), 0);
    for (const int end : {master, slave}) fcntl(end, F_SETFD, FD_CLOEXEC);
    StartWithDevice(std::string(name).substr(5));  // beside it in /dev
    ASSERT_TRUE(Map(1));
    ASSERT_EQ(write(master, "dtmf 513,30,50\n", 15), 15);
    EXPECT_EQ(NextDigit(), "1 0 50");
    ASSERT_TRUE(WaitUntilReadBy(name, module.daemon.Pid()));
    close(slave);
    close(master);
    ExpectInOrder({"DeviceTask::Main /dev/rtpif_dtmf2 - read error 5",
                   "DeviceTask::Main /dev/rtpif_dtmf2 - thread exiting"});
    ExpectUnharmed();
}

TEST_F(TestReportDevice, ADeviceThatEndsIsReadOn) {
    module.Write("/dev/reports", "dtmf 513,34,60\n");
    StartWithDevice("reports");
    ASSERT_TRUE(WaitLine("DeviceTask::Main /dev/rtpif_dtmf2 - end of file"));
    EXPECT_EQ(Count("dtmf 513,34,60"), 1U);
    ExpectUnharmed();
}

TEST_F(TestReportDevice, ADeviceThatCannotBeUsedIsReported) {
    struct Row {
        const char* fault;
        const char* message;
    };
    const Row rows[] = {
        {"KESTREL_FAULT_CLOSE_ON_EXEC=9",
         "DeviceTask::Start /dev/rtpif_dtmf2 - failed to set close-on-exec 9"},
        {"KESTREL_FAULT_THREAD=3 11", "DeviceTask::Start /dev/rtpif_dtmf2 - pthread_create failed 11"}};
    for (const Row& row : rows) {
        HardwareModule own;
        own.MakeReportDevice();
        own.SetFault(row.fault);
        own.Start();
        ASSERT_NO_FATAL_FAILURE(own.WaitRegistered());
        EXPECT_EQ(own.daemon.CountLines(row.message), 1U);
        own.Stop();
        EXPECT_EQ(own.daemon.CountLines("- closed"), 0U);
        EXPECT_EQ(own.daemon.CountLines("DeviceTask::Stop /dev/rtpif_dtmf2 - stopped"), 1U);
    }
}

}  // namespace

// The module on the server's own hardware: what it finds there, what it asks of the hardware, its files.
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <optional>

#include "tests/system/HardwareTest.h"
#include "tools/lab/SrtpKeys.h"

namespace {

class TestHardwareMode : public HardwareTest {};

TEST_F(TestHardwareMode, EveryRowOfTheDetectionTableIsAnnounced) {
    struct Row {
        const char* model;  // content, null for no file
        const char* dsps;
        std::vector<const char*> devices;
        const char* message;  // null for none
        ULONG compression;
        ULONG relay;
    };
    constexpr const char* Folder = "";  // a file that opens and cannot be read
    constexpr ULONG Option = 77;
    const Row rows[] = {
        {"HB7012", nullptr, {}, "Ostrevin - found HB7012 hardware", 8, 0},
        {"HB7012 rev 4, of more than 16 bytes", "02", {"xilinx0"}, "Ostrevin - found HB7012 hardware", 8, 0},
        {"HB7099\n", nullptr, {}, "Ostrevin - found 70xx hardware", 68, 0},
        {"HB70", "02", {"fpga_dbg"}, "Ostrevin - found 70xx hardware", 34, 0},
        {"HB70", "02\n", {}, "Ostrevin - found 70xx hardware", 68, 0},
        {"HB70", Folder, {}, "Ostrevin - found 70xx hardware", 68, 0},
        {Folder, "02", {"xilinx0"}, nullptr, 0, Option},
        {"HB6000", nullptr, {"fpga_dbg"}, nullptr, 0, Option},
        {nullptr, "02", {"xilinx0", "fpga_dbg"}, "Ostrevin - found RKA3 hardware", 8, 30},
        {nullptr, nullptr, {"fpga_dbg"}, "Ostrevin - found RKB24 hardware", 64, 0},
        {nullptr, nullptr, {}, "Ostrevin - no compression board", 0, 38},
    };
    std::vector<std::unique_ptr<HardwareModule>> modules;
    const auto place = [](const HardwareModule& module, const std::string& name, const char* content) {
        if (content == Folder) std::filesystem::create_directories(module.Path(name));
        if (content != nullptr && content != Folder) module.Write(name, content);
    };
    for (const Row& row : rows) {
        modules.push_back(std::make_unique<HardwareModule>());
        HardwareModule& own = *modules.back();
        place(own, "/Kestrelon/model", row.model);
        place(own, "/Kestrelon/dsps", row.dsps);
        for (const char* device : row.devices) own.Write(std::string("/dev/") + device, "");
        own.Start({"-relayquantity", std::to_string(Option)});
    }
    for (std::size_t i = 0; i < modules.size(); i++) {
        const Row& row = rows[i];
        HardwareModule& own = *modules[i];
        const std::string name = "row " + std::to_string(i);
        ASSERT_NO_FATAL_FAILURE(own.WaitRegistered()) << name;
        ASSERT_TRUE(own.registered.data.has_value());
        EXPECT_EQ(own.registered.data->compressionQuantity, row.compression) << name;
        EXPECT_EQ(own.registered.data->relayQuantity, row.relay) << name;
        EXPECT_EQ(own.daemon.CountLines("Starting on Real Hardware..."), 1U);
        EXPECT_EQ(own.daemon.CountLines("Ostrevin - "), row.message != nullptr ? 1U : 0U) << name;
        if (row.message != nullptr) {
            EXPECT_EQ(own.daemon.CountLines(row.message), 1U) << name;
        }
        own.Stop();
    }
}

TEST_F(TestHardwareMode, StartsWithTheHardwaresPoolsPathsAndLimits) {
    module.Write("/Kestrelon/model", "HB7012");
    StartModule({"-hosted=/elsewhere", "-debug-socket"});
    ExpectInOrder({"Starting on Real Hardware...", "Starting Virtual Server hosted @/elsewhere",
                   "SWMODULE: TQ 1.3(117)", "Ostrevin - found HB7012 hardware", "RLIMIT_CORE - cur ",
                   "Waiting for IP Address.....", "AudioHardware::StartRealTime", "Main process 0x"});
    EXPECT_EQ(Count("RLIMIT_NOFILE"), 0U) << "no channel is a socket of this process there";
    EXPECT_TRUE(WaitLine("B=500(500),4000(4000),500(")) << "the kernel library's own pools";
    EXPECT_EQ(module.Read("/Kestrelon/compressor.pid"), std::to_string(module.daemon.Pid()) + "\n")
        << "hosted, its pid file lies in the home path, which the hardware decides";
    module.Stop();
    EXPECT_EQ(Count("Bye bye...."), 1U);
}

TEST_F(TestHardwareMode, TheRingLogIsKeptUnderTheFileSystemsRoot) {
    module.Write("/dev/emlog4", "what the ring held\n");
    StartModule({"-log"});
    module.Stop();
    std::optional<std::string> kept;
    for (const auto& entry : std::filesystem::directory_iterator(module.Path("/logs"))) {
        const std::string name = entry.path().filename();
        EXPECT_TRUE(name.starts_with("Compressor_") && name.size() == 19) << name;
        kept = module.Read("/logs/" + name);
    }
    EXPECT_EQ(kept, "what the ring held\n");
    const std::string ring = module.Read("/dev/emlog4");
    EXPECT_TRUE(ring.starts_with("SWMODULE: TQ 1.3(117)\n\n")) << ring.substr(0, 200);
    EXPECT_TRUE(ring.ends_with("Bye bye....\n"));
    EXPECT_EQ(Count("Compressor"), 0U);
    EXPECT_EQ(module.Read("/var/run/compressor.pid"), std::to_string(module.daemon.Pid()) + "\n");
}

TEST_F(TestHardwareMode, TheLogFileLiesUnderTheFileSystemsRoot) {
    module.Write("/logs/Compressor.log", "the log before\n");
    StartModule({"-logcp"});
    module.Stop();
    EXPECT_TRUE(module.Read("/logs/Compressor.log").ends_with("Bye bye....\n"));
    for (const auto& entry : std::filesystem::directory_iterator(module.Path("/logs"))) {
        if (entry.path().filename() == "Compressor.log") continue;
        EXPECT_EQ(module.Read("/logs/" + entry.path().filename().string()), "the log before\n");
    }
}

TEST_F(TestHardwareMode, RequestsAreCarriedToTheHardware) {
    StartModule();
    const int threads = module.daemon.Measure()->threads;
    const std::string base = "127.0.0.1:" + std::to_string(module.rtpBase);
    ASSERT_TRUE(Map(0));
    ASSERT_TRUE(Map(1, 11, 2));
    ASSERT_TRUE(module.control.SendDigit(0, '#', 160));
    ASSERT_TRUE(module.control.HoldMusic(1, 1, SockAddr("239.7.7.7", 45454)));
    ASSERT_TRUE(module.control.Unmap(1));
    ASSERT_TRUE(WaitLine("MediaChannel::HoldMusicTimer - mapping to hold music 239.7.7.7:45454"));
    ASSERT_TRUE(module.control.Free(0));
    ExpectInOrder(
        {"MediaChannel(0)::Setup - relay 0, blockDtmf 0",
         "AudioHardware::Open - stream 512, direction 3",
         "MediaChannel(0)::Setup - rtpendpoint->SetMSA(",
         "AudioHardware::Describe - stream 512, heard at " + base,
         "AudioHardware::Describe - stream 512, comp 1, media side 1, mfpp 20, DTMF payload type 101",
         "Receive - Sending Ack",
         "AudioHardware::Open - stream 513, direction 3",
         "remote 127.0.0.1:40002 and 127.0.0.1:40003",
         "stream 513, comp 11, media side 1, mfpp 2",
         "Receive - Sending Ack",
         "OnSendDigit - chan 0",
         "AudioHardware::PlayDigit - stream 513, digit #, duration 160",
         "Receive - Sending Ack",
         "OnUnmap - chan 1",
         "AudioHardware::Close - stream 513",
         "AudioHardware::Open - stream 513, direction 3",
         "stream 513, heard at 239.7.7.7:45454 and 239.7.7.7:45455",
         "stream 513, comp 1, media side 1, mfpp 30",
         "OnFreeChan - chan 0",
         "AudioHardware::ReadStatistics - stream 512",
         "OnFreeChan - RTP Stats: dropped pkt 0, jitter changed 0, seq err 0, missed cb 0, dsp rx full "
         "0, dsp tx full 0",
         "AudioHardware::ReadStatistics - stream 513",
         "OnFreeChan - RTP Stats: dropped pkt 0",
         "AudioHardware::Close - stream 513",
         "AudioHardware::Close - stream 512"});
    EXPECT_EQ(module.daemon.Measure()->threads, threads);
    EXPECT_EQ(Count("RelayThread::"), 0U);
    EXPECT_EQ(Count("MediaRelay"), 0U);
    EXPECT_EQ(Count("refused"), 0U);
    module.Stop();
}

TEST_F(TestHardwareMode, ConferenceLinksAreRestoredWhenALegIsMappedAnew) {
    StartModule();
    for (const UWORD chan : {0, 2, 4}) ASSERT_TRUE(Map(chan));
    ASSERT_TRUE(module.control.ConferenceAdd(2, 0));
    ASSERT_TRUE(module.control.ConferenceAdd(4, 0));
    ASSERT_TRUE(Map(2));
    ASSERT_TRUE(Map(0));
    ASSERT_TRUE(module.control.ConferenceRemove(2, 0));
    ASSERT_TRUE(module.control.Free(4));
    ASSERT_TRUE(module.control.Free(0));
    ExpectInOrder({"OnConferenceAdd - chan 2 to chan 0",
                   "AudioHardware::MixIn - stream 514 into stream 512",
                   "OnConferenceAdd - chan 4 to chan 0",
                   "AudioHardware::MixIn - stream 516 into stream 512",
                   "OnMap - chan 2",
                   "AudioHardware::MixOut - stream 514 out of stream 512",
                   "AudioHardware::Close - stream 514",
                   "AudioHardware::Open - stream 514",
                   "AudioHardware::Describe - stream 514",
                   "AudioHardware::MixIn - stream 514 into stream 512",
                   "OnMap - chan 0",
                   "AudioHardware::MixOut - stream",
                   "AudioHardware::MixOut - stream",
                   "AudioHardware::Close - stream 512",
                   "AudioHardware::Describe - stream 512",
                   "AudioHardware::MixIn - stream 514 into stream 512",
                   "AudioHardware::MixIn - stream 516 into stream 512",
                   "OnConferenceRemove - chan 2 from chan 0",
                   "AudioHardware::MixOut - stream 514 out of stream 512",
                   "OnFreeChan - chan 4",
                   "AudioHardware::MixOut - stream 516 out of stream 512",
                   "AudioHardware::Close - stream 516",
                   "OnFreeChan - chan 0",
                   "AudioHardware::Close - stream 512"});
    EXPECT_EQ(Count("refused"), 0U);
    module.Stop();
}

// As the traces of a Map request write it.
std::string Hex(std::span<const UBYTE> bytes) {
    std::string text;
    for (const UBYTE byte : bytes) {
        char digits[4];
        snprintf(digits, sizeof digits, " %02x", byte);
        text += digits;
    }
    return text;
}

TEST_F(TestHardwareMode, KeysGoToTheHardwareAndNowhereElse) {
    StartModule();
    const lab::SrtpKeys keys = lab::SrtpKeys::Random(lab::SrtpKeys::Sha1_80);
    ASSERT_TRUE(Map(0, 1, 20, &keys));
    ExpectInOrder({"OnMap - remote master salt:", "AudioHardware::Protect - stream 512, tag of 10 bytes",
                   "media side 1, mfpp 20, DTMF payload type 101, protected 1"});
    module.Stop();
    for (const std::string& key : {Hex(keys.localKey), Hex(keys.remoteKey)}) {
        EXPECT_EQ(Count(key), 1U) << "in the request's trace";
    }
}

TEST_F(TestHardwareMode, TheReportDevicesNodeIsMadeWhereItIsMissing) {
    module.Start();
    module.WaitRegistered();
    ASSERT_TRUE(WaitLine("DeviceTask::Start /dev/rtpif_dtmf2 - open failed "));
    struct stat status {};
    if (geteuid() == 0) {
        ASSERT_EQ(lstat(module.Path(HardwareModule::ReportDevice).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode, S_IFCHR | 0666U);
        EXPECT_EQ(status.st_rdev, makedev(101, 2));
    }
    EXPECT_TRUE(Map(0)) << "it works on without reports";
    module.Stop();
    ExpectInOrder({"DeviceTask::Stop /dev/rtpif_dtmf2", "DeviceTask::Stop /dev/rtpif_dtmf2 - signal",
                   "DeviceTask::Stop /dev/rtpif_dtmf2 - stopped"});
    EXPECT_EQ(Count("- closed"), 0U);
}

}  // namespace

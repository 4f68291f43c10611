// The hardware table, over a file system that a row describes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "app/Globals.h"
#include "app/HardwareDetection.h"
#include "platform/kernel/OperatingSystem.h"

namespace {

// Files by path; one without content opens and cannot be read.
using Files = std::map<std::string, std::optional<std::string>>;

class SimulatedFiles : public kernel::OperatingSystem {
 public:
    explicit SimulatedFiles(Files existing) : files(std::move(existing)) { kernel::ReplaceSystem(this); }
    ~SimulatedFiles() override { kernel::ReplaceSystem(nullptr); }

    int OpenDevice(const char* path, int /*flags*/) override {
        if (!files.contains(path)) {
            errno = ENOENT;
            return -1;
        }
        open[next] = path;
        return next++;
    }
    ssize_t ReadDevice(int fd, std::span<UBYTE> data) override {
        const std::optional<std::string>& content = files[open.at(fd)];
        if (!content) {
            errno = EIO;
            return -1;
        }
        const std::size_t count = std::min(content->size(), data.size());
        std::copy_n(content->begin(), count, data.begin());
        return static_cast<ssize_t>(count);
    }
    int CloseDescriptor(int fd) override {
        EXPECT_EQ(open.erase(fd), 1U);
        return 0;
    }

    Files files;
    std::map<int, std::string> open;
    int next = 100;
};

std::string Detect(const Files& files) {
    SimulatedFiles system(files);
    testing::internal::CaptureStdout();
    ProbeHardware();
    testing::internal::GetCapturedStdout();
    testing::internal::CaptureStdout();
    DetectCompressionHardware();
    std::string output = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(system.open.empty()) << "a file stayed open";
    return output;
}

class TestHardwareDetection : public testing::Test {
 protected:
    void TearDown() override {
        real_hardware = false;
        compressionQuantity = 0;
        relayQuantity = 0;
    }
};

TEST_F(TestHardwareDetection, EveryRowOfTheTable) {
    constexpr int Unset = 77;
    struct Row {
        Files files;
        const char* message;
        int compression;
        int relay;
    };
    const char* const model = "/Kestrelon/model";
    const char* const dsps = "/Kestrelon/dsps";
    const char* const rka = "/dev/xilinx0";
    const char* const rkb = "/dev/fpga_dbg";
    const Row rows[] = {
        {{{model, "HB7012"}}, "Ostrevin - found HB7012 hardware\n", 8, 0},
        {{{model, "HB7012 rev 4, and longer than 16"}}, "Ostrevin - found HB7012 hardware\n", 8, 0},
        {{{model, "HB7099"}}, "Ostrevin - found 70xx hardware\n", 68, 0},
        {{{model, "HB70"}, {dsps, "02"}}, "Ostrevin - found 70xx hardware\n", 34, 0},
        {{{model, "HB70"}, {dsps, "02\n"}}, "Ostrevin - found 70xx hardware\n", 68, 0},
        {{{model, "HB70"}, {dsps, "04"}}, "Ostrevin - found 70xx hardware\n", 68, 0},
        {{{model, "HB70"}, {dsps, std::nullopt}}, "Ostrevin - found 70xx hardware\n", 68, 0},
        {{{model, std::nullopt}, {rka, ""}}, "", Unset, Unset},
        {{{model, ""}}, "", Unset, Unset},
        {{{model, "HB6"}, {rka, ""}}, "", Unset, Unset},
        {{{model, "hb7012"}}, "", Unset, Unset},
        {{{rka, ""}, {rkb, ""}}, "Ostrevin - found RKA3 hardware\n", 8, 30},
        {{{rkb, ""}}, "Ostrevin - found RKB24 hardware\n", 64, 0},
        {{}, "Ostrevin - no compression board\n", 0, 38},
    };
    for (Row row : rows) {
        compressionQuantity = Unset;
        relayQuantity = Unset;
        row.files["/dev/button"] = "";
        EXPECT_EQ(Detect(row.files), row.message);
        EXPECT_TRUE(real_hardware);
        EXPECT_EQ(compressionQuantity, row.compression) << row.message;
        EXPECT_EQ(relayQuantity, row.relay) << row.message;
    }
}

TEST_F(TestHardwareDetection, SoftwareOffersOnlyCompressionChannels) {
    struct Row {
        int asked;
        int compression;
    };
    for (const Row& row : {Row{0, 500}, Row{40, 40}, Row{1, 1}}) {
        relayQuantity = row.asked;
        EXPECT_EQ(Detect({{"/Kestrelon/model", "HB7012"}}), "Ostrevin - found G.729 software\n");
        EXPECT_FALSE(real_hardware);
        EXPECT_EQ(compressionQuantity, row.compression);
        EXPECT_EQ(relayQuantity, 0);
    }
}

TEST_F(TestHardwareDetection, PathsFollowTheHardware) {
    // The paths are fixed at their first use, so each case is a process of its own.
    struct Row {
        bool real;
        const char* hosted;
        const char* root;
        const char* home;
    };
    const Row rows[] = {{true, "", "", "/Kestrelon"},
                        {true, "/srv/one", "", "/Kestrelon"},
                        {false, "", "/Kestrelon", "/Kestrelon"},
                        {false, "/srv/one", "/srv/one", "/srv/one"}};
    for (const Row& row : rows) {
        const auto report = [&row] {
            real_hardware = row.real;
            globalHostedRoot = row.hosted;
            const std::string root = GetRootPath();
            const std::string home = GetHomePath();
            globalHostedRoot = "/later";
            const bool kept = root == GetRootPath() && home == GetHomePath();
            _exit(kept && root == row.root && home == row.home ? 0 : 1);
        };
        EXPECT_EXIT(report(), testing::ExitedWithCode(0), "") << row.home;
    }
}

}  // namespace

#include "app/HardwareDetection.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "app/Globals.h"
#include "app/StartupPrint.h"
#include "platform/kernel/DeviceFile.h"

namespace {

constexpr int SoftwareChannels = 500;

std::shared_ptr<const kernel::DeviceFile> Open(const char* path) {
    return kernel::DeviceFile::Open(path, O_RDONLY | O_CLOEXEC);
}

bool Exists(const char* path) {
    return Open(path) != nullptr;
}

// What the first read of at most `Bytes` gives; empty when it fails, or without a file.
template <std::size_t Bytes>
std::string Read(const std::shared_ptr<const kernel::DeviceFile>& file) {
    std::array<UBYTE, Bytes> content{};
    const ssize_t count = file != nullptr ? file->Read(content) : 0;
    return {content.begin(), content.begin() + std::max<ssize_t>(count, 0)};
}

void Found(const char* message, int compression, int relay) {
    StartupPrint("%s", message);
    compressionQuantity = compression;
    relayQuantity = relay;
}

int ChannelsOf70xx() {
    return Read<15>(Open("/Kestrelon/dsps")) == "02" ? 34 : 68;
}

void DetectModel(std::string_view model) {
    if (model.starts_with("HB7012")) {
        Found("Ostrevin - found HB7012 hardware", 8, 0);
    } else if (model.starts_with("HB70")) {
        Found("Ostrevin - found 70xx hardware", ChannelsOf70xx(), 0);
    }
}

void DetectServerHardware() {
    if (const auto model = Open("/Kestrelon/model")) {
        DetectModel(Read<16>(model));
    } else if (Exists("/dev/xilinx0")) {
        Found("Ostrevin - found RKA3 hardware", 8, 30);
    } else if (Exists("/dev/fpga_dbg")) {
        Found("Ostrevin - found RKB24 hardware", 64, 0);
    } else {
        Found("Ostrevin - no compression board", 0, 38);
    }
}

}  // namespace

void ProbeHardware() {
    real_hardware = Exists("/dev/button");
    StartupPrint(real_hardware ? "Starting on Real Hardware..." : "Starting on simulated hardware...");
}

void DetectCompressionHardware() {
    if (real_hardware) {
        DetectServerHardware();
        return;
    }
    Found("Ostrevin - found G.729 software", relayQuantity == 0 ? SoftwareChannels : relayQuantity, 0);
}

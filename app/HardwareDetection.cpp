#include "app/HardwareDetection.h"

#include <fcntl.h>

#include <array>
#include <string_view>

#include "app/Globals.h"
#include "app/StartupPrint.h"
#include "platform/kernel/OperatingSystem.h"

namespace {

constexpr int SoftwareChannels = 500;

// A file or device that is open for reading while the object lives.
class HardwareFile {
 public:
    explicit HardwareFile(const char* path) : fd(kernel::System().OpenDevice(path, O_RDONLY | O_CLOEXEC)) {}
    ~HardwareFile() {
        if (IsOpen()) kernel::System().CloseDescriptor(fd);
    }
    HardwareFile(const HardwareFile&) = delete;
    HardwareFile& operator=(const HardwareFile&) = delete;

    bool IsOpen() const { return fd >= 0; }

    // What the first read of at most `bytes` gives; empty when it fails.
    std::string_view Read(std::size_t bytes) {
        if (!IsOpen()) return {};
        const ssize_t count = kernel::System().ReadDevice(fd, std::span(content).first(bytes));
        if (count <= 0) return {};
        return {reinterpret_cast<const char*>(content.data()), static_cast<std::size_t>(count)};
    }

 private:
    int fd;
    std::array<UBYTE, 16> content{};
};

bool Exists(const char* path) {
    return HardwareFile(path).IsOpen();
}

void Found(const char* message, int compression, int relay) {
    StartupPrint("%s", message);
    compressionQuantity = compression;
    relayQuantity = relay;
}

int ChannelsOf70xx() {
    return HardwareFile("/Kestrelon/dsps").Read(15) == "02" ? 34 : 68;
}

void DetectModel(std::string_view model) {
    if (model.starts_with("HB7012")) {
        Found("Ostrevin - found HB7012 hardware", 8, 0);
    } else if (model.starts_with("HB70")) {
        Found("Ostrevin - found 70xx hardware", ChannelsOf70xx(), 0);
    }
}

void DetectServerHardware() {
    HardwareFile model("/Kestrelon/model");
    if (model.IsOpen()) {
        DetectModel(model.Read(16));
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

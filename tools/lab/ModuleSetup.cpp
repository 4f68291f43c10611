#include "tools/lab/ModuleSetup.h"

#include <algorithm>
#include <filesystem>

#include "tools/lab/FreePorts.h"
#include "tools/lab/SockAddrText.h"

namespace lab {

namespace {
constexpr int PortsPerSlot = 4;  // RTP and RTCP of two legs
constexpr std::size_t WordsKept = 8;
constexpr int LookMs = 200;
constexpr ULONG Loopback = 0x7F000001;
}  // namespace

bool ModuleSetup::Start(const Options& options, std::string& error) {
    const std::string path = options.daemon.empty() ? DaemonProcess::Find() : options.daemon;
    if (path.empty()) {
        error = "There is no kestrel-compressor beside this program; name it with --daemon PATH.";
        return false;
    }
    root = std::make_unique<TemporaryFolder>();
    std::error_code failed;
    std::filesystem::create_directories(root->Path() + "/logs", failed);
    std::filesystem::create_directories(root->Path() + "/Kestrelon", failed);
    if (root->Path().empty() || failed) {
        error = "Cannot make a temporary folder for the daemon.";
        return false;
    }
    const std::optional<UWORD> ports =
        options.rtpBase != 0 ? options.rtpBase : FindFreePorts(PortsPerSlot * std::max(1, options.slots));
    if (!ports) {
        error =
            "There are not enough free UDP ports in a row for " + std::to_string(options.slots) + " slots.";
        return false;
    }
    rtpBase = *ports;
    if (!gatekeeper.Start(options.gatekeeper, error)) return false;
    std::vector<std::string> words{"-hosted=" + root->Path(),
                                   "-hostaddr=" + SockAddr(options.hostAddress, 0).AddressStr(),
                                   "-rtpbase",
                                   std::to_string(rtpBase),
                                   "-gk",
                                   ToText(gatekeeper.Address())};
    words.insert(words.end(), options.arguments.begin(), options.arguments.end());
    daemon = std::make_unique<DaemonProcess>();
    if (!daemon->Start(path, words, error)) return false;
    const std::optional<SockAddr> address = WaitRegistered(options.timeoutMs);
    if (address) return Use({*address, rtpBase, 0}, error);
    error = daemon->IsRunning()
                ? "The daemon did not register within " + std::to_string(options.timeoutMs / 1000) + " s."
                : "The daemon ended instead of registering.";
    error += LastWords();
    return false;
}

std::optional<SockAddr> ModuleSetup::WaitRegistered(int ms) const {
    std::optional<Gatekeeper::Module> module;
    for (int waited = 0; waited < ms && !module && daemon->IsRunning(); waited += LookMs)
        module = gatekeeper.WaitModule(LookMs);
    return module ? module->Control() : std::nullopt;
}

bool ModuleSetup::Use(const Running& running, std::string& error) {
    rtpBase = running.rtpBase;
    const ULONG far = running.control.Address();
    const bool local = IsLocalAddress(far);
    ownAddress = local ? Loopback : SourceTowards(far);
    if (ownAddress == 0) {
        error = "There is no route to " + running.control.AddressStr() + ".";
        return false;
    }
    // A leg speaks from the address that routing prefers towards its peer.
    mediaAddress = running.mediaAddress != 0 ? running.mediaAddress : local ? SourceTowards(ownAddress) : far;
    return control.Open(running.control, error);
}

std::string ModuleSetup::LastWords() const {
    const std::vector<std::string> lines = daemon->Lines();
    std::string text = lines.empty() ? " It said nothing." : " Its last words:";
    for (std::size_t i = lines.size() - std::min(lines.size(), WordsKept); i < lines.size(); ++i)
        text += "\n  " + lines[i];
    return text;
}

int ModuleSetup::Stop() {
    return daemon ? daemon->Stop() : 0;
}

}  // namespace lab

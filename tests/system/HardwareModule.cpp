#include "tests/system/HardwareModule.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/support/Namespaces.h"
#include "tools/lab/FreePorts.h"
#include "tools/lab/SockAddrText.h"

namespace {

constexpr int PatienceMs = 20000;
constexpr int Ports = 400;
constexpr const char* FaultLibrary = "/faults.so";

}  // namespace

HardwareModule::HardwareModule() {
    for (const char* folder : {"/dev", "/Kestrelon", "/logs", "/var/run"}) {
        std::filesystem::create_directories(Path(folder));
    }
    Write("/dev/button", "");
}

HardwareModule::~HardwareModule() {
    if (daemon.IsRunning()) daemon.Stop();
    if (reports >= 0) close(reports);
}

std::string HardwareModule::Refusal() {
    const lab::TemporaryFolder root;
    lab::DaemonProcess trial;
    std::string error;
    if (!trial.Start(KESTREL_OWN_ROOT, {root.Path(), "/usr/bin/true"}, error)) return error;
    const int status = trial.WaitExit(PatienceMs).value_or(-1);
    if (status == 0) return "";
    return trial.LineCount() != 0 ? trial.Lines().back() : "status " + std::to_string(status);
}

void HardwareModule::Write(const std::string& name, const std::string& content) const {
    std::ofstream(Path(name)) << content;
}

std::string HardwareModule::Read(const std::string& name) const {
    std::ostringstream content;
    content << std::ifstream(Path(name)).rdbuf();
    return content.str();
}

void HardwareModule::MakeReportDevice() {
    const std::string path = Path(ReportDevice);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    reports = open(path.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(reports, 0);
}

void HardwareModule::Report(const std::string& lines) {
    ASSERT_EQ(write(reports, lines.data(), lines.size()), static_cast<ssize_t>(lines.size()));
}

void HardwareModule::SetFault(const std::string& variable) {
    std::filesystem::copy_file(KESTREL_FAULT_LIBRARY, Path(FaultLibrary),
                               std::filesystem::copy_options::overwrite_existing);
    const char* options = std::getenv("ASAN_OPTIONS");
    Set("ASAN_OPTIONS=" + std::string(options != nullptr ? options : "") + ":verify_asan_link_order=0");
    Set(std::string("LD_PRELOAD=") + FaultLibrary);
    Set(variable);
}

void HardwareModule::Start(const std::vector<std::string>& arguments) {
    std::string error;
    ASSERT_TRUE(gatekeeper.Start({}, error)) << error;
    const auto ports = lab::FindFreePorts(Ports);
    ASSERT_TRUE(ports.has_value());
    rtpBase = *ports;
    std::vector<std::string> words{Path("")};
    words.insert(words.end(), environment.begin(), environment.end());
    words.insert(words.end(), {lab::DaemonProcess::Find(), "-hostaddr=127.0.0.2", "-rtpbase",
                               std::to_string(rtpBase), "-gk", lab::ToText(gatekeeper.Address())});
    words.insert(words.end(), arguments.begin(), arguments.end());
    ASSERT_TRUE(daemon.Start(KESTREL_OWN_ROOT, words, error)) << error;
}

void HardwareModule::WaitRegistered() {
    const auto module = gatekeeper.WaitModule(PatienceMs);
    ASSERT_TRUE(module.has_value()) << daemon.Lines().back();
    registered = *module;
    std::string error;
    ASSERT_TRUE(registered.Control().has_value());
    ASSERT_TRUE(control.Open(*registered.Control(), error)) << error;
    control.SetTimeout(PatienceMs);
}

void HardwareModule::Stop() {
    EXPECT_EQ(daemon.Stop(), 0) << daemon.Lines().back();
}

#include "common/rtpdev.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/kernel/OSConsole.h"
#include "platform/kernel/OperatingSystem.h"
#include "platform/media/RTPEndPoint.h"

namespace {

constexpr const char* DriverPath = "/dev/rtpif";
constexpr const char* ReportPath = "/dev/rtpif_dtmf";
constexpr const char* SecondReportPath = "/dev/rtpif_dtmf2";
constexpr unsigned DriverMajor = 101;
constexpr unsigned SecondReportMinor = 2;
constexpr mode_t EverybodysDevice = 0666;

constexpr const char* Dtmf = "dtmf";
constexpr const char* Debug = "debug";

bool Begins(const char* text, const char* keyword) {
    return std::strncmp(text, keyword, std::strlen(keyword)) == 0;
}

// What stands behind a keyword and its separator; empty when the line ends before.
const char* Behind(const char* line, const char* keyword) {
    const std::size_t length = std::strlen(keyword);
    return line[length] == '\0' ? line + length : line + length + 1;
}

// The first keyword in `text`, null without one. Whatever stands before it is not the driver's.
char* FindKeyword(char* text) {
    while (*text != '\0' && !Begins(text, Dtmf) && !Begins(text, Debug)) text++;
    return *text != '\0' ? text : nullptr;
}

// A number of 32 bits at most; larger ones become the largest, which is no stream's.
int Number(const char* text, int base) {
    const unsigned long value = std::strtoul(text, nullptr, base);
    return static_cast<int>(static_cast<ULONG>(std::min<unsigned long>(value, ~ULONG{0})));
}

void ReportUnknown(const char* text) {
    Console->Print("RTPDevice::Receive - unknown command (%s) from driver", text);
}

void MakeSecondReportNode() {
    kernel::OperatingSystem& system = kernel::System();
    struct stat status {};
    if (system.FileStatus(SecondReportPath, status) == 0 || errno != ENOENT) return;
    system.MakeDeviceNode(SecondReportPath, EverybodysDevice, DriverMajor, SecondReportMinor);
}

}  // namespace

RTPDevice::RTPDevice(bool dtmf) : DeviceTask(false) {
    DeviceTask::Start(dtmf ? ReportPath : DriverPath);
}

RTPDevice::RTPDevice(int minor) : DeviceTask(false) {
    constexpr const char* Paths[] = {DriverPath, ReportPath, SecondReportPath};
    if (minor < 0 || minor >= static_cast<int>(std::size(Paths))) return;
    const char* device = Paths[minor];
    if (device == SecondReportPath) MakeSecondReportNode();
    DeviceTask::Start(device);
}

void RTPDevice::SetDTMFCallback(DTMFCallback fn, void* obj) {
    dtmfCallback = fn;
    dtmfObject = obj;
}

void RTPDevice::Send(UBYTE* dp, int len) {
    const std::string text(reinterpret_cast<const char*>(dp), static_cast<std::size_t>(std::max(len, 0)));
    Console->Print("RTPDevice::Send - %s (len=%d)", text.c_str(), len);
    DeviceTask::Send(dp, len);
}

void RTPDevice::Receive(OSBuf* in) {
    std::string text(reinterpret_cast<const char*>(in->data), in->len);
    in->Free();
    char* at = text.data();
    while (*at != '\0') {
        char* line = FindKeyword(at);
        char* feed = line != nullptr ? std::strchr(line, '\n') : nullptr;
        if (feed == nullptr) {
            ReportUnknown(line != nullptr ? line : at);
            return;
        }
        *feed = '\0';
        OnLine(line);
        at = feed + 1;
    }
}

void RTPDevice::OnLine(char* line) {
    if (Begins(line, Dtmf)) {
        OnDtmf(line);
    } else {
        Console->Print("RTP: %s", Behind(line, Debug));
    }
}

void RTPDevice::OnDtmf(const char* line) {
    const char* channelText = Behind(line, Dtmf);
    const char* keyComma = std::strchr(channelText, ',');
    const char* durationComma = keyComma != nullptr ? std::strchr(keyComma + 1, ',') : nullptr;
    if (durationComma == nullptr) {
        ReportUnknown(line);
        return;
    }
    Console->Print("%s", line);
    const int channel = Number(channelText, 10);
    const char key = static_cast<char>(Number(keyComma + 1, 16));
    const int duration = Number(durationComma + 1, 10);
    if (dtmfCallback != nullptr) {
        dtmfCallback(dtmfObject, channel, key, duration);
    } else {
        RTPEndPointOnDTMFDigit(channel, key, duration);
    }
}

// DTMF keys in both directions.
#include "tools/lab/demo/DigitsStep.h"

#include <algorithm>
#include <cmath>

#include "tools/lab/demo/Text.h"

namespace lab {

namespace {

constexpr char Keys[] = "0123456789*#ABCD";
constexpr size_t KeyCount = sizeof Keys - 1;
constexpr int ShortestKeyMs = 80;
constexpr int LongestKeyMs = 140;
constexpr int MostDifferenceMs = 20;  // the packets of an event are that far apart
constexpr double PatienceSeconds = 6;
constexpr double EchoSeconds = 0.6;  // in which a key that is heard twice would come
constexpr char ServerKey = '7';
constexpr int ServerKeyMs = 200;
constexpr char BlockedKey = '5';
constexpr int BlockedKeyMs = 100;

using Digits = std::vector<RtpReceiver::Digit>;

int KeyMs(size_t index) {
    return ShortestKeyMs + 20 * static_cast<int>(index % 4);
}

std::string KeysOf(const Digits& digits) {
    std::string keys;
    for (const auto& digit : digits) keys += digit.key;
    return keys.empty() ? "none" : keys;
}

// Every key once, in order, and with its duration.
void CheckAll(const std::string& name, const Digits& heard, ReportSection& section) {
    section.Add({name, std::string("each once, in order: ") + Keys, KeysOf(heard), KeysOf(heard) == Keys});
    int worst = 0;
    for (size_t i = 0; i < std::min(heard.size(), KeyCount); ++i)
        worst = std::max(worst, std::abs(heard[i].ms - KeyMs(i)));
    section.Add({name + ": durations",
                 Format("%d to %d ms, each within %d ms", ShortestKeyMs, LongestKeyMs, MostDifferenceMs),
                 heard.empty() ? "none" : Format("at most %d ms off", worst),
                 !heard.empty() && worst <= MostDifferenceMs});
}

std::vector<std::string> Row(const std::string& name, const Digits& digits) {
    std::vector<std::string> row{name};
    for (const auto& digit : digits) row.push_back(Format("%d", digit.ms));
    return row;
}

}  // namespace

std::string DigitsStep::Intro() const {
    return "All sixteen keys are pressed at both ends at once as telephone events (RFC 4733). Each end is to "
           "hear every key of the other exactly once; those of the external leg are also reported to the "
           "call server.";
}

bool DigitsStep::Run(DemoRun& run, ReportSection& section) {
    internal = run.AddLeg({InternalChannel, "internal"}, section);
    external = run.AddLeg({ExternalChannel, "external"}, section);
    if (internal == nullptr || external == nullptr) return false;
    return PressAll(run, section) && FromCallServer(run, section) && Blocked(run, section);
}

bool DigitsStep::PressAll(DemoRun& run, ReportSection& section) {
    Digits pressed;
    for (size_t i = 0; i < KeyCount; ++i) {
        pressed.push_back({Keys[i], KeyMs(i)});
        internal->Peer().SendDigit(Keys[i], KeyMs(i));
        external->Peer().SendDigit(Keys[i], KeyMs(i));
    }
    run.WaitUntil(PatienceSeconds, "sixteen keys at both ends", [&] {
        return internal->Peer().Digits().size() >= KeyCount && external->Peer().Digits().size() >= KeyCount;
    });
    if (!run.Wait(EchoSeconds, "echoes")) return false;
    const Digits inward = internal->Peer().Digits();
    const Digits outward = external->Peer().Digits();
    const Digits reports = TakeReports(run, ExternalChannel);
    CheckAll("keys from external heard at internal", inward, section);
    CheckAll("keys from internal heard at external", outward, section);
    CheckAll(Format("keys reported to the call server for channel %u", ExternalChannel), reports, section);

    std::vector<std::string> head{"key"};
    for (const auto& digit : pressed) head.emplace_back(1, digit.key);
    section.AddTable("Durations in milliseconds",
                     {head, Row("pressed", pressed), Row("heard at internal", inward),
                      Row("heard at external", outward), Row("reported", reports)});
    return true;
}

// Reports of another channel count as well, as keys that were not pressed.
Digits DigitsStep::TakeReports(DemoRun& run, UWORD chan) {
    Digits reports;
    while (const auto report = run.Module().Control().WaitDigit(0)) {
        const char key = report->chan == chan ? static_cast<char>(report->port & 0xFF) : '?';
        reports.push_back({key, static_cast<int>(report->addr)});
    }
    return reports;
}

bool DigitsStep::FromCallServer(DemoRun& run, ReportSection& section) {
    const size_t before = external->Peer().Digits().size();
    run.Module().Control().SendDigit(InternalChannel, ServerKey, ServerKeyMs);
    if (!run.Wait(ServerKeyMs / 1000.0 + EchoSeconds, "a key from the call server")) return false;
    Digits heard = external->Peer().Digits();
    heard.erase(heard.begin(), heard.begin() + static_cast<std::ptrdiff_t>(before));
    const bool ok = heard.size() == 1 && heard[0].key == ServerKey &&
                    std::abs(heard[0].ms - ServerKeyMs) <= MostDifferenceMs;
    section.Add({"key that the call server has played",
                 Format("%c at external, once, %d ms", ServerKey, ServerKeyMs),
                 heard.empty() ? "none" : Format("%s, %d ms", KeysOf(heard).c_str(), heard[0].ms), ok});
    return true;
}

bool DigitsStep::Blocked(DemoRun& run, ReportSection& section) {
    run.Map(*external, ControlDatagram::FlagBlockDtmf);
    const size_t before = external->Peer().Digits().size();
    internal->Peer().SendDigit(BlockedKey, BlockedKeyMs);
    const bool logged = run.WaitUntil(PatienceSeconds, "a blocked key", [&] {
        return run.Module().Daemon().CountLines("blocked DTMF event...") > 0;
    });
    if (!run.Wait(EchoSeconds, "a blocked key")) return false;
    const size_t heard = external->Peer().Digits().size() - before;
    section.Add({"key from internal while external blocks keys", "not heard, and named in the log",
                 Format("heard %zu times, %s", heard, logged ? "in the log" : "not in the log"),
                 heard == 0 && logged});
    return true;
}

}  // namespace lab

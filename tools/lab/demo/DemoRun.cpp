// What the steps of one demonstration share.
#include "tools/lab/demo/DemoRun.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <thread>

#include "tools/lab/Interrupt.h"
#include "tools/lab/WavFile.h"
#include "tools/lab/demo/Text.h"

namespace lab {

DemoRun::DemoRun(SpeechSource speech, std::string folder, std::string daemon, Progress& progress)
    : speech(std::move(speech)),
      folder(std::move(folder)),
      daemonPath(std::move(daemon)),
      progress(progress),
      delays("added delay", "ms") {}

double DemoRun::Seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

DemoLeg* DemoRun::AddLeg(const DemoLeg::Setup& setup, ReportSection& section, const SockAddr* via) {
    DemoLeg& leg = legs.emplace_back(setup);
    std::string error;
    const bool open = leg.Peer().Open(error);
    if (open) leg.Peer().ConnectTo(module.Leg(setup.chan));
    if (open && Map(leg, 0, via)) return &leg;
    section.Add({Format("channel %u is mapped", setup.chan), "acknowledged",
                 open ? "no acknowledgement" : error, false});
    legs.pop_back();
    return nullptr;
}

bool DemoRun::Map(DemoLeg& leg, UBYTE flags, const SockAddr* via) {
    const DemoLeg::Setup& what = leg.Settings();
    return module.Control().Map({.chan = what.chan,
                                 .comp = static_cast<UBYTE>(what.codec),
                                 .remote = via != nullptr ? *via : leg.Peer().Local(),
                                 .mfpp = FramesPerPacket(what.codec, what.packetMs),
                                 .flags = flags,
                                 .keys = what.keys ? &*what.keys : nullptr});
}

DemoLeg& DemoRun::Leg(UWORD chan) {
    const auto found =
        std::find_if(legs.begin(), legs.end(), [chan](const DemoLeg& leg) { return leg.Chan() == chan; });
    if (found == legs.end()) std::abort();
    return *found;
}

bool DemoRun::Wait(double seconds, const std::string& doing) {
    const double end = Seconds() + seconds;
    while (!Interrupted()) {
        const double now = Seconds();
        if (now >= nextSample) {
            for (DemoLeg& leg : legs) leg.Sample(now);
            nextSample = now + SampleSeconds;
            progress.Update(doing, now);
        }
        if (now >= end) return true;
        std::this_thread::sleep_for(std::chrono::duration<double>(std::min(SliceSeconds, end - now)));
    }
    return false;
}

std::vector<std::int16_t> DemoRun::Excerpt(double from, double seconds) const {
    const std::vector<std::int16_t>& all = speech.Samples();
    std::vector<std::int16_t> excerpt(static_cast<size_t>(seconds * SampleRate));
    const auto first = static_cast<size_t>(from * SampleRate);
    for (size_t i = 0; i < excerpt.size(); ++i) excerpt[i] = all[(first + i) % all.size()];
    return excerpt;
}

void DemoRun::Keep(ReportSection& section, const std::string& title, const std::string& file,
                   std::span<const std::int16_t> samples) const {
    std::string error;
    const std::string path = folder + "/" + file;
    if (!WriteWav(path, samples, error)) {
        section.Add({"the recording is written", path, error, false});
        return;
    }
    std::ifstream written(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(written), {}};
    section.AddRecording(title, file, {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

void DemoRun::AddDelays(size_t direction, std::string name, const DelayStatistics& statistics) {
    std::vector<double> milliseconds;
    for (const std::int32_t us : statistics.Values()) milliseconds.push_back(us / 1000.0);
    delays.Add(direction, std::move(name), milliseconds);
}

}  // namespace lab

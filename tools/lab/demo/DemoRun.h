// What the steps of one demonstration share: the module under test, the legs, the speech, the clock, and the
// folder of results.
#pragma once

#include <chrono>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "tools/lab/ModuleSetup.h"
#include "tools/lab/demo/DemoLeg.h"
#include "tools/lab/demo/Histogram.h"
#include "tools/lab/demo/Progress.h"
#include "tools/lab/demo/ReportSection.h"

namespace lab {

// One thread.
class DemoRun {
 public:
    // Recordings go into `folder`, which exists.
    DemoRun(SpeechSource speech, std::string folder, std::string daemon, Progress& progress);

    ModuleSetup& Module() { return module; }
    // Of the daemon to be started; empty: the one beside this program.
    const std::string& DaemonPath() const { return daemonPath; }
    double Seconds() const;

    // Opens a far end and maps its channel to it; `via`: to this address instead, which passes everything on.
    // Null when either fails; the section then has a check that says so.
    DemoLeg* AddLeg(const DemoLeg::Setup& setup, ReportSection& section, const SockAddr* via = nullptr);
    // Maps the leg's channel once more.
    bool Map(DemoLeg& leg, UBYTE flags = 0, const SockAddr* via = nullptr);
    // A leg that a step has added.
    DemoLeg& Leg(UWORD chan);
    std::deque<DemoLeg>& Legs() { return legs; }

    // Lets time pass while `doing` is shown; false when the user wants to end.
    bool Wait(double seconds, const std::string& doing);
    // The same until `condition()` holds; whether it did.
    template <class Condition>
    bool WaitUntil(double seconds, const std::string& doing, Condition condition) {
        const double end = Seconds() + seconds;
        while (!condition()) {
            if (Seconds() >= end || !Wait(SliceSeconds, doing)) return condition();
        }
        return true;
    }

    // `seconds` of the speech from its second `from` on, going round at its end.
    std::vector<std::int16_t> Excerpt(double from, double seconds) const;
    // Writes a sound file into the folder and shows it in the section.
    void Keep(ReportSection& section, const std::string& title, const std::string& file,
              std::span<const std::int16_t> samples) const;

    // Of the first or the second direction, for the picture.
    void AddDelays(size_t direction, std::string name, const DelayStatistics& delays);
    const Histogram& Delays() const { return delays; }

 private:
    static constexpr double SliceSeconds = 0.05;
    static constexpr double SampleSeconds = 0.25;

    const SpeechSource speech;
    const std::string folder;
    const std::string daemonPath;
    Progress& progress;
    const std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    double nextSample = 0;
    ModuleSetup module;
    std::deque<DemoLeg> legs;
    Histogram delays;
};

}  // namespace lab

// The demonstration.
#include "tools/lab/demo/Demo.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "tools/lab/Interrupt.h"
#include "tools/lab/demo/ConferenceStep.h"
#include "tools/lab/demo/DigitsStep.h"
#include "tools/lab/demo/DiscoveryStep.h"
#include "tools/lab/demo/FreeingStep.h"
#include "tools/lab/demo/HoldMusicStep.h"
#include "tools/lab/demo/Machine.h"
#include "tools/lab/demo/ModuleLog.h"
#include "tools/lab/demo/ShutdownStep.h"
#include "tools/lab/demo/SrtpCallStep.h"
#include "tools/lab/demo/Text.h"
#include "tools/lab/demo/TranscodedCallStep.h"

namespace lab {

namespace {

constexpr size_t WidestColumn = 60;

}  // namespace

Demo::Demo(const DemoOptions& options) : options(options) {
    auto srtp = std::make_unique<SrtpCallStep>();
    auto freeing = std::make_unique<FreeingStep>(*srtp);
    steps.push_back(std::make_unique<DiscoveryStep>());
    steps.push_back(std::make_unique<TranscodedCallStep>());
    steps.push_back(std::move(srtp));
    steps.push_back(std::make_unique<DigitsStep>());
    steps.push_back(std::make_unique<ConferenceStep>());
    steps.push_back(std::make_unique<HoldMusicStep>());
    steps.push_back(std::move(freeing));
    steps.push_back(std::make_unique<ShutdownStep>());
}

int Demo::Run() {
    std::string error;
    std::optional<SpeechSource> speech = SpeechSource::Open(options.input, error);
    std::error_code failed;
    std::filesystem::create_directories(options.output, failed);
    if (failed) error = "Cannot make the folder " + options.output + ": " + failed.message();
    if (!speech || failed) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 2;
    }
    CatchInterrupts();
    Progress progress(static_cast<int>(steps.size()));
    DemoRun run(std::move(*speech), options.output, options.daemon, progress);
    RunSteps(run, progress);
    Describe(run);
    if (Interrupted()) {
        std::printf("\nInterrupted; the report covers what was done until then.\n");
    } else {
        PrintTable();
    }
    const bool written = Write("report.html", report.Html());
    const std::string path = std::filesystem::absolute(options.output).lexically_normal().string();
    if (written) std::printf("Report: %s/report.html\n", path.c_str());
    return written && report.Failures() == 0 && !Interrupted() ? 0 : 1;
}

void Demo::RunSteps(DemoRun& run, Progress& progress) {
    bool going = true;
    for (size_t i = 0; i < steps.size(); ++i) {
        ReportSection& section = report.AddSection(steps[i]->Title(), steps[i]->Intro());
        const double begin = run.Seconds();
        progress.BeginStep(static_cast<int>(i) + 1, section.Title(), begin);
        if (going) {
            going = steps[i]->Run(run, section);
            if (Interrupted()) NoteMissing(section);
        } else {
            NoteMissing(section);
        }
        rates.AddStep(section.Title(), begin, run.Seconds());
        progress.EndStep(section.Checks().size(), section.Failures(), run.Seconds());
        if (Interrupted()) return;
    }
}

void Demo::NoteMissing(ReportSection& section) {
    section.Add({"step", "is carried out in full",
                 Interrupted() ? "the run was interrupted" : "a step before it failed", false});
}

void Demo::Describe(DemoRun& run) {
    std::uint64_t packets = 0;
    std::uint64_t lost = 0;
    for (DemoLeg& leg : run.Legs()) {
        leg.Sample(run.Seconds());
        rates.AddLeg(leg.Label(), leg.Samples());
        packets += leg.Peer().PacketsSent() + leg.Peer().Counts().packets;
        lost += leg.Peer().Counts().missing;
    }
    report.AddTile(Format("%zu", report.CheckCount()), "checks");
    report.AddTile(Format("%.1f s", run.Seconds()), "from start to end");
    report.AddTile(std::to_string(packets), "RTP packets in and out");
    report.AddTile(std::to_string(lost), "packets lost");
    report.AddTile(Format("%.1f ms", run.Delays().Percentile(0.5)), "median added delay");
    report.AddOverview("Packets per second", rates.Svg(),
                       "A row for each leg. The numbers are the highest rate of each direction.");
    report.AddOverview(
        "Delay that transcoding adds", run.Delays().Svg(),
        "G.711 to G.729 and back: from the moment at which all audio of a packet had been sent to the module "
        "to the moment at which the packet arrived from it. The coder's look-ahead is not in it.");
    const ModuleLog log(run.Module().OwnsDaemon() ? run.Module().Daemon().Lines()
                                                  : std::vector<std::string>{});
    for (const auto& [name, value] : Machine::Facts()) report.AddFact(name, value);
    report.AddFact("Module", log.Version());
    report.AddFact("Real-time scheduling", log.RealTimeWords());
    report.AddFact("Speech", options.input.empty() ? SpeechSource::DefaultFile : options.input);
    report.SetLog(log.Text());
    Write("compressor.log", log.Text());
}

void Demo::PrintTable() const {
    size_t name = 0;
    size_t expected = 0;
    for (const ReportSection& section : report.Sections()) {
        for (const Check& check : section.Checks()) {
            name = std::max(name, check.name.size());
            expected = std::max(expected, std::min(check.expected.size(), WidestColumn));
        }
    }
    const auto print = [&](const char* verdict, const Check& check) {
        std::printf("%-6s  %-*s  %-*s  %s\n", verdict, static_cast<int>(name), check.name.c_str(),
                    static_cast<int>(expected), check.expected.c_str(), check.seen.c_str());
    };
    std::printf("\n");
    print("", {"check", "expected", "seen", true});
    for (const ReportSection& section : report.Sections()) {
        std::printf("%s\n", section.Title().c_str());
        for (const Check& check : section.Checks()) print(check.ok ? "  ok" : "  BAD", check);
    }
    if (report.Failures() == 0) {
        std::printf("\nAll %zu checks passed.\n", report.CheckCount());
    } else {
        std::printf("\n%zu of %zu checks FAILED.\n", report.Failures(), report.CheckCount());
    }
}

bool Demo::Write(const std::string& name, const std::string& text) const {
    const std::string path = options.output + "/" + name;
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    if (file) return true;
    std::fprintf(stderr, "Cannot write %s\n", path.c_str());
    return false;
}

}  // namespace lab

// Ends the module by SIGTERM.
#include "tools/lab/demo/ShutdownStep.h"

#include <array>

#include "tools/lab/demo/Text.h"

namespace lab {

namespace {

constexpr int PatienceMs = 5000;
constexpr double MostSeconds = 3;
// In this order, other lines between them.
constexpr std::array Words{"Main process cleaning up...", "Discovery Closing...",
                           "Compressor::Shutdown - complete.", "Discovery::Shutdown - complete.",
                           "Bye bye...."};

}  // namespace

std::string ShutdownStep::Intro() const {
    return "The module is told to end by SIGTERM. It is to withdraw its registration, take down its threads "
           "in order and end with status 0.";
}

bool ShutdownStep::Run(DemoRun& run, ReportSection& section) {
    DaemonProcess& daemon = run.Module().Daemon();
    size_t from = daemon.LineCount();
    run.Wait(0, "SIGTERM");
    const double before = run.Seconds();
    const int status = run.Module().Stop();
    const double took = run.Seconds() - before;
    section.Add({"exit status", "0", Format("%d", status), status == 0});
    section.Add({"time to the end", Format("at most %.0f s", MostSeconds), Format("%.2f s", took),
                 took <= MostSeconds});
    const bool withdrawn = run.Module().Registrar().WaitFor(Gatekeeper::Event::Unregistration, 1, PatienceMs);
    section.Add({"gatekeeper gets the withdrawal", "1", withdrawn ? "1" : "0", withdrawn});
    std::string order;
    std::string seen;
    for (const char* words : Words) {
        order += std::string(order.empty() ? "" : ", ") + words;
        if (seen.empty() && !daemon.WaitLine(words, 0, from)) seen = std::string("not found: ") + words;
    }
    section.Add(
        {"log of the shutdown, in this order", order, seen.empty() ? "all found" : seen, seen.empty()});
    const std::vector<std::string> lines = daemon.Lines();
    const bool last = !lines.empty() && lines.back().find(Words.back()) != std::string::npos;
    section.Add({"last line of the log", Words.back(), lines.empty() ? "nothing" : lines.back(), last});
    return true;
}

}  // namespace lab

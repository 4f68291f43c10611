// Tells the user at the terminal what the demonstration is doing.
#include "tools/lab/demo/Progress.h"

#include <unistd.h>

#include <cstdio>

#include "tools/lab/demo/Text.h"

namespace lab {

namespace {

constexpr const char* ClearLine = "\r\033[K";

}  // namespace

Progress::Progress(int stepCount) : terminal(isatty(STDOUT_FILENO) != 0), stepCount(stepCount) {}

void Progress::Show(const std::string& text) const {
    std::printf("%s%s", ClearLine, text.c_str());
    std::fflush(stdout);
}

void Progress::BeginStep(int newNumber, const std::string& newTitle, double seconds) {
    number = newNumber;
    title = newTitle;
    Update("", seconds);
}

void Progress::Update(const std::string& doing, double seconds) {
    if (!terminal) return;
    Show(Format("%5.1f s  [%d/%d] %s%s%s", seconds, number, stepCount, title.c_str(),
                doing.empty() ? "" : ": ", doing.c_str()));
}

void Progress::EndStep(size_t checks, size_t failures, double seconds) {
    const std::string verdict =
        failures ? Format("%zu of %zu checks FAILED", failures, checks) : Format("%zu checks passed", checks);
    const std::string line =
        Format("%5.1f s  [%d/%d] %-22s %s\n", seconds, number, stepCount, title.c_str(), verdict.c_str());
    if (terminal) {
        Show(line);
    } else {
        std::fputs(line.c_str(), stdout);
        std::fflush(stdout);
    }
}

}  // namespace lab

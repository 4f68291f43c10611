#include "tools/lab/ControlProbe.h"

#include <chrono>

#include "tools/lab/LoadThread.h"

namespace lab {

namespace {
constexpr auto Period = std::chrono::milliseconds(100);
constexpr double UsPerMs = 1000;
}  // namespace

ControlProbe::ControlProbe(LoadTarget& asked) : target(asked), thread(&ControlProbe::Run, this) {}

ControlAnswers ControlProbe::Stop() {
    stopping = true;
    if (thread.joinable()) thread.join();
    return {times.Summarise(), missing};
}

void ControlProbe::Run() {
    BecomeLoadThread("load probe");
    for (auto due = std::chrono::steady_clock::now(); !stopping; due += Period) {
        std::this_thread::sleep_until(due);
        due = std::max(due, std::chrono::steady_clock::now());
        const std::optional<double> ms = target.AskMs();
        if (ms) times.Add(static_cast<std::int64_t>(*ms * UsPerMs));
        missing += ms ? 0 : 1;
    }
}

}  // namespace lab

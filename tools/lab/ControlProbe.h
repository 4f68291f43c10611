// Asks the target of a load run something harmless ten times a second while audio flows, and notes how long
// the answers take.
#pragma once

#include <atomic>
#include <thread>

#include "tools/lab/DelayStatistics.h"
#include "tools/lab/LoadTarget.h"

namespace lab {

struct ControlAnswers {
    DelaySummary time;
    std::size_t missing = 0;  // requests that had no answer in time
};

// Works on a thread of its own from the beginning to Stop; meanwhile nobody else may ask the target.
class ControlProbe {
 public:
    explicit ControlProbe(LoadTarget& target);
    ~ControlProbe() { Stop(); }
    ControlProbe(const ControlProbe&) = delete;
    ControlProbe& operator=(const ControlProbe&) = delete;

    ControlAnswers Stop();

 private:
    void Run();

    LoadTarget& target;
    DelayStatistics times;
    std::size_t missing = 0;
    std::atomic<bool> stopping{false};
    std::thread thread;
};

}  // namespace lab

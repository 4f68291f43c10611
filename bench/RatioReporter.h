// Shows what the others do, and at the end how many times as fast ours are, by processor time, which a busy
// machine stretches less than the clock's. A benchmark's name is "<work>/<whose>".
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

class RatioReporter : public benchmark::ConsoleReporter {
 public:
    explicit RatioReporter(std::vector<std::string> peers) : peers(std::move(peers)) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const bool isMedian = run.aggregate_name == "median" || run.repetitions <= 1;
            if (isMedian && !run.error_occurred) times[run.run_name.function_name] = run.GetAdjustedCPUTime();
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void Finalize() override {
        for (const auto& [name, time] : times) {
            const std::size_t slash = name.rfind('/');
            if (slash == std::string::npos || IsPeer(name.substr(slash + 1))) continue;
            for (const std::string& peer : peers) {
                const auto other = times.find(name.substr(0, slash + 1) + peer);
                if (other == times.end()) continue;
                std::fprintf(stdout, "%-34s %5.2f times as fast as %s\n", name.c_str(), other->second / time,
                             peer.c_str());
            }
        }
    }

 private:
    bool IsPeer(const std::string& whose) const {
        return std::find(peers.begin(), peers.end(), whose) != peers.end();
    }

    const std::vector<std::string> peers;
    std::map<std::string, double> times;
};

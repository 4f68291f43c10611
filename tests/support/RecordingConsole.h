// A console that keeps its lines, for the time of a test.
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

#include "platform/kernel/OSConsole.h"

class RecordingConsole final : public OSConsole {
 public:
    RecordingConsole() : previous(Console) { Console = this; }
    ~RecordingConsole() override { Console = previous; }

    void vPrint(const char* str, va_list vargs) override {
        char line[1024];
        std::vsnprintf(line, sizeof line, str, vargs);
        const std::lock_guard<std::mutex> guard(lock);
        kept.emplace_back(line);
        printed.notify_all();
    }

    std::vector<std::string> Lines() const {
        const std::lock_guard<std::mutex> guard(lock);
        return kept;
    }
    int Count(const std::string& part) const {
        int count = 0;
        for (const std::string& line : Lines()) count += line.find(part) != std::string::npos ? 1 : 0;
        return count;
    }
    // Waits until `count` lines hold `part`; false when they do not within ten seconds.
    bool WaitFor(const std::string& part, int count = 1) const {
        std::unique_lock<std::mutex> guard(lock);
        return printed.wait_for(guard, std::chrono::seconds(10), [&] {
            return std::count_if(kept.begin(), kept.end(), [&](const std::string& line) {
                       return line.find(part) != std::string::npos;
                   }) >= count;
        });
    }
    void Clear() {
        const std::lock_guard<std::mutex> guard(lock);
        kept.clear();
    }

 private:
    OSConsole* const previous;
    mutable std::mutex lock;
    mutable std::condition_variable printed;
    std::vector<std::string> kept;
};

// A console that keeps its lines, for the time of a test.
#pragma once

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
    void Clear() {
        const std::lock_guard<std::mutex> guard(lock);
        kept.clear();
    }

 private:
    OSConsole* const previous;
    mutable std::mutex lock;
    std::vector<std::string> kept;
};

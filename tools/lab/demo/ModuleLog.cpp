// The console log of the module as the report shows it.
#include "tools/lab/demo/ModuleLog.h"

namespace lab {

namespace {

bool AnnouncesKey(const std::string& line) {
    return line.find("OnMap - local master") != std::string::npos ||
           line.find("OnMap - remote master") != std::string::npos;
}

}  // namespace

ModuleLog::ModuleLog(std::vector<std::string> written) : lines(std::move(written)) {
    bool key = false;
    for (std::string& line : lines) {
        const bool announces = AnnouncesKey(line);
        if (key && !announces) line = " (key bytes not shown)";
        key = announces;
    }
}

std::string ModuleLog::Text() const {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

std::string ModuleLog::Version() const {
    for (const std::string& line : lines)
        if (line.starts_with("SWMODULE: ")) return line;
    return "unknown";
}

std::string ModuleLog::RealTimeWords() const {
    for (const std::string& line : lines) {
        const size_t at = line.find("sched_setscheduler returned");
        if (at != std::string::npos) return "not granted: " + line.substr(at);
    }
    return "granted";
}

}  // namespace lab

// The console log of the module as the report shows it.
#pragma once

#include <string>
#include <vector>

namespace lab {

class ModuleLog {
 public:
    // Lines as the module wrote them; those that hold key bytes are blotted out.
    explicit ModuleLog(std::vector<std::string> lines);

    // All lines, each with its line end.
    std::string Text() const;
    // The version that the module names at its start; "unknown" without one.
    std::string Version() const;
    // Whether its relay threads got real-time priority, in words.
    std::string RealTimeWords() const;

 private:
    std::vector<std::string> lines;
};

}  // namespace lab

// One step of a demonstration in the report: what was done, pictures, recordings, and the checks with what
// was expected and seen.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "tools/lab/demo/Check.h"

namespace lab {

class ReportSection {
 public:
    // `intro` is one or two plain sentences.
    ReportSection(std::string title, std::string intro);

    void Add(Check check) { checks.push_back(std::move(check)); }
    // A drawing (inline SVG) with its caption in plain text.
    void AddFigure(const std::string& svg, const std::string& caption);
    // A sound file of the report's folder; its bytes travel in the page unless they are too many for that.
    void AddRecording(const std::string& title, const std::string& file, std::span<const std::uint8_t> bytes);
    // A table whose first row and first column are headings; cells are plain text.
    void AddTable(const std::string& caption, const std::vector<std::vector<std::string>>& rows);

    const std::vector<Check>& Checks() const { return checks; }
    const std::string& Title() const { return title; }
    size_t Failures() const;
    // The section as HTML; `number` stands before its title.
    std::string Html(size_t number) const;

 private:
    std::string ChecksHtml() const;

    const std::string title;
    const std::string intro;
    std::vector<Check> checks;
    std::string figures;
    std::string recordings;
};

}  // namespace lab

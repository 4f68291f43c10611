// The report of a demonstration: one HTML page that needs nothing but itself, readable in light and dark.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "tools/lab/demo/ReportSection.h"

namespace lab {

class Report {
 public:
    // The sections stand in the order in which they were added; the reference stays valid.
    ReportSection& AddSection(std::string title, std::string intro);
    // A large figure at the top of the page, as "38" and "checks".
    void AddTile(std::string figure, std::string meaning) {
        tiles.push_back({std::move(figure), std::move(meaning)});
    }
    // A line of the table of circumstances: versions, machine, command.
    void AddFact(std::string name, std::string value) {
        facts.push_back({std::move(name), std::move(value)});
    }
    // An overview picture above the sections.
    void AddOverview(std::string heading, std::string svg, std::string caption);
    void SetLog(std::string lines) { log = std::move(lines); }

    const std::deque<ReportSection>& Sections() const { return sections; }
    size_t CheckCount() const;
    size_t Failures() const;
    std::string Html() const;

 private:
    struct Pair {
        std::string first;
        std::string second;
    };

    std::string HeadHtml() const;
    std::string FactsHtml() const;

    std::deque<ReportSection> sections;
    std::vector<Pair> tiles;
    std::vector<Pair> facts;
    std::string overview;
    std::string log;
};

}  // namespace lab

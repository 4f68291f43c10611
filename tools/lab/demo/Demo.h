// The demonstration: everything that the module does, in one run on one machine, checked step by step.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tools/lab/demo/DemoStep.h"
#include "tools/lab/demo/Report.h"

namespace lab {

struct DemoOptions {
    std::string input;   // a sound file; empty: SpeechSource::DefaultFile
    std::string output;  // folder of results, made if it is not there
    std::string daemon;  // empty: the one beside this program
};

class Demo {
 public:
    explicit Demo(const DemoOptions& options);

    // Runs all steps, prints the table of checks and writes the report. 0 when every check was good, 1 when
    // one was not or the user ended the run, 2 when it could not begin.
    int Run();

 private:
    void RunSteps(DemoRun& run, Progress& progress);
    // The step was not carried out, or not to its end.
    static void NoteMissing(ReportSection& section);
    void Describe(DemoRun& run);
    void PrintTable() const;
    bool Write(const std::string& name, const std::string& text) const;

    const DemoOptions options;
    std::vector<std::unique_ptr<DemoStep>> steps;
    Report report;
    PacketRatePlot rates;
};

}  // namespace lab

// One step of the demonstration. A new one is added to the list in Demo.cpp.
#pragma once

#include <string>

#include "tools/lab/demo/DemoRun.h"

namespace lab {

class DemoStep {
 public:
    virtual ~DemoStep() = default;
    virtual std::string Title() const = 0;
    // One or two sentences for the reader of the report.
    virtual std::string Intro() const = 0;
    // Does it, and adds its checks, pictures and recordings to `section`. False when later steps have nothing
    // to stand on, or the user wants to end.
    virtual bool Run(DemoRun& run, ReportSection& section) = 0;
};

}  // namespace lab

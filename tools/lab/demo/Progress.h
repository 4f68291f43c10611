// Tells the user at the terminal what the demonstration is doing: one line that changes where standard output
// is a terminal, a line for each step elsewhere.
#pragma once

#include <string>

namespace lab {

class Progress {
 public:
    explicit Progress(int stepCount);

    void BeginStep(int number, const std::string& title, double seconds);
    // What the step does at the moment.
    void Update(const std::string& doing, double seconds);
    void EndStep(size_t checks, size_t failures, double seconds);

 private:
    void Show(const std::string& text) const;

    const bool terminal;
    const int stepCount;
    int number = 0;
    std::string title;
};

}  // namespace lab

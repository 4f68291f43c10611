// A folder of its own for the time of a run.
#pragma once

#include <string>

namespace lab {

// Removed with all that is in it when the object is destroyed.
class TemporaryFolder {
 public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    // Empty when none could be made.
    const std::string& Path() const { return path; }

 private:
    std::string path;
};

}  // namespace lab

#include "tools/lab/TemporaryFolder.h"

#include <cstdlib>
#include <filesystem>

namespace lab {

TemporaryFolder::TemporaryFolder() {
    std::error_code error;
    std::string pattern = (std::filesystem::temp_directory_path(error) / "kestrel-lab-XXXXXX").string();
    if (mkdtemp(pattern.data()) != nullptr) path = pattern;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code error;
    if (!path.empty()) std::filesystem::remove_all(path, error);
}

}  // namespace lab

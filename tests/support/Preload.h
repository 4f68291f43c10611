// Libraries that a program is started with.
#pragma once

#include <cstdlib>
#include <string>

// Programs that this process starts load `library` first, sanitized ones too, which would rather have their
// own there. False when the environment cannot be changed.
inline bool Preload(const char* library) {
    const char* options = std::getenv("ASAN_OPTIONS");
    const std::string relaxed = std::string(options != nullptr ? options : "") + ":verify_asan_link_order=0";
    return setenv("ASAN_OPTIONS", relaxed.c_str(), 1) == 0 && setenv("LD_PRELOAD", library, 1) == 0;
}

// Tests that run once for every level that the machine has.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/media/g729/Level.h"

namespace g729::test {

inline std::vector<Level> AvailableLevels() {
    std::vector<Level> available;
    for (const Level level : Levels) {
        if (HasLevel(level)) available.push_back(level);
    }
    return available;
}

inline std::string NameOfLevel(const ::testing::TestParamInfo<Level>& info) {
    return std::string(LevelName(info.param));
}

}  // namespace g729::test

// Instruction sets that the codec has kernels for. Every level gives the same bits.
#pragma once

#include <optional>
#include <string_view>

namespace g729 {

enum class Level { Portable, Avx2, Avx512 };

// From the least to the best.
constexpr Level Levels[] = {Level::Portable, Level::Avx2, Level::Avx512};

// Whether this build and the processor that it runs on have the level.
bool HasLevel(Level level);

Level BestLevel();

// "portable", "avx2", "avx512", as a command line names them; "best" is also understood.
std::string_view LevelName(Level level);
std::optional<Level> LevelNamed(std::string_view name);

}  // namespace g729

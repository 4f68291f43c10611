#include "platform/media/g729/Level.h"

namespace g729 {

bool HasLevel(Level level) {
    switch (level) {
        case Level::Portable:
            return true;
#if G729_X86_KERNELS
        case Level::Avx2:
            return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
                   __builtin_cpu_supports("bmi2");
        case Level::Avx512:
            return HasLevel(Level::Avx2) && __builtin_cpu_supports("avx512f") &&
                   __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
                   __builtin_cpu_supports("avx512dq");
#endif
        default:
            return false;
    }
}

Level BestLevel() {
    static const Level best = [] {
        Level found = Level::Portable;
        for (const Level level : Levels) {
            if (HasLevel(level)) found = level;
        }
        return found;
    }();
    return best;
}

std::string_view LevelName(Level level) {
    constexpr std::string_view Names[] = {"portable", "avx2", "avx512"};
    return Names[static_cast<int>(level)];
}

std::optional<Level> LevelNamed(std::string_view name) {
    if (name == "best") return BestLevel();
    for (const Level level : Levels) {
        if (LevelName(level) == name) return level;
    }
    return std::nullopt;
}

}  // namespace g729

#include "common/Paths.h"

bool real_hardware = false;
bool globalIsHosted = false;
UString globalHostedRoot;

namespace {

constexpr const char* Home = "/Kestrelon";

UString RootPath() {
    if (real_hardware) return "";
    return globalHostedRoot.IsEmpty() ? UString(Home) : globalHostedRoot;
}

}  // namespace

const char* GetRootPath() {
    static const UString root = RootPath();
    return root;
}

const char* GetHomePath() {
    static const UString home = real_hardware ? GetRootPath() + UString(Home) : UString(GetRootPath());
    return home;
}

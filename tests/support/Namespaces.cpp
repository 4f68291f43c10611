#include "tests/support/Namespaces.h"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

bool WriteText(const char* path, const std::string& text) {
    std::ofstream file(path);
    file << text;
    return static_cast<bool>(file.flush());
}

// Everybody else is nobody there, so files can be made under our own name alone.
bool MapOwnIds(uid_t user, gid_t group) {
    const auto same = [](unsigned id) { return std::to_string(id) + " " + std::to_string(id) + " 1"; };
    return WriteText("/proc/self/setgroups", "deny") && WriteText("/proc/self/uid_map", same(user)) &&
           WriteText("/proc/self/gid_map", same(group));
}

// As root no user namespace is needed; to somebody else it grants the right to make the other.
bool Unshare(int what) {
    if (unshare(what) == 0) return true;
    const uid_t user = getuid();
    const gid_t group = getgid();
    return unshare(CLONE_NEWUSER | what) == 0 && MapOwnIds(user, group);
}

bool UnshareMounts() {
    return Unshare(CLONE_NEWNS) && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

bool Bind(const fs::path& from, const fs::path& root) {
    const fs::path to = root / from.relative_path();
    std::error_code error;
    if (fs::is_symlink(from)) {
        if (!fs::exists(fs::symlink_status(to))) fs::copy_symlink(from, to, error);
        return !error;
    }
    if (fs::is_directory(from)) {
        fs::create_directories(to, error);
    } else {
        if (fs::exists(to)) return true;  // in a folder that is there already
        fs::create_directories(to.parent_path(), error);
        std::ofstream(to, std::ios::app).flush();
    }
    return mount(from.c_str(), to.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0;
}

}  // namespace

bool EnterOwnDev() {
    return UnshareMounts() && mount("none", "/dev", "tmpfs", 0, nullptr) == 0;
}

bool EnterOwnNetwork() {
    return Unshare(CLONE_NEWNET);
}

bool EnterOwnRoot(const std::string& root, const std::string& program) {
    if (!UnshareMounts()) return false;
    for (const char* path : {"/usr", "/etc", "/bin", "/lib", "/lib64", "/proc", "/dev/pts", "/dev/full"}) {
        if (fs::exists(path) && !Bind(path, root)) return false;
    }
    return Bind(program, root) && chroot(root.c_str()) == 0 && chdir("/") == 0;
}

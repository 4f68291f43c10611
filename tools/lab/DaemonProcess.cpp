#include "tools/lab/DaemonProcess.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace lab {

namespace {

constexpr const char* ProgramName = "kestrel-compressor";
constexpr std::size_t MaxLines = 2'000'000;

// In the child, between fork and exec: only what is async-signal-safe.
[[noreturn]] void BecomeDaemon(char* const* words, int output, int failure, pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(127);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    signal(SIGPIPE, SIG_DFL);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    execv(words[0], words);
    const int error = errno;
    const ssize_t written = write(failure, &error, sizeof error);
    _exit(written > 0 ? 127 : 126);
}

std::uint64_t StatusKilobytes(const std::string& status, const char* key) {
    const std::size_t at = status.find(key);
    return at == std::string::npos
               ? 0
               : std::strtoull(status.c_str() + at + std::strlen(key), nullptr, 10) * 1024;
}

std::string ReadAll(const std::string& path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

int CountEntries(const std::string& path) {
    std::error_code error;
    const auto begin = std::filesystem::directory_iterator(path, error);
    return error ? 0 : static_cast<int>(std::distance(begin, std::filesystem::directory_iterator()));
}

}  // namespace

DaemonProcess::~DaemonProcess() {
    if (IsRunning()) Stop();
    if (watcher.joinable()) watcher.join();
    if (input >= 0) close(input);
}

std::string DaemonProcess::Find() {
    if (const char* chosen = std::getenv("KESTREL_DAEMON")) return chosen;
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    for (const auto& folder :
         {self.parent_path(), self.parent_path() / "bin", self.parent_path() / "../bin"}) {
        const std::filesystem::path candidate = folder / ProgramName;
        if (access(candidate.c_str(), X_OK) == 0) return candidate.lexically_normal();
    }
    return {};
}

bool DaemonProcess::Start(const std::string& path, const std::vector<std::string>& arguments,
                          std::string& error) {
    std::array<int, 2> output{};
    if (pipe2(output.data(), O_CLOEXEC) != 0) {
        error = std::string("Cannot make a pipe: ") + std::strerror(errno);
        return false;
    }
    input = output[0];
    std::vector<std::string> words{path};
    words.insert(words.end(), arguments.begin(), arguments.end());
    watcher = std::thread(&DaemonProcess::Watch, this, std::move(words), output[1]);
    std::unique_lock held(lock);
    changed.wait(held, [this] { return started; });
    if (startError == 0) return true;
    error = "Cannot run " + path + ": " + std::strerror(startError);
    return false;
}

// The parent-death signal comes when the forking thread ends, so the thread that forks stays until the child
// is gone.
void DaemonProcess::Watch(std::vector<std::string> words, int output) {
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    std::array<int, 2> failure{-1, -1};
    const pid_t parent = getpid();
    const pid_t child = pipe2(failure.data(), O_CLOEXEC) == 0 ? fork() : -1;
    if (child == 0) BecomeDaemon(pointers.data(), output, failure[1], parent);
    int error = child < 0 ? errno : 0;
    close(output);
    close(failure[1]);
    if (child > 0 && read(failure[0], &error, sizeof error) != sizeof error) error = 0;
    close(failure[0]);
    {
        const std::lock_guard held(lock);
        pid = child;
        startError = error;
        ended = child <= 0;
        started = true;
    }
    changed.notify_all();
    if (child <= 0) return;
    ReadLines();
    Reap();
}

void DaemonProcess::ReadLines() {
    std::string pending;
    std::array<char, 8192> chunk;
    for (;;) {
        const ssize_t size = read(input, chunk.data(), chunk.size());
        if (size < 0 && errno == EINTR) continue;
        if (size <= 0) break;
        pending.append(chunk.data(), static_cast<std::size_t>(size));
        std::size_t begin = 0;
        for (std::size_t end; (end = pending.find('\n', begin)) != std::string::npos; begin = end + 1)
            AddLine(pending.substr(begin, end - begin));
        pending.erase(0, begin);
    }
    if (!pending.empty()) AddLine(pending);
}

void DaemonProcess::AddLine(std::string line) {
    {
        const std::lock_guard held(lock);
        if (lines.size() < MaxLines) lines.push_back(std::move(line));
    }
    changed.notify_all();
}

void DaemonProcess::Reap() {
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    {
        const std::lock_guard held(lock);
        ended = true;
        exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    changed.notify_all();
}

bool DaemonProcess::IsRunning() const {
    const std::lock_guard held(lock);
    return pid > 0 && !ended;
}

bool DaemonProcess::Signal(int number) const {
    const std::lock_guard held(lock);
    return pid > 0 && !ended && kill(pid, number) == 0;
}

std::optional<int> DaemonProcess::WaitExit(int ms) {
    std::unique_lock held(lock);
    if (!changed.wait_for(held, std::chrono::milliseconds(ms), [this] { return ended; })) return std::nullopt;
    return exitStatus;
}

int DaemonProcess::Stop(int ms) {
    Signal(SIGTERM);
    if (const std::optional<int> status = WaitExit(ms)) return *status;
    Signal(SIGKILL);
    WaitExit(ms);
    return -1;
}

std::vector<std::string> DaemonProcess::Lines() const {
    const std::lock_guard held(lock);
    return lines;
}

std::size_t DaemonProcess::LineCount() const {
    const std::lock_guard held(lock);
    return lines.size();
}

std::optional<std::string> DaemonProcess::WaitLine(std::string_view text, int ms, std::size_t& from) {
    std::unique_lock held(lock);
    std::optional<std::string> found;
    changed.wait_for(held, std::chrono::milliseconds(ms), [&] {
        for (; !found && from < lines.size(); ++from)
            if (lines[from].find(text) != std::string::npos) found = lines[from];
        return found || ended;
    });
    return found;
}

std::optional<std::string> DaemonProcess::WaitLine(std::string_view text, int ms) {
    std::size_t from = 0;
    return WaitLine(text, ms, from);
}

std::size_t DaemonProcess::CountLines(std::string_view text) const {
    const std::lock_guard held(lock);
    return static_cast<std::size_t>(std::count_if(lines.begin(), lines.end(), [&](const std::string& line) {
        return line.find(text) != std::string::npos;
    }));
}

std::optional<DaemonProcess::Usage> DaemonProcess::Measure(pid_t pid) {
    clockid_t clock{};
    timespec used{};
    if (pid <= 0 || clock_getcpuclockid(pid, &clock) != 0 || clock_gettime(clock, &used) != 0)
        return std::nullopt;
    const std::string folder = "/proc/" + std::to_string(pid);
    const std::string status = ReadAll(folder + "/status");
    Usage usage;
    usage.cpuSeconds = static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
    usage.rssBytes = StatusKilobytes(status, "VmRSS:");
    usage.peakBytes = StatusKilobytes(status, "VmHWM:");
    usage.threads = CountEntries(folder + "/task");
    usage.descriptors = CountEntries(folder + "/fd");
    return usage;
}

}  // namespace lab

#include "tests/app/Daemon.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/support/Namespaces.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds Patience(20);

[[noreturn]] void RunChild(const std::vector<std::string>& arguments, const Daemon::Preparation& prepare,
                           int output) {
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    std::vector<char*> words{const_cast<char*>(KESTREL_DAEMON)};
    for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    if (!prepare || prepare()) execv(KESTREL_DAEMON, words.data());
    _exit(CannotEnter);
}

}  // namespace

Daemon::Daemon(const std::vector<std::string>& arguments, const Preparation& prepare) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) return;
    pid = fork();
    if (pid == 0) RunChild(arguments, prepare, ends[1]);
    close(ends[1]);
    pipe = ends[0];
}

Daemon::~Daemon() {
    StopReading();
    if (pid <= 0) return;
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
}

void Daemon::Signal(int signal) const {
    if (pid > 0) kill(pid, signal);
}

bool Daemon::ReadUntil(Clock::time_point end) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
    pollfd readable{pipe, POLLIN, 0};
    if (left.count() <= 0 || poll(&readable, 1, static_cast<int>(left.count())) <= 0) return false;
    std::array<char, 4096> piece{};
    const ssize_t count = read(pipe, piece.data(), piece.size());
    if (count <= 0) return false;
    output.append(piece.data(), static_cast<std::size_t>(count));
    return true;
}

bool Daemon::WaitForOutput(const std::string& text) {
    const auto end = Clock::now() + Patience;
    while (output.find(text) == std::string::npos) {
        if (!ReadUntil(end)) return false;
    }
    return true;
}

void Daemon::ReadFor(std::chrono::milliseconds quiet) {
    const auto end = Clock::now() + quiet;
    while (ReadUntil(end)) {
    }
}

void Daemon::StopReading() {
    if (pipe >= 0) close(pipe);
    pipe = -1;
}

int Daemon::Wait() {
    const auto end = Clock::now() + Patience;
    while (pipe >= 0 && ReadUntil(end)) {
    }
    int status = 0;
    pid_t ended = 0;
    while ((ended = waitpid(pid, &status, WNOHANG)) == 0 && Clock::now() < end) usleep(1000);
    if (ended != pid) return -1;
    pid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

TemporaryRoot::TemporaryRoot() {
    char name[] = "/tmp/kestrel-test-XXXXXX";
    path = mkdtemp(name);
}

TemporaryRoot::~TemporaryRoot() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

void TemporaryRoot::MakeFolder(const std::string& name) const {
    std::filesystem::create_directory(path + "/" + name);
}

void TemporaryRoot::Write(const std::string& name, const std::string& content) const {
    std::ofstream(path + "/" + name) << content;
}

std::string TemporaryRoot::Read(const std::string& name) const {
    std::ostringstream content;
    content << std::ifstream(path + "/" + name).rdbuf();
    return content.str();
}

std::vector<std::string> TemporaryRoot::List(const std::string& folder) const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path + "/" + folder)) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

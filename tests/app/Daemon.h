// The real daemon as a child process, with its output read through a pipe.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

class Daemon {
 public:
    // Runs in the child before the daemon does; false ends the child.
    using Preparation = std::function<bool()>;

    explicit Daemon(const std::vector<std::string>& arguments, const Preparation& prepare = {});
    ~Daemon();
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    pid_t Pid() const { return pid; }
    void Signal(int signal) const;

    // Waits until the output contains `text`; false when it ended, or twenty seconds passed, without.
    bool WaitForOutput(const std::string& text);
    // Everything printed until `quiet` has passed.
    void ReadFor(std::chrono::milliseconds quiet);
    // From now on nobody reads the output.
    void StopReading();
    // Waits for the end and returns the exit status, 128 + n after signal n, -1 when it did not end.
    int Wait();

    const std::string& Output() const { return output; }

 private:
    // Reads what comes until `end`; false at the end of the output or of the time.
    bool ReadUntil(std::chrono::steady_clock::time_point end);

    pid_t pid = -1;
    int pipe = -1;
    std::string output;
};

// A directory that goes away with the object.
class TemporaryRoot {
 public:
    TemporaryRoot();
    ~TemporaryRoot();
    TemporaryRoot(const TemporaryRoot&) = delete;
    TemporaryRoot& operator=(const TemporaryRoot&) = delete;

    const std::string& Path() const { return path; }
    void MakeFolder(const std::string& name) const;
    void Write(const std::string& name, const std::string& content) const;
    // Empty when there is no such file.
    std::string Read(const std::string& name) const;
    // Names in a folder, sorted.
    std::vector<std::string> List(const std::string& folder) const;

 private:
    std::string path;
};

// The compressor module's daemon as a child process: started, watched through its console log, measured,
// stopped.
#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace lab {

// Any thread may call any operation. The child is killed when this process dies, and when the object is
// destroyed.
class DaemonProcess {
 public:
    struct Usage {
        double cpuSeconds = 0;        // of all its threads since the start, ended ones included
        std::uint64_t rssBytes = 0;   // resident now
        std::uint64_t peakBytes = 0;  // resident at most
        int threads = 0;
        int descriptors = 0;
    };

    DaemonProcess() = default;
    ~DaemonProcess();
    DaemonProcess(const DaemonProcess&) = delete;
    DaemonProcess& operator=(const DaemonProcess&) = delete;

    // The daemon that the environment variable KESTREL_DAEMON names, else the one beside the running program
    // or in the same build; empty when there is none.
    static std::string Find();

    // Runs `path` with `arguments`. False with the reason in `error` when it cannot be started.
    bool Start(const std::string& path, const std::vector<std::string>& arguments, std::string& error);
    pid_t Pid() const { return pid; }
    bool IsRunning() const;

    // Sends SIGTERM and waits `ms` at most for the end, then kills. The exit status, -1 when it was killed or
    // died by a signal.
    int Stop(int ms = 15000);
    bool Signal(int number) const;
    // The exit status if it ends within `ms`.
    std::optional<int> WaitExit(int ms);

    // Lines of standard output and error so far.
    std::vector<std::string> Lines() const;
    std::size_t LineCount() const;
    // The first line from number `from` on that contains `text`, waiting at most `ms`; `from` is then the
    // number of the line behind it. Ends early when the daemon ends.
    std::optional<std::string> WaitLine(std::string_view text, int ms, std::size_t& from);
    std::optional<std::string> WaitLine(std::string_view text, int ms);
    // How many lines contain `text`.
    std::size_t CountLines(std::string_view text) const;

    // What the process uses, from /proc; nothing when it is gone.
    std::optional<Usage> Measure() const { return Measure(pid); }
    static std::optional<Usage> Measure(pid_t pid);

 private:
    void Watch(std::vector<std::string> words, int output);
    void ReadLines();
    void AddLine(std::string line);
    void Reap();

    mutable std::mutex lock;
    mutable std::condition_variable changed;
    std::vector<std::string> lines;
    pid_t pid = -1;
    int startError = 0;
    bool started = false;
    bool ended = false;
    int exitStatus = -1;
    int input = -1;
    std::thread watcher;
};

}  // namespace lab

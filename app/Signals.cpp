#include "app/Signals.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>

#include "app/Globals.h"
#include "app/SignalText.h"
#include "platform/kernel/OperatingSystem.h"

namespace {

std::atomic<bool> done{false};
std::atomic<bool> reopen{false};
std::atomic<bool> ownPipeSignal{false};  // the next SIGPIPE comes from the message about the last one
static_assert(std::atomic<bool>::is_always_lock_free, "signal handlers must not wait for a lock");

int wakeup = -1;
int epoll = -1;

void WakeMain() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(wakeup, &one, sizeof one);
}

// The code that interrupted work goes on to look at its own errno.
class ErrnoKept {
 public:
    ErrnoKept() : kept(errno) {}
    ~ErrnoKept() { errno = kept; }
    ErrnoKept(const ErrnoKept&) = delete;
    ErrnoKept& operator=(const ErrnoKept&) = delete;

 private:
    int kept;
};

const char* CodeName(int code) {
    struct Name {
        int code;
        const char* name;
    };
    static constexpr Name Names[] = {{-6, "asyncnl"}, {-5, "sigio"}, {-4, "asyncio"}, {-3, "mesgq"},
                                     {-2, "timer"},   {-1, "queue"}, {0, "user"},     {128, "kernel"}};
    for (const Name& name : Names) {
        if (name.code == code) return name.name;
    }
    return "unknown";
}

void Handle(int signal, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
}

void HandleWithInformation(int signal, void (*handler)(int, siginfo_t*, void*)) {
    struct sigaction action {};
    action.sa_sigaction = handler;
    action.sa_flags = SA_SIGINFO;
    sigaction(signal, &action, nullptr);
}

void MakeWakeup() {
    wakeup = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    epoll = epoll_create1(EPOLL_CLOEXEC);
    epoll_event event{};
    event.events = EPOLLIN;
    epoll_ctl(epoll, EPOLL_CTL_ADD, wakeup, &event);
}

}  // namespace

void InstallSignalHandlers() {
    MakeWakeup();
    Handle(SIGPIPE, AppSigPipe);
    Handle(SIGHUP, AppSigHup);
    HandleWithInformation(SIGINT, AppTerminate2);
    HandleWithInformation(SIGTERM, AppTerminate2);
}

void AppSigPipe(int /*signal*/) {
    const ErrnoKept kept;
    if (ownPipeSignal.exchange(false)) return;
    if (!WriteSignalText("****** APPLICATION SIGPIPE IGNORED", {})) ownPipeSignal = true;
}

void AppSigHup(int /*signal*/) {
    const ErrnoKept kept;
    WriteSignalText("****** APPLICATION SIGHUP", {});
    if (!logcp) return;
    reopen = true;
    WakeMain();
}

void AppTerminate2(int signal, siginfo_t* info, void* /*context*/) {
    const ErrnoKept kept;
    WriteSignalText("\n***** Ostrevin TERMINATING", {});
    WriteSignalText(
        "***** signal %d, code %d (%s), pid %d, uid %d\n\n",
        {signal, info->si_code, CodeName(info->si_code), info->si_pid, static_cast<int>(info->si_uid)});
    done = true;
    WakeMain();
}

bool TerminationRequested() {
    return done;
}

bool TakeReopenRequest() {
    // Every console line asks; the exchange, which takes the cache line from the other threads, is for the
    // few.
    return reopen.load(std::memory_order_relaxed) && reopen.exchange(false);
}

void WaitForSignal(std::int64_t microseconds) {
    std::array<epoll_event, 1> event{};
    kernel::System().WaitEvents(epoll, event, microseconds);
    std::uint64_t signals = 0;
    [[maybe_unused]] const ssize_t count = read(wakeup, &signals, sizeof signals);
}

void TerminationBlock::Change(int how) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(how, &signals, nullptr);
}

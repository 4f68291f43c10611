// The process's signals: SIGINT and SIGTERM end it, SIGHUP reopens the log file, SIGPIPE is ignored.
//
// Handlers write their messages straight to standard output, set flags and wake the main thread, no more.
#pragma once

#include <csignal>
#include <cstdint>

// Once, before the first of the operations below. By the main thread.
void InstallSignalHandlers();

void AppSigPipe(int signal);
void AppSigHup(int signal);
void AppTerminate2(int signal, siginfo_t* info, void* context);

// Whether SIGINT or SIGTERM has arrived. Any thread.
bool TerminationRequested();

// Whether SIGHUP has asked for the log file to be reopened since the last call. Any thread.
bool TakeReopenRequest();

// Waits until a signal arrives, or has since the last call, at most `microseconds`. The main thread's.
void WaitForSignal(std::int64_t microseconds);

// While it lives SIGINT and SIGTERM are blocked in this thread, and in the threads that it starts for good.
class TerminationBlock {
 public:
    TerminationBlock() { Change(SIG_BLOCK); }
    ~TerminationBlock() { Change(SIG_UNBLOCK); }
    TerminationBlock(const TerminationBlock&) = delete;
    TerminationBlock& operator=(const TerminationBlock&) = delete;

 private:
    static void Change(int how);
};

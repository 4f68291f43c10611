// Loaded before the daemon's own libraries, it lets single calls of the system fail as the environment says:
//   KESTREL_FAULT_OPEN="PATH NUMBER ERRNO"   that opening of the path, counted from 1
//   KESTREL_FAULT_CLOSE_ON_EXEC="ERRNO"      every fcntl that sets it
//   KESTREL_FAULT_THREAD="NUMBER ERRNO"      the making of that thread, counted from 1
//   KESTREL_FAULT_SCHEDULING="ERRNO"         every request for real-time priority
//   KESTREL_FAULT_NOFILE                     the limit of descriptors reads as unlimited
//   KESTREL_FAULT_MODULE="exit"              the module thread ends at its next wait once a file
//                                            /tmp/kestrel-end-PID exists
//   KESTREL_FAULT_MODULE="again"             it shuts the module down once more behind its end
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

constexpr int ModuleThread = 2;  // behind the discovery thread

template <class Function>
Function* Next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

int Fail(int error) {
    errno = error;
    return -1;
}

// What a variable of the environment holds as a number, 0 without it.
int Number(const char* variable) {
    const char* text = std::getenv(variable);
    return text != nullptr ? std::atoi(text) : 0;
}

bool ModuleIsTo(const char* what) {
    const char* text = std::getenv("KESTREL_FAULT_MODULE");
    return text != nullptr && std::strcmp(text, what) == 0;
}

int OpenFault(const char* path) {
    static std::atomic<int> openings{0};
    char faulty[200] = "";
    int number = 0;
    int error = 0;
    const char* text = std::getenv("KESTREL_FAULT_OPEN");
    if (text == nullptr || std::sscanf(text, "%199s %d %d", faulty, &number, &error) != 3) return 0;
    return std::strcmp(path, faulty) == 0 && ++openings == number ? error : 0;
}

int ThreadFault(int number) {
    int faulty = 0;
    int error = 0;
    const char* text = std::getenv("KESTREL_FAULT_THREAD");
    if (text == nullptr || std::sscanf(text, "%d %d", &faulty, &error) != 2) return 0;
    return number == faulty ? error : 0;
}

thread_local bool isModule = false;

struct ModuleMain {
    void* (*main)(void*);
    void* module;
};

void* RunModule(void* argument) {
    const ModuleMain own = *static_cast<ModuleMain*>(argument);
    delete static_cast<ModuleMain*>(argument);
    isModule = true;
    void* result = own.main(own.module);
    if (ModuleIsTo("again")) {
        auto* shutdown = reinterpret_cast<void (*)(void*)>(dlsym(RTLD_DEFAULT, "_ZN10Compressor8ShutdownEv"));
        if (shutdown != nullptr) shutdown(own.module);
    }
    return result;
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    const int fault = OpenFault(path);
    return fault != 0 ? Fail(fault) : Next<int(const char*, int, mode_t)>("open")(path, flags, mode);
}

int fcntl(int fd, int command, ...) {
    va_list rest;
    va_start(rest, command);
    void* argument = va_arg(rest, void*);
    va_end(rest);
    const int fault = command == F_SETFD ? Number("KESTREL_FAULT_CLOSE_ON_EXEC") : 0;
    return fault != 0 ? Fail(fault) : Next<int(int, int, void*)>("fcntl")(fd, command, argument);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*main)(void*),
                   void* argument) {
    static std::atomic<int> threads{0};
    const int number = ++threads;
    const int fault = ThreadFault(number);
    if (fault != 0) return fault;
    auto* real = Next<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>("pthread_create");
    if (number != ModuleThread) return real(thread, attributes, main, argument);
    auto* module = new (std::nothrow) ModuleMain{main, argument};
    return module != nullptr ? real(thread, attributes, RunModule, module) : EAGAIN;
}

int pthread_setschedparam(pthread_t thread, int policy, const sched_param* parameters) noexcept {
    const int fault = Number("KESTREL_FAULT_SCHEDULING");
    if (fault != 0) return fault;
    return Next<int(pthread_t, int, const sched_param*)>("pthread_setschedparam")(thread, policy, parameters);
}

int getrlimit(__rlimit_resource_t resource, rlimit* limit) noexcept {
    const int result = Next<int(__rlimit_resource_t, rlimit*)>("getrlimit")(resource, limit);
    if (resource == RLIMIT_NOFILE && std::getenv("KESTREL_FAULT_NOFILE") != nullptr) {
        *limit = {RLIM_INFINITY, RLIM_INFINITY};
    }
    return result;
}

int epoll_pwait2(int epoll, epoll_event* events, int room, const timespec* timeout, const sigset_t* mask) {
    char name[60];
    snprintf(name, sizeof name, "/tmp/kestrel-end-%d", getpid());
    if (isModule && ModuleIsTo("exit") && access(name, F_OK) == 0) pthread_exit(nullptr);
    using Wait = int(int, epoll_event*, int, const timespec*, const sigset_t*);
    return Next<Wait>("epoll_pwait2")(epoll, events, room, timeout, mask);
}
}

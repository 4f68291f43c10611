// The threads that sleep through the library, so that os_cleanup can hold them where they touch nothing:
// nobody frees the relay slots at exit, and their threads must not find the pools gone.
#pragma once

namespace kernel {

class Sleepers {
 public:
    // Around every sleep of a thread; neither returns once parking has begun.
    static void Enter();
    static void Leave();

    // Parks every sleeper but the caller, and waits for it at most `ms`.
    static void ParkAll(int ms);
    // Threads may sleep again; those parked stay so.
    static void Reopen();
};

}  // namespace kernel

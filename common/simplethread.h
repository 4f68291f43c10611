// A joinable worker thread: a derived class supplies its body and the way to ask that body to return.
//
// Start and Stop are for the owner. A derived class calls Stop first thing in its own destructor, while its
// part of the object still exists.
#pragma once

#include <pthread.h>

class SimpleThread {
 public:
    // `autoStart` starts at once; a derived class whose Main needs its own members passes false and calls
    // Start at the end of its constructor.
    explicit SimpleThread(bool autoStart);
    SimpleThread(const SimpleThread&) = delete;
    SimpleThread& operator=(const SimpleThread&) = delete;
    virtual ~SimpleThread();

    // Asks Main to return; on the thread that calls Stop, while Main runs.
    virtual void OnStop() = 0;
    // The thread's body.
    virtual void Main() = 0;

    // Creates the thread; a failure is reported on the console. Not for an object that runs.
    void Start();
    // Returns once Main has; does nothing when no thread runs.
    void Stop();

 protected:
    pthread_t thread = 0;  // 0 until the thread has been created

 private:
    static void* _threadfn(void* object);

    bool started = false;  // from a successful Start to the end of Stop
};

// Trace switch of call signalling. No calls are signalled by this library: it is accepted and has no effect.
#pragma once

class H323Session {
 public:
    static int msgTrace;  // 0 off, 1 sessions, 2 messages
};

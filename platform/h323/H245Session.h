// Trace switch of call control. No calls are signalled by this library: it is accepted and has no effect.
#pragma once

class H245Session {
 public:
    static int msgTrace;  // 0 off, 1 sessions, 2 messages
};

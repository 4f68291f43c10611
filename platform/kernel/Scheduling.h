// How threads of the media path share the processors. For the calling thread.
#pragma once

namespace kernel {

// The thread's name in the lists of the system's tools, up to 15 characters.
void NameThread(const char* name);

// From now on the thread runs before every ordinary thread, and takes turns with the real-time threads of the
// highest priority: for one that feeds them. False, and nothing changed, without the privilege.
bool TakeTurnsWithRealTimeThreads();
// Lets those run that wait for their turn; nothing where the thread takes none. A busy thread calls it every
// few milliseconds.
void EndTurn();

// Keeps the thread on one of the processors that it may use, `index` modulo their number: real-time threads
// that share a deadline are otherwise moved about at each wake-up, which costs more than many cycles do.
// Without effect where the system refuses it.
void KeepOnProcessor(unsigned index);

// Ends the thread's registration for restartable sequences, which the C library makes for every thread and
// the system then keeps up at each switch: for a thread that wakes all the time. Nothing here uses them.
void LeaveRestartableSequences();

}  // namespace kernel

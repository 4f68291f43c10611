// Where standard output goes instead of the place that the process was started with: to the platform's
// ring-buffer log device, or to a log file that SIGHUP reopens.
#pragma once

// Keeps what the ring-buffer device holds in a file of its own and sends standard output and standard error
// into the device. False, which has been reported, when one of them cannot be: the process then ends.
bool StartRingLog();

// Keeps the previous log file under a time-stamped name, sets `logcp` and sends standard output to a fresh
// one. False, which has been reported, when that fails: the process then ends.
bool StartFileLog();

// Sends standard output to the log file anew, emptying it or creating it. A failure is reported and leaves
// standard output where it is. For an ordinary thread, under the console's lock.
bool ReopenFileLog();

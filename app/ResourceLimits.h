// The limits under which the system lets the process run.
#pragma once

// Allows core files of any size and, where channels are sockets of this process, as many descriptors as the
// hard limit grants. Prints what was obtained; a refusal is reported and start-up goes on.
void RaiseResourceLimits();

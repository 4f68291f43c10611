// Where the process keeps its files, and what decides it.
#pragma once

#include "common/UStringX.h"

// Set by the main thread at start, before any other thread runs.
extern bool real_hardware;        // the process runs on the telephony server's own hardware
extern bool globalIsHosted;       // it runs as a hosted virtual server
extern UString globalHostedRoot;  // the directory under which a hosted server keeps its files

// The directory that holds the log folder: empty on real hardware, where that lies directly under the file
// system's root. Decided by the first call, for good. The text lives until the process ends. First called by
// the main thread at start.
const char* GetRootPath();

// The directory of the process's own files; decided in the same way.
const char* GetHomePath();

// The file that tells others the process id.
#pragma once

// Writes it to the system's folder, or, when hosted or refused there, to the home path. Without either the
// process goes on without one.
void WritePidFile();

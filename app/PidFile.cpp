#include "app/PidFile.h"

#include <unistd.h>

#include <cstdio>

#include "app/Globals.h"

void WritePidFile() {
    const UString homeFile = GetHomePath() + UString("/compressor.pid");
    FILE* file = globalIsHosted ? nullptr : fopen("/var/run/compressor.pid", "we");
    if (file == nullptr) file = fopen(homeFile, "we");
    if (file == nullptr) return;
    fprintf(file, "%d\n", getpid());
    fclose(file);
}

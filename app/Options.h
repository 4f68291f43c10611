// The command line.
#pragma once

#include <optional>

#include "common/UStringX.h"
#include "platform/kernel/Types.h"

struct Options {
    UString gkAddress;  // of the gatekeeper to search at; empty: none is given
    UWORD gkPort = 1718;

    // Carries the options out, left to right; they set these two, process-wide settings and the libraries'
    // trace switches, and redirect the log. Words that are no option are passed over. The exit status when
    // the process has to end at once, which has been reported.
    std::optional<int> Read(int argc, char** argv);
};

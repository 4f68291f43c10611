// The process-wide settings of start-up. Written by the main thread before any other thread runs.
#pragma once

#include "common/Paths.h"
#include "platform/kernel/Startup.h"

class Discovery;

extern bool logcp;               // the log is a plain file that SIGHUP reopens
extern int compressionBase;      // base UDP port of the media channels
extern int compressionQuantity;  // transcoding channels that the module offers
extern int relayQuantity;        // relay-only channels that it offers
extern KernelCfg cfg;            // what os_startup is given
extern Discovery* theDiscovery;  // null but while the module searches or works

#include "app/Globals.h"

bool logcp = false;
int compressionBase = 6300;
int compressionQuantity = 0;
int relayQuantity = 0;
KernelCfg cfg;
Discovery* theDiscovery = nullptr;

#include "platform/h323/Ras.h"

UBYTE Ras::infoTrace = 0;
UBYTE Ras::msgTrace = 0;

#include "platform/h323/H450Service.h"

UBYTE H450Service::msgTrace = 0;

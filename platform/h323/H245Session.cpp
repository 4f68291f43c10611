#include "platform/h323/H245Session.h"

int H245Session::msgTrace = 0;

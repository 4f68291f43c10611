#include "platform/h323/H323Session.h"

int H323Session::msgTrace = 0;

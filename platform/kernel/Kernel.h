// Everything of the kernel library that the system calls.
#pragma once

#include "platform/kernel/AsyncSocket.h"
#include "platform/kernel/Clock.h"
#include "platform/kernel/CriticalSection.h"
#include "platform/kernel/Event.h"
#include "platform/kernel/OSBuf.h"
#include "platform/kernel/OSConsole.h"
#include "platform/kernel/OSIO.h"
#include "platform/kernel/OSIndirectList.h"
#include "platform/kernel/OSListObj.h"
#include "platform/kernel/OSQTrigger.h"
#include "platform/kernel/OSTimerTrigger.h"
#include "platform/kernel/RateLimit.h"
#include "platform/kernel/SockAddr.h"
#include "platform/kernel/Startup.h"

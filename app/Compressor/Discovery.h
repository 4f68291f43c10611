// Finds the gatekeeper and brings the module to life: the thread that determines the module's alias, runs the
// gatekeeper search and holds the module object. One object a process, which is stopped, never destroyed.
#pragma once

#include <pthread.h>

#include <atomic>
#include <memory>

#include "common/UStringX.h"
#include "platform/kernel/Event.h"
#include "platform/kernel/OSTimerTrigger.h"
#include "platform/kernel/SockAddr.h"

class Compressor;
class LDAPClient;
class RasDiscovery;

// The module's identity, from its MAC address; empty when the host has none. Written by the discovery thread
// before the first search, read after.
extern char serial_number[30];  // the address as "00-1a-2b-3c-4d-5e"
extern char hardware_id[128];   // the alias

class Discovery {
 public:
    // Starts the discovery thread, which searches at `gkSearch` and `port`, or by multicast when `gkSearch`
    // is null or empty.
    Discovery(const char* gkSearch, unsigned short port);
    Discovery(const Discovery&) = delete;
    Discovery& operator=(const Discovery&) = delete;
    ~Discovery();

    // Returns once the module object, if there is one, and this object's thread have ended.
    void Stop();

    // The settings of a directory of modules; there is none, so they are taken as they are.
    bool DbFetchModuleInfo(SockAddr& /*server*/) { return true; }
    void Update(LDAPClient* /*client*/, SockAddr& /*server*/) {}

    Compressor* compressor = nullptr;  // null until the search has made it; the discovery thread's

 private:
    static void* _Main(void* discovery);
    static void _dshutdown(void* discovery);
    static void UpdateTimer(OSObj* discovery, void* param, unsigned long value);

    void Main();
    void Startup();
    void Shutdown();
    void StartSearch();

    Compressor* stopped = nullptr;  // the module after its end; it is never destroyed
    std::unique_ptr<RasDiscovery> ras;
    UString gkSearchAddr;
    UWORD gkSearchPort = 0;  // 0 without an address
    std::atomic<bool> terminate{false};
    std::atomic<HANDLE> event{nullptr};  // null until the loop runs
    std::unique_ptr<OSTimerTrigger> discover_trigger;
    pthread_t thread{};
};

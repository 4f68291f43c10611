#include "app/Compressor/Discovery.h"

#include <array>
#include <cstdio>
#include <utility>

#include "app/Compressor/Compressor.h"
#include "app/Compressor/RasDiscovery.h"
#include "platform/kernel/AsyncSocket.h"
#include "platform/kernel/OSConsole.h"
#include "platform/kernel/Startup.h"

char serial_number[30];
char hardware_id[128];

namespace {

constexpr ULONG AtOnceMs = 1;

void FetchIdentity() {
    std::array<UBYTE, 6> mac{};
    if (!AsyncSocket::LookupInterfaceMac(mac.data(), false)) return;
    snprintf(serial_number, sizeof serial_number, "%02x-%02x-%02x-%02x-%02x-%02x", mac[0], mac[1], mac[2],
             mac[3], mac[4], mac[5]);
    snprintf(hardware_id, sizeof hardware_id, "KestrelCompressor %s", serial_number);
}

}  // namespace

Discovery::Discovery(const char* gkSearch, unsigned short port) {
    Socket::Init(0);
    if (gkSearch != nullptr && *gkSearch != '\0') {
        gkSearchAddr = gkSearch;
        gkSearchPort = port;
    }
    pthread_create(&thread, &std_thread_attr, _Main, this);
}

Discovery::~Discovery() {
    Console->Print("Discovery Terminated");
}

void Discovery::Stop() {
    terminate = true;
    SetEvent(event);
    pthread_join(thread, nullptr);
}

void* Discovery::_Main(void* discovery) {
    static_cast<Discovery*>(discovery)->Main();
    return nullptr;
}

void Discovery::_dshutdown(void* discovery) {
    static_cast<Discovery*>(discovery)->Shutdown();
}

void Discovery::Main() {
    Console->Print("Discovery Starting...");
    Startup();
    pthread_cleanup_push(_dshutdown, this);
    Console->Print("Discovery Started");
    discover_trigger->SetTimer(AtOnceMs);
    // Stop writes `terminate` before it reads `event`, so that one of the two threads sees what the other
    // did.
    event = OSTrigger::TLSGetEvent();
    while (!terminate) {
        WaitForSingleObject(event, -1);
        OSTrigger::TLSPoll();
    }
    pthread_cleanup_pop(0);
    Console->Print("Discovery Terminating");
    Shutdown();
}

void Discovery::Startup() {
    FetchIdentity();
    Console->Print("Discovery::Startup - TLSTrigger...");
    OSTrigger::TLSInitialise();
    Console->Print("Discovery::Startup - RasEndpoint...");
    ras = std::make_unique<RasDiscovery>(this, UWORD{0});
    discover_trigger = std::make_unique<OSTimerTrigger>(0, 0);
    discover_trigger->SetCallback(UpdateTimer, this, nullptr, 0);
}

void Discovery::UpdateTimer(OSObj* discovery, void* /*param*/, unsigned long /*value*/) {
    static_cast<Discovery*>(discovery)->StartSearch();
}

void Discovery::StartSearch() {
    if (ras->GetState() != RasDiscovery::Unregistered) return;
    Console->Print("Discovery::UpdateTimer - discovering gatekeeper");
    const UString alias(hardware_id);
    const SockAddr gatekeeper(gkSearchAddr, gkSearchPort);
    ras->Discover(&alias, &gatekeeper);
}

void Discovery::Shutdown() {
    Console->Print("Discovery Closing...");
    Console->Print("Discovery::Shutdown - closing gateways...");
    if (compressor != nullptr) {
        compressor->Stop();
        stopped = std::exchange(compressor, nullptr);
    }
    Console->Print("Discovery::Shutdown - RasEndpoint...");
    discover_trigger.reset();
    ras.reset();
    Console->Print("Discovery::Shutdown - TLSTrigger...");
    OSTrigger::TLSUninitialise();
    Console->Print("Discovery::Shutdown - complete.");
}

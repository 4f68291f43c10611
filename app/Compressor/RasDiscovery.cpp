#include "app/Compressor/RasDiscovery.h"

#include "app/Compressor/Compressor.h"
#include "app/Compressor/Discovery.h"
#include "platform/kernel/OSConsole.h"

namespace {

constexpr int GatherMs = 500;
constexpr ULONG RetryMs = 3000;

bool IsOurs(const RasGkInfo& reply) {
    return reply.gkid && reply.gkid->starts_with(L'!');
}

}  // namespace

RasDiscovery::RasDiscovery(Discovery* discovery, unsigned short port)
    : RasClient(port, 0), discovery(discovery) {
    retryTimer.SetCallback(_RetryTimer, this, nullptr, 0);
}

RasDiscovery::~RasDiscovery() {
    retryTimer.Cancel();
}

void RasDiscovery::Discover(const UString* alias, const SockAddr* gatekeeper) {
    if (gatekeeper != nullptr) {
        gkaddr = *gatekeeper;
    } else {
        gkaddr.Set(0, 0);
    }
    hwid = *alias;
    Discover();
}

void RasDiscovery::Discover() {
    UString alias(hardware_id);
    FindGatekeeper(static_cast<wchar_t*>(alias), GatherMs, gkaddr.Address() == 0 ? nullptr : &gkaddr);
    state = SentGRQ;
}

void RasDiscovery::_RetryTimer(OSObj* search, void* /*param*/, unsigned long /*value*/) {
    static_cast<RasDiscovery*>(search)->Discover();
}

void RasDiscovery::OnGRQ_Timeout(RasTransaction* t) {
    Console->Print("RasDiscovery::OnGRQ_Timeout - looking at replies");
    RasClient::OnGRQ_Timeout(t);
    const RasGkInfo* gatekeeper = OurGatekeeper();
    if (gatekeeper != nullptr) {
        Found(*gatekeeper);
        state = GatekeeperFound;
    } else {
        state = Unregistered;
        retryTimer.SetTimer(RetryMs);
    }
}

const RasGkInfo* RasDiscovery::OurGatekeeper() const {
    for (const RasGkInfo& reply : replies) {
        if (IsOurs(reply)) return &reply;
    }
    return nullptr;
}

void RasDiscovery::Found(const RasGkInfo& gatekeeper) {
    if (discovery->compressor == nullptr) discovery->compressor = new Compressor;
    auto config = std::make_unique<CompressorConfig>();
    config->gkid = hwid;
    config->gkSearchAddr = gatekeeper.address.AddressStr().c_str();
    config->gkSearchPort = gatekeeper.address.Port();
    discovery->compressor->Update(config.release());
}

bool RasDiscovery::PreferredGk(SockAddr& address, UString& gkid) const {
    if (replies.empty()) return false;
    const RasGkInfo* ours = OurGatekeeper();
    const RasGkInfo& preferred = ours == nullptr ? replies.front() : *ours;
    address = preferred.address;
    gkid = preferred.gkid ? preferred.gkid->c_str() : static_cast<const wchar_t*>(nullptr);
    return true;
}

// The RAS client's requests.
#include "platform/h323/RasClient.h"

#include <cstdarg>
#include <cstdio>
#include <random>

#include "platform/h323/H323Init.h"
#include "platform/h323/KnownGatekeepers.h"
#include "platform/h323/ModuleData.h"
#include "platform/h323/WideText.h"
#include "platform/kernel/OSConsole.h"

using namespace h323;

namespace {

constexpr UWORD DiscoveryPort = 1718;
constexpr UWORD RasPort = 1719;
constexpr ULONG DiscoveryGroup = 0xe0000129;  // 224.0.1.41 (H.225.0, IV.1.1)
constexpr ULONG Primary = 0xffffffff;
constexpr ULONG UnregistrationTime = 2000;  // [ms]

// What is asked for; the gatekeeper decides. Long enough to cost nothing, short enough to notice within a
// minute that the gatekeeper has forgotten us.
constexpr std::uint32_t WantedTimeToLive = 60;  // [s]

std::optional<BoundedOctets<1, 256>> OptionalOctets(const std::string& text) {
    if (text.empty()) return std::nullopt;
    return BoundedOctets<1, 256>{{text.begin(), text.end()}};
}

VendorIdentifier Vendor() {
    return {ModuleData::Maker(), OptionalOctets(ProductName()), OptionalOctets(ProductVersion())};
}

EndpointType Terminal() {
    EndpointType type;
    type.terminal.emplace();
    return type;
}

std::optional<std::vector<AliasAddress>> Aliases(const std::u16string& alias) {
    if (alias.empty()) return std::nullopt;
    return std::vector<AliasAddress>{H323Id{alias}};
}

template <class Identifier = GatekeeperIdentifier>
std::optional<Identifier> OptionalText(const std::u16string& text) {
    if (text.empty()) return std::nullopt;
    return Identifier{text};
}

}  // namespace

RasClient::RasClient(unsigned short port, unsigned long /*reserved*/)
    : socket(new AsyncSocket(true)),
      discovery(_DiscoveryOver, this),
      registration(_RegistrationOver, this),
      keepAlive(_KeepAliveOver, this),
      unregistration(_UnregistrationOver, this),
      keepAliveTimer(0, 0),
      sequence(static_cast<UWORD>(std::random_device()() & 0xffff)) {
    keepAliveTimer.SetCallback(_KeepAliveDue, this, nullptr, 0);
    socket->Bind(this);
    const int error = socket->Create(AsyncSocket::Datagram, port, 0, false);
    if (error != 0) Console->Print("RasClient::RasClient - port %u failed %d", port, error);
}

RasClient::~RasClient() {
    socket->UnBind();
    socket->Free();
}

void RasClient::Trace(const char* fmt, ...) {
    char line[1024];
    va_list args;
    va_start(args, fmt);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the analyser does not see what va_start does.
    std::vsnprintf(line, sizeof line, fmt, args);
    va_end(args);
    Console->Print("%p RasClient::%s", static_cast<void*>(this), line);
}

int RasClient::FindGatekeeper(const wchar_t* name, int ms, const SockAddr* at) {
    SockAddr to(DiscoveryGroup, DiscoveryPort);
    if (at != nullptr) to.Set(at->Address(), at->Port() != 0 ? at->Port() : DiscoveryPort);
    replies.clear();
    alias = ToUtf16(name, 256);
    if (to.IsMulticast()) {
        const int error = socket->SetMulticastInterface(AsyncSocket::LookupIface(Primary));
        if (error != 0) Trace("FindGatekeeper - no interface for multicast, %d", error);
    }
    return Ask(discovery, MakeGRQ(to), to, static_cast<ULONG>(ms)) ? 1 : 0;
}

int RasClient::Register(const SockAddr& at, const wchar_t* /*gkid*/, const wchar_t* wideAlias,
                        const char* name, unsigned long ms) {
    StopRegistration();
    unregistration.End();
    gatekeeper.Set(at.Address(), at.Port() != 0 ? at.Port() : RasPort);
    discovered = KnownGatekeepers::IdentifierOf(gatekeeper);
    alias = ToUtf16(wideAlias, 256);
    endpointIdentifier.clear();
    phase = Phase::Registering;
    if (infoTrace != 0) {
        Trace("Register - %s at %s:%u", name != nullptr ? name : "", gatekeeper.AddressStr().c_str(),
              gatekeeper.Port());
    }
    return Ask(registration, MakeRRQ(false), gatekeeper, static_cast<ULONG>(ms)) ? 1 : 0;
}

void RasClient::Unregister() {
    if (phase == Phase::Unregistering) return;
    StopRegistration();
    phase = Phase::Unregistering;
    Ask(unregistration, MakeURQ(), gatekeeper, UnregistrationTime);
}

int RasClient::CallRequest(H323Call* /*call*/, const wchar_t* /*from*/, const wchar_t* /*to*/,
                           int /*bandwidth*/) {
    return 0;
}

int RasClient::CallFinished(H323Call* /*call*/, int /*reason*/, _rtp_callstats* /*stats*/) {
    return 0;
}

bool RasClient::Ask(RasTransaction& transaction, const RasMessage& request, const SockAddr& to, ULONG ms) {
    TraceMessage("sending", request, to);
    return transaction.Begin(socket, request.Encode(), request.SequenceNumber(), to, ms);
}

void RasClient::TraceMessage(const char* direction, const RasMessage& message, const SockAddr& peer) {
    if (infoTrace != 0) {
        Trace("%s %s, %s:%u", direction, message.Summary().c_str(), peer.AddressStr().c_str(), peer.Port());
    }
    if (msgTrace == 0) return;
    const std::string dump = message.Dump();
    for (std::size_t begin = 0, end = 0; begin < dump.size(); begin = end + 1) {
        end = dump.find('\n', begin);
        Trace("%.*s", static_cast<int>(end - begin), dump.c_str() + begin);
    }
}

UWORD RasClient::NextSequence() {
    sequence = static_cast<UWORD>(sequence % 65535 + 1);
    return sequence;
}

TransportAddress RasClient::RasAddressTowards(ULONG peer) const {
    return TransportAddress::FromIp(AsyncSocket::LookupIface(peer), GetPort());
}

TransportAddress RasClient::CallSignalAddress() const {
    return TransportAddress::FromIp(AsyncSocket::LookupIface(gatekeeper.Address()), controlPort);
}

RasMessage RasClient::MakeGRQ(const SockAddr& to) {
    GatekeeperRequest grq;
    grq.requestSeqNum.value = NextSequence();
    grq.rasAddress = RasAddressTowards(to.IsMulticast() ? Primary : to.Address());
    grq.endpointType = Terminal();
    grq.endpointType.vendor = Vendor();
    grq.endpointAlias = Aliases(alias);
    return RasMessage(grq);
}

RasMessage RasClient::MakeRRQ(bool light) {
    const ModuleData module{controlPort, compressionBase, compressionQuantity, relayQuantity};
    RegistrationRequest rrq;
    rrq.requestSeqNum.value = NextSequence();
    if (!light) rrq.nonStandardData = module.ToNonStandard();
    rrq.discoveryComplete = discovered.has_value();
    rrq.callSignalAddress = {CallSignalAddress()};
    rrq.rasAddress = {RasAddressTowards(gatekeeper.Address())};
    rrq.terminalType = Terminal();
    if (!light) rrq.terminalAlias = Aliases(alias);
    rrq.gatekeeperIdentifier = OptionalText(discovered.value_or(u""));
    rrq.endpointVendor = Vendor();
    rrq.timeToLive = TimeToLive{WantedTimeToLive};
    rrq.keepAlive = light;
    rrq.endpointIdentifier = OptionalText<EndpointIdentifier>(endpointIdentifier);
    rrq.willSupplyUUIEs = false;
    rrq.maintainConnection = false;
    return RasMessage(rrq);
}

RasMessage RasClient::MakeURQ() {
    UnregistrationRequest urq;
    urq.requestSeqNum.value = NextSequence();
    urq.callSignalAddress = {CallSignalAddress()};
    urq.endpointIdentifier = OptionalText<EndpointIdentifier>(endpointIdentifier);
    urq.gatekeeperIdentifier = OptionalText(discovered.value_or(u""));
    urq.reason = UnregRequestReason::UndefinedReason;
    return RasMessage(urq);
}

#include "tools/lab/Gatekeeper.h"

#include <poll.h>

#include <algorithm>

#include "platform/h323/WideText.h"
#include "tools/lab/SockAddrText.h"

namespace lab {

namespace {

constexpr int TickMs = 50;
constexpr std::int64_t NsPerSecond = 1'000'000'000;

std::u16string ToUtf16(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
}

std::optional<SockAddr> FirstIp(const std::vector<h323::TransportAddress>& addresses) {
    for (const h323::TransportAddress& address : addresses) {
        std::uint32_t ip = 0;
        std::uint16_t port = 0;
        if (address.ToIp(ip, port)) return SockAddr(ip, port);
    }
    return std::nullopt;
}

std::string AliasText(const std::optional<std::vector<h323::AliasAddress>>& aliases) {
    if (!aliases) return {};
    for (const h323::AliasAddress& alias : *aliases) {
        if (const auto* name = std::get_if<h323::H323Id>(&alias.AsVariant()))
            return h323::ToPrintable(name->text);
        if (const auto* digits = std::get_if<h323::DigitText>(&alias.AsVariant())) return digits->text;
    }
    return {};
}

std::string OctetText(const std::optional<h323::BoundedOctets<1, 256>>& octets) {
    if (!octets) return {};
    std::string text(octets->octets.begin(), octets->octets.end());
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 32 || c > 126; }, '?');
    return text;
}

constexpr const char* EventTexts[] = {"discovery",     "registration",   "keep-alive", "rejection",
                                      "ignored",       "unregistration", "confirmed",  "expired",
                                      "info response", "malformed"};

}  // namespace

const char* ToText(Gatekeeper::Event event) {
    return EventTexts[static_cast<std::size_t>(event)];
}

std::optional<SockAddr> Gatekeeper::Module::Control() const {
    if (!data || data->controlPort == 0) return std::nullopt;
    return SockAddr(callSignal.Address() != 0 ? callSignal.Address() : ras.Address(), data->controlPort);
}

Gatekeeper::~Gatekeeper() {
    Stop();
}

bool Gatekeeper::Start(Setup newSetup, std::string& error) {
    setup = std::move(newSetup);
    if (!socket.Open(setup.listen, error)) return false;
    if (setup.multicast) {
        if (!multicast.Open(SockAddr(MulticastGroup, MulticastPort), error, true)) return false;
        if (!multicast.Join(MulticastGroup, setup.listen.Address())) {
            error = "Cannot join the gatekeepers' multicast group on " + setup.listen.AddressStr();
            return false;
        }
    }
    stopping = false;
    thread = std::thread(&Gatekeeper::Run, this);
    return true;
}

void Gatekeeper::Stop() {
    {
        const std::lock_guard held(lock);
        stopping = true;
    }
    if (thread.joinable()) thread.join();
    socket.Close();
    multicast.Close();
}

void Gatekeeper::AnswerDiscovery(Answer answer) {
    const std::lock_guard held(lock);
    discoveryAnswer = answer;
}

void Gatekeeper::AnswerRegistration(Answer answer, h323::RegistrationRejectReason reason) {
    const std::lock_guard held(lock);
    registrationAnswer = answer;
    rejectReason = reason;
}

void Gatekeeper::SetTimeToLive(ULONG seconds) {
    const std::lock_guard held(lock);
    setup.timeToLive = seconds;
}

void Gatekeeper::Forget() {
    const std::lock_guard held(lock);
    modules.clear();
}

std::size_t Gatekeeper::Unregister(h323::UnregRequestReason reason) {
    const std::lock_guard held(lock);
    for (const Module& module : modules) SendUnregistration(module, reason);
    const std::size_t count = modules.size();
    modules.clear();
    return count;
}

std::size_t Gatekeeper::Inquire() {
    const std::lock_guard held(lock);
    for (const Module& module : modules) {
        h323::InfoRequest request;
        request.requestSeqNum.value = ++sequence;
        request.callReferenceValue.value = 0;
        Send(request, module.ras);
    }
    return modules.size();
}

std::vector<Gatekeeper::Module> Gatekeeper::Modules() const {
    const std::lock_guard held(lock);
    return modules;
}

unsigned Gatekeeper::CountOf(Event event) const {
    const std::lock_guard held(lock);
    return counts[static_cast<std::size_t>(event)];
}

bool Gatekeeper::WaitFor(Event event, unsigned count, int ms) const {
    std::unique_lock held(lock);
    return changed.wait_for(held, std::chrono::milliseconds(ms),
                            [&] { return counts[static_cast<std::size_t>(event)] >= count; });
}

std::optional<Gatekeeper::Module> Gatekeeper::WaitModule(int ms) const {
    std::unique_lock held(lock);
    changed.wait_for(held, std::chrono::milliseconds(ms), [&] { return !modules.empty(); });
    if (modules.empty()) return std::nullopt;
    return modules.front();
}

// The thread.

void Gatekeeper::Run() {
    for (;;) {
        std::array<pollfd, 2> fds{pollfd{socket.Descriptor(), POLLIN, 0},
                                  pollfd{multicast.Descriptor(), POLLIN, 0}};
        poll(fds.data(), multicast.IsOpen() ? 2 : 1, TickMs);
        const std::lock_guard held(lock);
        if (stopping) return;
        Serve(socket);
        if (multicast.IsOpen()) Serve(multicast);
        Expire();
    }
}

void Gatekeeper::Serve(UdpSocket& from) {
    while (const std::optional<UdpSocket::Arrival> arrival = from.Receive(0)) {
        if (setup.tap) setup.tap(arrival->data, arrival->from);
        const std::optional<RasMessage> message = RasMessage::Decode(arrival->data);
        if (message) {
            OnMessage(*message, arrival->from);
        } else {
            Report(Event::Malformed, "a datagram from " + ToText(arrival->from) + " is no RAS message");
        }
    }
}

void Gatekeeper::OnMessage(const RasMessage& message, const SockAddr& from) {
    if (const auto* discovery = message.As<h323::GatekeeperRequest>()) return OnRequest(*discovery, from);
    if (const auto* registration = message.As<h323::RegistrationRequest>())
        return OnRequest(*registration, from);
    if (const auto* withdrawal = message.As<h323::UnregistrationRequest>())
        return OnRequest(*withdrawal, from);
    if (message.As<h323::UnregistrationConfirm>() != nullptr)
        return Report(Event::Confirmed, ToText(from) + " confirmed that it is unregistered");
    if (message.As<h323::InfoRequestResponse>() != nullptr)
        return Report(Event::InfoResponse, ToText(from) + " is still there");
    Report(Event::Malformed, message.Summary() + " from " + ToText(from) + " is not served here");
}

void Gatekeeper::OnRequest(const h323::GatekeeperRequest& request, const SockAddr& from) {
    const std::string alias = AliasText(request.endpointAlias);
    const std::string who = (alias.empty() ? "an endpoint without a name" : alias) + " at " + ToText(from);
    Report(Event::Discovery, who + " looks for a gatekeeper");
    const bool another = request.gatekeeperIdentifier && request.gatekeeperIdentifier != Identifier();
    if (another || discoveryAnswer == Answer::Silent) return Report(Event::Ignored, "no answer to " + who);
    if (discoveryAnswer == Answer::Reject) {
        h323::GatekeeperReject reject;
        reject.requestSeqNum = request.requestSeqNum;
        reject.protocolIdentifier = request.protocolIdentifier;
        reject.gatekeeperIdentifier = Identifier();
        reject.rejectReason = h323::GatekeeperRejectReason::ResourceUnavailable;
        return Send(reject, from);
    }
    const SockAddr own = socket.Local();
    h323::GatekeeperConfirm confirm;
    confirm.requestSeqNum = request.requestSeqNum;
    confirm.protocolIdentifier = request.protocolIdentifier;
    confirm.gatekeeperIdentifier = Identifier();
    confirm.rasAddress = h323::TransportAddress::FromIp(
        own.Address() != 0 ? own.Address() : SourceTowards(from.Address()), own.Port());
    Send(confirm, from);
}

void Gatekeeper::OnRequest(const h323::RegistrationRequest& request, const SockAddr& from) {
    if (registrationAnswer == Answer::Silent)
        return Report(Event::Ignored, "no answer to the registration request of " + ToText(from));
    if (registrationAnswer == Answer::Reject) return Reject(request, rejectReason, from);
    if (request.keepAlive.value_or(false)) return Renew(request, from);
    Admit(request, from);
}

void Gatekeeper::Renew(const h323::RegistrationRequest& request, const SockAddr& from) {
    Module* module = request.endpointIdentifier ? Find(request.endpointIdentifier->text) : nullptr;
    if (module == nullptr)
        return Reject(request, h323::RegistrationRejectReason::FullRegistrationRequired, from);
    module->heardAtNs = WallNs();
    ++module->keepAlives;
    Confirm(request, *module, from);
    Report(Event::KeepAlive, module->alias + " renewed its registration");
}

void Gatekeeper::Admit(const h323::RegistrationRequest& request, const SockAddr& from) {
    const std::optional<SockAddr> signal = FirstIp(request.callSignalAddress);
    const std::optional<SockAddr> ras = FirstIp(request.rasAddress);
    if (!signal) return Reject(request, h323::RegistrationRejectReason::InvalidCallSignalAddress, from);
    if (!ras) return Reject(request, h323::RegistrationRejectReason::InvalidRASAddress, from);
    Module module{.alias = AliasText(request.terminalAlias),
                  .endpoint = {},
                  .ras = *ras,
                  .callSignal = *signal,
                  .data = std::nullopt,
                  .product = OctetText(request.endpointVendor.productId),
                  .version = OctetText(request.endpointVendor.versionId),
                  .heardAtNs = WallNs()};
    if (request.nonStandardData) module.data = h323::ModuleData::FromNonStandard(*request.nonStandardData);
    Module* known = FindByAlias(module.alias);
    // The same host may come again, with other ports, after a restart.
    if (known != nullptr && known->callSignal.Address() != signal->Address())
        return Reject(request, h323::RegistrationRejectReason::DuplicateAlias, from);
    module.endpoint = known != nullptr ? known->endpoint : ToUtf16("lab_" + std::to_string(++endpointsNamed));
    if (known != nullptr) {
        *known = module;
    } else {
        modules.push_back(module);
    }
    Confirm(request, module, from);
    Report(Event::Registration, (module.alias.empty() ? "a module without a name" : module.alias) +
                                    " registered from " + ToText(from));
}

void Gatekeeper::Confirm(const h323::RegistrationRequest& request, const Module& module,
                         const SockAddr& from) {
    h323::RegistrationConfirm confirm;
    confirm.requestSeqNum = request.requestSeqNum;
    confirm.protocolIdentifier = request.protocolIdentifier;
    confirm.terminalAlias = request.terminalAlias;
    confirm.gatekeeperIdentifier = Identifier();
    confirm.endpointIdentifier.text = module.endpoint;
    if (setup.timeToLive > 0) confirm.timeToLive = h323::TimeToLive{setup.timeToLive};
    confirm.willRespondToIRR = false;
    confirm.maintainConnection = false;
    Send(confirm, from);
}

void Gatekeeper::Reject(const h323::RegistrationRequest& request, h323::RegistrationRejectReason reason,
                        const SockAddr& from) {
    h323::RegistrationReject reject;
    reject.requestSeqNum = request.requestSeqNum;
    reject.protocolIdentifier = request.protocolIdentifier;
    reject.rejectReason = reason;
    reject.gatekeeperIdentifier = Identifier();
    Send(reject, from);
    Report(Event::Rejection, "registration of " + ToText(from) + " rejected: " + h323::NameOf(reason));
}

void Gatekeeper::OnRequest(const h323::UnregistrationRequest& request, const SockAddr& from) {
    const Module* module = request.endpointIdentifier ? Find(request.endpointIdentifier->text) : nullptr;
    if (module == nullptr) {
        h323::UnregistrationReject reject;
        reject.requestSeqNum = request.requestSeqNum;
        reject.rejectReason = h323::UnregRejectReason::NotCurrentlyRegistered;
        return Send(reject, from);
    }
    h323::UnregistrationConfirm confirm;
    confirm.requestSeqNum = request.requestSeqNum;
    Send(confirm, from);
    const std::string alias = module->alias;
    std::erase_if(modules, [&](const Module& other) { return &other == module; });
    Report(Event::Unregistration, alias + " unregistered");
}

void Gatekeeper::Expire() {
    if (setup.timeToLive == 0) return;
    const std::int64_t oldest = WallNs() - setup.timeToLive * NsPerSecond;
    const auto gone = [&](const Module& module) { return module.heardAtNs < oldest; };
    for (const Module& module : modules) {
        if (!gone(module)) continue;
        SendUnregistration(module, h323::UnregRequestReason::TtlExpired);
        Report(Event::Expired, "the registration of " + module.alias + " expired");
    }
    std::erase_if(modules, gone);
}

void Gatekeeper::SendUnregistration(const Module& module, h323::UnregRequestReason reason) {
    h323::UnregistrationRequest request;
    request.requestSeqNum.value = ++sequence;
    request.callSignalAddress = {
        h323::TransportAddress::FromIp(module.callSignal.Address(), module.callSignal.Port())};
    request.endpointIdentifier = h323::EndpointIdentifier{module.endpoint};
    request.gatekeeperIdentifier = Identifier();
    request.reason = reason;
    Send(request, module.ras);
}

Gatekeeper::Module* Gatekeeper::Find(const std::u16string& endpoint) {
    const auto found = std::find_if(modules.begin(), modules.end(),
                                    [&](const Module& module) { return module.endpoint == endpoint; });
    return found == modules.end() ? nullptr : &*found;
}

Gatekeeper::Module* Gatekeeper::FindByAlias(const std::string& alias) {
    const auto found = std::find_if(modules.begin(), modules.end(),
                                    [&](const Module& module) { return module.alias == alias; });
    return found == modules.end() ? nullptr : &*found;
}

void Gatekeeper::Send(h323::RasMessageBody body, const SockAddr& to) const {
    const std::vector<std::uint8_t> datagram = RasMessage(std::move(body)).Encode();
    if (!datagram.empty()) socket.SendTo(datagram, to);
}

std::optional<h323::GatekeeperIdentifier> Gatekeeper::Identifier() const {
    if (setup.identifier.empty()) return std::nullopt;
    return h323::GatekeeperIdentifier{ToUtf16(setup.identifier)};
}

void Gatekeeper::Report(Event event, const std::string& words) {
    ++counts[static_cast<std::size_t>(event)];
    changed.notify_all();
    if (setup.listener) setup.listener(event, words);
}

}  // namespace lab

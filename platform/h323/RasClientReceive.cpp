// What the RAS client does with what it receives.
#include <algorithm>

#include "platform/h323/KnownGatekeepers.h"
#include "platform/h323/RasClient.h"
#include "platform/h323/WideText.h"
#include "platform/kernel/RateLimit.h"

using namespace h323;

OSIORetCode RasClient::DatagramIndication(OSBuf* buf, void* from, void* /*to*/) {
    SockAddr sender = *static_cast<const SockAddr*>(from);
    std::optional<RasMessage> message = RasMessage::Decode(buf->Data());
    if (message) {
        TraceMessage("received", *message, sender);
        Receive(*message, sender, buf->Data());
    } else {
        Refuse(Refusal::Malformed, sender, nullptr);
    }
    buf->Free();
    return Success;
}

void RasClient::Receive(RasMessage& message, SockAddr& from, std::span<const UBYTE> datagram) {
    if (message.As<UnregistrationRequest>() != nullptr) return OnURQ(message, from);
    if (message.As<InfoRequest>() != nullptr) return OnIRQ(message, from);
    if (message.As<RequestInProgress>() != nullptr) return OnRIP(message, from);
    if (message.IsUnservedRequest()) return OnUnserved(message, from, datagram);
    ReceiveAnswer(message, from);
}

void RasClient::ReceiveAnswer(RasMessage& message, SockAddr& from) {
    if (message.As<GatekeeperConfirm>() != nullptr || message.As<GatekeeperReject>() != nullptr) {
        ReceiveDiscoveryAnswer(message, from);
    } else if (message.As<RegistrationConfirm>() != nullptr || message.As<RegistrationReject>() != nullptr) {
        ReceiveRegistrationAnswer(message, from);
    } else if (message.As<UnregistrationConfirm>() != nullptr ||
               message.As<UnregistrationReject>() != nullptr) {
        ReceiveUnregistrationAnswer(message, from);
    } else {
        Refuse(Refusal::NotServed, from, &message);
    }
}

// Whoever answers a multicast is listed until its time is over; the one gatekeeper asked ends the request.
void RasClient::ReceiveDiscoveryAnswer(RasMessage& message, SockAddr& from) {
    if (!discovery.IsAnsweredBy(message.SequenceNumber(), from))
        return Refuse(Refusal::NotAsked, from, &message);
    const bool over = !discovery.Destination().IsMulticast();
    if (over) discovery.End();
    if (message.As<GatekeeperConfirm>() != nullptr) {
        OnGCF(message, from);
    } else {
        OnGRJ(message, from);
    }
    if (over) OnGRQ_Timeout(&discovery);
}

void RasClient::ReceiveRegistrationAnswer(RasMessage& message, SockAddr& from) {
    const UWORD number = message.SequenceNumber();
    if (registration.IsAnsweredBy(number, from)) {
        registration.End();
    } else if (keepAlive.IsAnsweredBy(number, from)) {
        keepAlive.End();
    } else {
        return Refuse(Refusal::NotAsked, from, &message);
    }
    if (message.As<RegistrationConfirm>() != nullptr) {
        OnRCF(message, from);
    } else {
        OnRRJ(message, from);
    }
}

void RasClient::ReceiveUnregistrationAnswer(RasMessage& message, SockAddr& from) {
    if (!unregistration.IsAnsweredBy(message.SequenceNumber(), from)) {
        return Refuse(Refusal::NotAsked, from, &message);
    }
    unregistration.End();
    Lost(message.Summary().c_str());
}

bool RasClient::OnGCF(RasMessage& message, SockAddr& from) {
    const auto* gcf = message.As<GatekeeperConfirm>();
    ULONG address = 0;
    UWORD port = 0;
    if (!gcf->rasAddress.ToIp(address, port)) return Refuse(Refusal::NoAddress, from, &message), false;
    RasGkInfo reply{SockAddr(address, port), std::nullopt};
    if (gcf->gatekeeperIdentifier) reply.gkid = ToWide(gcf->gatekeeperIdentifier->text);
    const auto same = [&](const RasGkInfo& r) { return r.address == reply.address && r.gkid == reply.gkid; };
    if (std::any_of(replies.begin(), replies.end(), same)) return true;
    if (replies.size() == MostReplies) return Refuse(Refusal::TooMany, from, &message), false;
    KnownGatekeepers::Remember(reply.address,
                               gcf->gatekeeperIdentifier ? gcf->gatekeeperIdentifier->text : u"");
    replies.push_back(std::move(reply));
    return true;
}

bool RasClient::OnGRJ(RasMessage& message, SockAddr& from) {
    Trace("OnGRJ - %s from %s:%u", message.Summary().c_str(), from.AddressStr().c_str(), from.Port());
    return true;
}

void RasClient::OnRIP(const RasMessage& message, const SockAddr& from) {
    const auto* rip = message.As<RequestInProgress>();
    for (RasTransaction* transaction : {&discovery, &registration, &keepAlive, &unregistration}) {
        if (!transaction->IsAnsweredBy(message.SequenceNumber(), from)) continue;
        if (rip->HasDelay() && !transaction->Destination().IsMulticast()) transaction->Extend(rip->delay);
        return;
    }
    Refuse(Refusal::NotAsked, from, &message);
}

void RasClient::OnURQ(const RasMessage& message, const SockAddr& from) {
    const auto* urq = message.As<UnregistrationRequest>();
    if (!IsOurGatekeeper(from)) return Refuse(Refusal::Stranger, from, &message);
    if (!NamesOurRegistration(*urq, from)) {
        UnregistrationReject urj;
        urj.requestSeqNum = urq->requestSeqNum;
        urj.rejectReason = UnregRejectReason::NotCurrentlyRegistered;
        Answer(urj, from);
        return Refuse(Refusal::NotRegistered, from, &message);
    }
    UnregistrationConfirm ucf;
    ucf.requestSeqNum = urq->requestSeqNum;
    Answer(ucf, from);
    if (phase == Phase::Registered) Lost(message.Summary().c_str());
}

void RasClient::OnIRQ(const RasMessage& message, const SockAddr& from) {
    const auto* irq = message.As<InfoRequest>();
    if (!IsOurGatekeeper(from)) return Refuse(Refusal::Stranger, from, &message);
    if (phase != Phase::Registered) return Refuse(Refusal::NotRegistered, from, &message);
    InfoRequestResponse irr;
    irr.requestSeqNum = irq->requestSeqNum;
    irr.endpointType.terminal.emplace();
    irr.endpointIdentifier.text = endpointIdentifier;
    irr.rasAddress = RasAddressTowards(gatekeeper.Address());
    irr.callSignalAddress = {CallSignalAddress()};
    if (!alias.empty()) irr.endpointAlias = {H323Id{alias}};
    irr.needResponse = false;
    if (irq->callReferenceValue != 0) {
        irr.irrStatus.emplace(std::in_place_index<InfoRequestResponseStatus::InvalidCall>);
    }
    irr.unsolicited = false;
    // Elsewhere than to its own host a gatekeeper cannot direct the answer: that would serve a forger only.
    ULONG address = 0;
    UWORD port = 0;
    const bool elsewhere =
        irq->replyAddress && irq->replyAddress->ToIp(address, port) && address == from.Address();
    Answer(irr, elsewhere ? SockAddr(address, port) : from);
}

// Only the gatekeeper learns what is not served: anyone else could make the client send to third parties.
void RasClient::OnUnserved(const RasMessage& message, const SockAddr& from, std::span<const UBYTE> datagram) {
    constexpr std::size_t LongestQuoted = 512;
    Refuse(Refusal::NotServed, from, &message);
    if (!IsOurGatekeeper(from)) return;
    const std::span<const UBYTE> quoted = datagram.first(std::min(datagram.size(), LongestQuoted));
    UnknownMessageResponse xrs;
    xrs.requestSeqNum.value = message.SequenceNumber();
    xrs.messageNotUnderstood = OctetString{{quoted.begin(), quoted.end()}};
    Answer(xrs, from);
}

void RasClient::Answer(RasMessageBody body, const SockAddr& to) {
    const RasMessage answer(std::move(body));
    TraceMessage("sending", answer, to);
    const std::vector<UBYTE> datagram = answer.Encode();
    OSBuf* buf = OSBuf::Alloc(static_cast<int>(datagram.size()));
    buf->PushData(datagram.data(), static_cast<int>(datagram.size()));
    SockAddr destination = to;
    socket->DatagramIndication(buf, nullptr, &destination);
}

bool RasClient::IsOurGatekeeper(const SockAddr& from) const {
    return gatekeeper.Address() != 0 && from.Address() == gatekeeper.Address();
}

// A URQ without an identifier counts when it comes from the gatekeeper's own port.
bool RasClient::NamesOurRegistration(const UnregistrationRequest& urq, const SockAddr& from) const {
    if (endpointIdentifier.empty()) return false;
    return urq.endpointIdentifier ? urq.endpointIdentifier->text == endpointIdentifier : from == gatekeeper;
}

void RasClient::Refuse(Refusal kind, const SockAddr& from, const RasMessage* message) {
    static constexpr const char* Why[] = {"malformed message",
                                          "answer to nothing that was asked",
                                          "request of a stranger",
                                          "message that is not served",
                                          "request for a registration that is not ours",
                                          "confirm without a usable address",
                                          "one gatekeeper too many"};
    static RateLimit limits[static_cast<std::size_t>(Refusal::Kinds)];
    const auto index = static_cast<std::size_t>(kind);
    if (!limits[index].Allow()) return;
    Trace("DatagramIndication - %s, %s:%u dropped: %s",
          message != nullptr ? message->Summary().c_str() : "datagram", from.AddressStr().c_str(),
          from.Port(), Why[index]);
}

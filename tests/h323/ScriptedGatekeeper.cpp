#include "tests/h323/ScriptedGatekeeper.h"

#include "platform/kernel/Clock.h"

using namespace h323;

namespace {

const SockAddr DiscoveryGroup("224.0.1.41", 1718);

TransportAddress ToTransport(const SockAddr& address) {
    return TransportAddress::FromIp(address.Address(), address.Port());
}

}  // namespace

ScriptedGatekeeper::ScriptedGatekeeper(const char* text) : socket(new AsyncSocket(true)) {
    socket->Bind(this);
    socket->Create(AsyncSocket::Datagram, 0, SockAddr(text, 0).Address(), false);
    address = SockAddr(text, static_cast<UWORD>(socket->LocalPort()));
}

ScriptedGatekeeper::~ScriptedGatekeeper() {
    socket->Free();
    if (group != nullptr) group->Free();
}

void ScriptedGatekeeper::JoinGroup(ULONG interfaceAddress) {
    group = new AsyncSocket(true);
    group->Bind(this);
    group->CreateMulticast(DiscoveryGroup, AsyncSocket::McReceiveOnly, interfaceAddress);
}

OSIORetCode ScriptedGatekeeper::DatagramIndication(OSBuf* buf, void* from, void* /*to*/) {
    const std::optional<RasMessage> message = RasMessage::Decode(buf->Data());
    buf->Free();
    if (!message) {
        ++undecodable;
        return Success;
    }
    const Received r{*message, *static_cast<SockAddr*>(from), os_clock()};
    received.push_back(r);
    if (script) script(r);
    return Success;
}

void ScriptedGatekeeper::Send(const RasMessage& message, const SockAddr& to) {
    SendOctets(message.Encode(), to);
}

void ScriptedGatekeeper::SendOctets(const std::vector<UBYTE>& octets, const SockAddr& to) {
    OSBuf* buf = OSBuf::Alloc(static_cast<int>(octets.size()));
    buf->PushData(octets.data(), static_cast<int>(octets.size()));
    SockAddr destination = to;
    socket->DatagramIndication(buf, nullptr, &destination);
}

void ScriptedGatekeeper::Confirm(const Received& grq, const char16_t* identifier) {
    GatekeeperConfirm gcf;
    gcf.requestSeqNum.value = grq.message.SequenceNumber();
    if (identifier != nullptr) gcf.gatekeeperIdentifier = GatekeeperIdentifier{identifier};
    gcf.rasAddress = ToTransport(address);
    Send(RasMessage(gcf), grq.from);
}

void ScriptedGatekeeper::ConfirmRegistration(const Received& rrq, std::uint32_t timeToLive) {
    RegistrationConfirm rcf;
    rcf.requestSeqNum.value = rrq.message.SequenceNumber();
    rcf.gatekeeperIdentifier = GatekeeperIdentifier{u"!Kestrel"};
    rcf.endpointIdentifier.text = u"ep-1";
    if (timeToLive != 0) rcf.timeToLive = TimeToLive{timeToLive};
    Send(RasMessage(rcf), rrq.from);
}

void ScriptedGatekeeper::Reject(const Received& rrq, RegistrationRejectReason reason) {
    RegistrationReject rrj;
    rrj.requestSeqNum.value = rrq.message.SequenceNumber();
    rrj.rejectReason = reason;
    Send(RasMessage(rrj), rrq.from);
}

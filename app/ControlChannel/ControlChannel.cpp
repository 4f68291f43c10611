#include "app/ControlChannel/ControlChannel.h"

#include <cstdarg>
#include <cstring>
#include <memory>

#include "app/ControlChannel/MediaPair.h"
#include "app/ControlChannel/TraceLine.h"
#include "app/Globals.h"
#include "common/rtpdev.h"
#include "platform/kernel/OSConsole.h"
#include "platform/kernel/RateLimit.h"

namespace {

constexpr ULONG StatisticsPeriod = 10000;  // ms; the rates of MediaPair::TraceStats rely on it
constexpr int SecondReportDevice = 2;

using Handler = void (ControlChannel::*)(ControlMessage&);

constexpr Handler Handlers[ControlMessage::NumEvents] = {
    &ControlChannel::OnMap,
    &ControlChannel::OnUnmap,
    nullptr,  // Ack
    &ControlChannel::OnHoldMusic,
    &ControlChannel::OnFreeChan,
    &ControlChannel::OnConferenceAdd,
    &ControlChannel::OnConferenceRemove,
    &ControlChannel::OnSendDigit,
    nullptr,  // Null
};

Handler HandlerOf(int event) {
    return event >= 0 && event < ControlMessage::NumEvents ? Handlers[event] : nullptr;
}

}  // namespace

ControlChannel::ControlChannel(int base) : portbase(base), s(new AsyncSocket(true)) {
    s->Create(AsyncSocket::Datagram, 0, 0, false);
    s->Bind(this);
    if (real_hardware) {
        rtpDtmf = std::make_unique<RTPDevice>(SecondReportDevice);
        rtpDtmf->SetDTMFCallback(RtpDtmfCallback, this);
    }
    traceTimer.SetCallback(TraceTimer, this, nullptr, 0);
    traceTimer.SetTimer(StatisticsPeriod);
}

ControlChannel::~ControlChannel() {
    s->Free();
    rtpDtmf.reset();
}

UWORD ControlChannel::GetPort() const {
    return static_cast<UWORD>(s->LocalPort());
}

void ControlChannel::Trace(const char* format, ...) const {
    va_list args;
    va_start(args, format);
    TraceLine("ControlChannel::", format, args);
    va_end(args);
}

void ControlChannel::Send(const ControlMessage& msg) {
    SendToNetwork(msg.SysToNet());
}

void ControlChannel::SendToNetwork(OSBuf* buf) {
    s->DatagramIndication(buf, nullptr, &addr);
}

OSIORetCode ControlChannel::DatagramIndication(OSBuf* buf, void* src, void* /*dst*/) {
    addr = *static_cast<const SockAddr*>(src);
    if (!ControlMessage::HasFixedPart(buf->Data())) {
        static RateLimit limit;
        if (limit.Allow()) {
            Trace("DatagramIndication - dropped %u bytes from %s:%u, too short for a message", buf->len,
                  addr.AddressStr().c_str(), addr.Port());
        }
        buf->Free();
        return Success;
    }
    const std::unique_ptr<ControlMessage> msg(&ControlMessage::NetToSys(buf));
    explicit_bzero(buf->data, buf->len);  // a key block may stand in it
    buf->Free();
    Receive(*msg);
    return Success;
}

void ControlChannel::Receive(ControlMessage& msg) {
    rx_seq = msg.seq;
    const Handler handler = HandlerOf(msg.event);
    if (handler == nullptr) {
        const auto octet = msg.Octets();
        Trace("Receive - unknown message seq %u, event %s, chan %u, comp %u, addr %u.%u.%u.%u, port %u",
              msg.seq, msg.Name(), msg.chan, msg.comp, octet[0], octet[1], octet[2], octet[3], msg.port);
        return;
    }
    (this->*handler)(msg);
    Acknowledge();
}

void ControlChannel::Acknowledge() {
    Trace("Receive - Sending Ack");
    ControlMessage ack;
    ack.seq = static_cast<UBYTE>(rx_seq);
    ack.event = ControlMessage::Ack;
    Send(ack);
    ++rx_seq;
}

void ControlChannel::RtpDtmfCallback(void* obj, int channel, char key, int duration) {
    if (channel < MediaChannel::FirstStream || channel % 2 == 0) return;
    auto* self = static_cast<ControlChannel*>(obj);
    const int chan = channel - MediaChannel::FirstStream;
    if (MediaPair::Get(self, chan, 0, false) == nullptr) return;

    Console->Print("ControlChannel::RtpDtmfCallback - %p, chan %d, key %c, duration %d", obj, chan, key,
                   duration);
    ControlMessage report;
    report.seq = static_cast<UBYTE>(self->rx_seq);
    report.event = ControlMessage::Digit;
    report.chan = static_cast<UWORD>(chan);
    report.addr = static_cast<ULONG>(duration);
    report.port = static_cast<UWORD>(int{static_cast<signed char>(key)});
    self->Send(report);
}

void ControlChannel::TraceTimer(OSObj* obj, void* /*param*/, unsigned long /*value*/) {
    for (MediaPair* pair : MediaPair::pairs) pair->TraceStats();
    static_cast<ControlChannel*>(obj)->traceTimer.SetTimer(StatisticsPeriod);
}

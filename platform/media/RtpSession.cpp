#include "platform/media/RtpSession.h"

#include "platform/kernel/OSConsole.h"
#include "platform/kernel/RateLimit.h"

namespace media {

RtpSession::RtpSession(OSIO& owner, ULONG& discardCount, int syscomptype)
    : syscomptype(syscomptype),
      discards(discardCount),
      input(owner, inboundGate, discards),
      rtcp(owner, input, output, inboundGate, discards),
      eventTimer(0, 0) {
    eventTimer.SetCallback(EventTimer, this, nullptr, 0);
}

// The media source and sink may be gone by now, so they are left alone; a socket that is gone has said so.
RtpSession::~RtpSession() {
    BindControl(nullptr);
    BindData(nullptr);
}

void RtpSession::BindData(OSIO* socket) {
    if (data != nullptr && data->Bound() == &input) data->UnBind();
    data = socket;
    output.SetDataSocket(socket);
    if (socket != nullptr) socket->Bind(&input);
}

void RtpSession::BindControl(OSIO* socket) {
    if (control != nullptr) {
        rtcp.Stop();
        if (control->Bound() == &rtcp) control->UnBind();
    }
    control = socket;
    output.SetControlSocket(socket);
    if (socket != nullptr) socket->Bind(&rtcp);
}

void RtpSession::Release(const OSIO* lower) {
    if (lower == control) BindControl(nullptr);
    if (lower == data) BindData(nullptr);
}

void RtpSession::Start(const SockAddr& localRtp, const StreamAttributes& attributes) {
    output.Start(attributes);
    input.Start(attributes);
    if (control != nullptr) rtcp.Start(localRtp);
}

bool RtpSession::Protect(const std::optional<StreamKeys>& keys) {
    std::unique_ptr<SrtpSession> outbound;
    std::unique_ptr<SrtpSession> inbound;
    if (keys) {
        outbound =
            SrtpSession::Create(SrtpSession::Outbound, keys->tagLength, keys->localKey, keys->localSalt);
        inbound =
            SrtpSession::Create(SrtpSession::Inbound, keys->tagLength, keys->remoteKey, keys->remoteSalt);
    }
    const bool ok = outbound != nullptr && inbound != nullptr;
    // Half a protection is none: both directions are then shut.
    output.Protect(ok ? std::move(outbound) : nullptr);
    inboundGate.Protect(ok ? std::move(inbound) : nullptr);
    return ok;
}

void RtpSession::SendDigit(char digit, int duration) {
    static RateLimit limit;
    const bool idle = !output.HasEvents();
    if (output.AddDigit(digit, duration)) {
        if (idle) SendEvents();
    } else if (Console != nullptr && limit.Allow()) {
        Console->Print("RTPEndPoint::DTMFDigit - digit %02x dropped", static_cast<unsigned>(digit) & 0xFF);
    }
}

void RtpSession::SendEvents() {
    const ULONG next = output.SendEvents();
    if (output.HasEvents()) eventTimer.SetTimer(next);
}

void RtpSession::EventTimer(OSObj* object, void* /*param*/, unsigned long /*value*/) {
    static_cast<RtpSession*>(object)->SendEvents();
}

void RtpSession::FillStats(_rtp_callstats& stats) const {
    stats = {};
    stats.hdr.success = 1;
    stats.dropped_pkt = discards.Count();
    stats.jitter_changed = input.TimingErrors();
    stats.sequence_err = input.SequenceErrors();
}

}  // namespace media

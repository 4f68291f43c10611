#include "platform/media/SrtpGate.h"

namespace media {

void SrtpGate::Protect(std::unique_ptr<SrtpSession> newSession) {
    isProtected = true;
    session = std::move(newSession);
}

bool SrtpGate::Seal(OSBuf& packet, Protocol protocol) {
    if (!isProtected) return true;
    if (session == nullptr) return false;
    const int overhead = protocol == Rtp ? session->RtpOverhead() : SrtpSession::RtcpOverhead;
    if (packet.Append(overhead) == nullptr) return false;
    return protocol == Rtp ? session->ProtectRtp(packet.Data()) : session->ProtectRtcp(packet.Data());
}

SrtpSession::Result SrtpGate::Open(OSBuf& packet, Protocol protocol) {
    if (!isProtected) return SrtpSession::Result::Ok;
    if (session == nullptr) return SrtpSession::Result::Refused;
    size_t length = 0;
    const SrtpSession::Result result = protocol == Rtp ? session->UnprotectRtp(packet.Data(), length)
                                                       : session->UnprotectRtcp(packet.Data(), length);
    if (result == SrtpSession::Result::Ok) packet.len = static_cast<UWORD>(length);
    return result;
}

}  // namespace media

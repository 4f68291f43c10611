#include "platform/media/SrtpSession.h"

#include <arpa/inet.h>
#include <srtp2/srtp.h>

#include <algorithm>
#include <cstring>

#include "platform/media/ByteOrder.h"
#include "platform/media/RtpHeader.h"

namespace media {

namespace {

constexpr int ReplayWindow = 128;
constexpr size_t RtcpFixedSize = 8;
// Sequence numbers so far behind a wrap that the wrap may have been in packets that were lost before the
// first.
constexpr UWORD JustWrapped = 2048;

// The library takes the SSRC in network byte order here, and only here.
void CloseContext(srtp_t context, ULONG ssrc) {
    srtp_remove_stream(context, htonl(ssrc));
}

srtp_policy_t MakePolicy(srtp_ssrc_t ssrc, int tagLength, UBYTE* master) {
    srtp_policy_t policy{};
    if (tagLength == 4) {
        srtp_crypto_policy_set_aes_cm_128_hmac_sha1_32(&policy.rtp);
    } else {
        srtp_crypto_policy_set_rtp_default(&policy.rtp);
    }
    srtp_crypto_policy_set_rtcp_default(&policy.rtcp);
    policy.ssrc = ssrc;
    policy.key = master;
    policy.window_size = ReplayWindow;
    return policy;
}

SrtpSession::Result ResultOf(srtp_err_status_t status) {
    if (status == srtp_err_status_ok) return SrtpSession::Result::Ok;
    const bool replayed = status == srtp_err_status_replay_fail || status == srtp_err_status_replay_old;
    return replayed ? SrtpSession::Result::Replayed : SrtpSession::Result::Refused;
}

}  // namespace

bool SrtpSession::Prepare() {
    static const bool ready = srtp_init() == srtp_err_status_ok;
    return ready;
}

std::unique_ptr<SrtpSession> SrtpSession::Create(Direction direction, int tagLength, Key key, Salt salt) {
    if ((tagLength != 4 && tagLength != 10) || !Prepare()) return {};
    std::unique_ptr<SrtpSession> session(new SrtpSession(tagLength, key, salt));
    if (!session->Open(direction)) return {};
    return session;
}

SrtpSession::SrtpSession(int tagLength, Key key, Salt salt) : tagLength(tagLength) {
    std::copy(salt.begin(), salt.end(), std::copy(key.begin(), key.end(), master.begin()));
}

SrtpSession::~SrtpSession() {
    if (context != nullptr) srtp_dealloc(context);
    explicit_bzero(master.data(), master.size());
}

bool SrtpSession::Open(Direction direction) {
    const srtp_ssrc_t any{direction == Outbound ? ssrc_any_outbound : ssrc_any_inbound, 0};
    const srtp_policy_t policy = MakePolicy(any, tagLength, master.data());
    const bool opened = srtp_create(&context, &policy) == srtp_err_status_ok;
    // Only the receiving side opens contexts later.
    if (direction == Outbound) explicit_bzero(master.data(), master.size());
    return opened;
}

bool SrtpSession::ProtectRtp(std::span<UBYTE> packet) {
    int length = static_cast<int>(packet.size()) - tagLength;
    if (length < RtpHeader::FixedSize) return false;
    return srtp_protect(context, packet.data(), &length) == srtp_err_status_ok;
}

bool SrtpSession::ProtectRtcp(std::span<UBYTE> packet) {
    int length = static_cast<int>(packet.size()) - RtcpOverhead;
    if (length < static_cast<int>(RtcpFixedSize)) return false;
    return srtp_protect_rtcp(context, packet.data(), &length) == srtp_err_status_ok;
}

SrtpSession::Result SrtpSession::UnprotectRtp(std::span<UBYTE> packet, size_t& length) {
    if (packet.size() < size_t{RtpHeader::FixedSize} + static_cast<size_t>(tagLength)) return Result::Refused;
    const ULONG ssrc = Get32(&packet[8]);
    int left = static_cast<int>(packet.size());
    const srtp_err_status_t status = srtp_unprotect(context, packet.data(), &left);
    if (status == srtp_err_status_auth_fail && RecoverWrapped(packet, length)) return Result::Ok;
    if (status == srtp_err_status_ok) {
        Remember(ssrc);
        length = static_cast<size_t>(left);
    }
    return ResultOf(status);
}

SrtpSession::Result SrtpSession::UnprotectRtcp(std::span<UBYTE> packet, size_t& length) {
    if (packet.size() < RtcpFixedSize + RtcpOverhead) return Result::Refused;
    const ULONG ssrc = Get32(&packet[4]);
    int left = static_cast<int>(packet.size());
    const srtp_err_status_t status = srtp_unprotect_rtcp(context, packet.data(), &left);
    if (status == srtp_err_status_ok) {
        Remember(ssrc);
        length = static_cast<size_t>(left);
    }
    return ResultOf(status);
}

// A sender whose first sequence numbers lie just below the wrap, and whose packets up to the wrap are lost,
// is already in roll-over 1 when it is first heard (RFC 3711, 3.3.1, has a receiver begin with 0). So the
// first packet of a source is tried there as well.
bool SrtpSession::RecoverWrapped(std::span<UBYTE> packet, size_t& length) {
    const ULONG ssrc = Get32(&packet[8]);
    if (Get16(&packet[2]) >= JustWrapped || IsKnown(ssrc) || recoveries == 0) return false;
    recoveries--;
    const srtp_policy_t policy = MakePolicy({ssrc_specific, ssrc}, tagLength, master.data());
    if (srtp_add_stream(context, &policy) != srtp_err_status_ok) return false;
    int left = static_cast<int>(packet.size());
    if (srtp_set_stream_roc(context, ssrc, 1) != srtp_err_status_ok ||
        srtp_unprotect(context, packet.data(), &left) != srtp_err_status_ok) {
        CloseContext(context, ssrc);
        return false;
    }
    Remember(ssrc);
    length = static_cast<size_t>(left);
    return true;
}

bool SrtpSession::IsKnown(ULONG ssrc) const {
    const auto end = sources.begin() + sourceCount;
    return std::find(sources.begin(), end, ssrc) != end;
}

// A peer that changes its SSRC without end must not make contexts without end.
void SrtpSession::Remember(ULONG ssrc) {
    if (IsKnown(ssrc)) return;
    recoveries = MaxRecoveries;
    if (sourceCount < MaxSources) {
        sources[static_cast<size_t>(sourceCount++)] = ssrc;
        return;
    }
    CloseContext(context, sources[static_cast<size_t>(oldest)]);
    sources[static_cast<size_t>(oldest)] = ssrc;
    oldest = (oldest + 1) % MaxSources;
}

}  // namespace media

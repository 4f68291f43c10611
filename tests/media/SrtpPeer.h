// Another SRTP to talk with: a session of libsrtp2, used as SrtpSession is.
#pragma once

#include <srtp2/srtp.h>

#include <algorithm>
#include <array>
#include <span>

#include "platform/media/SrtpSession.h"

namespace media_test {

class SrtpPeer {
 public:
    using Result = media::SrtpSession::Result;

    SrtpPeer(media::SrtpSession::Direction direction, int tagLength, media::SrtpSession::Key key,
             media::SrtpSession::Salt salt)
        : tagLength(tagLength) {
        static const bool ready = srtp_init() == srtp_err_status_ok;
        if (!ready) return;
        std::copy(salt.begin(), salt.end(), std::copy(key.begin(), key.end(), master.begin()));
        srtp_policy_t policy{};
        if (tagLength == 4) {
            srtp_crypto_policy_set_aes_cm_128_hmac_sha1_32(&policy.rtp);
        } else {
            srtp_crypto_policy_set_rtp_default(&policy.rtp);
        }
        srtp_crypto_policy_set_rtcp_default(&policy.rtcp);
        policy.ssrc.type = direction == media::SrtpSession::Outbound ? ssrc_any_outbound : ssrc_any_inbound;
        policy.key = master.data();
        policy.window_size = 128;
        if (srtp_create(&context, &policy) != srtp_err_status_ok) context = nullptr;
    }
    ~SrtpPeer() {
        if (context != nullptr) srtp_dealloc(context);
    }
    SrtpPeer(const SrtpPeer&) = delete;
    SrtpPeer& operator=(const SrtpPeer&) = delete;

    bool IsReady() const { return context != nullptr; }

    // For the next packet of a source that it has protected or opened before.
    bool SetRollOvers(ULONG ssrc, ULONG count) {
        return srtp_set_stream_roc(context, ssrc, count) == srtp_err_status_ok;
    }

    // `packet` ends with room for what protection adds.
    bool ProtectRtp(std::span<UBYTE> packet) {
        int length = static_cast<int>(packet.size()) - tagLength;
        return srtp_protect(context, packet.data(), &length) == srtp_err_status_ok;
    }
    bool ProtectRtcp(std::span<UBYTE> packet) {
        int length = static_cast<int>(packet.size()) - media::SrtpSession::RtcpOverhead;
        return srtp_protect_rtcp(context, packet.data(), &length) == srtp_err_status_ok;
    }
    Result UnprotectRtp(std::span<UBYTE> packet, size_t& length) {
        int left = static_cast<int>(packet.size());
        const srtp_err_status_t status = srtp_unprotect(context, packet.data(), &left);
        length = static_cast<size_t>(left);
        return ResultOf(status);
    }
    Result UnprotectRtcp(std::span<UBYTE> packet, size_t& length) {
        int left = static_cast<int>(packet.size());
        const srtp_err_status_t status = srtp_unprotect_rtcp(context, packet.data(), &left);
        length = static_cast<size_t>(left);
        return ResultOf(status);
    }

 private:
    static Result ResultOf(srtp_err_status_t status) {
        if (status == srtp_err_status_ok) return Result::Ok;
        const bool replayed = status == srtp_err_status_replay_fail || status == srtp_err_status_replay_old;
        return replayed ? Result::Replayed : Result::Refused;
    }

    const int tagLength;
    std::array<UBYTE, media::SrtpSession::KeySize + media::SrtpSession::SaltSize> master;
    srtp_t context = nullptr;
};

}  // namespace media_test

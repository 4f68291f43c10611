// SRTP and SRTCP of one direction (RFC 3711): AES_CM_128 with HMAC_SHA1, a context for each SSRC. One thread
// at a time. Nothing is allocated for a packet, and one that fails changes no state.
#pragma once

#include <memory>

#include "platform/media/srtp/SourceTable.h"
#include "platform/media/srtp/Transform.h"

namespace media {

class SrtpSession {
 public:
    enum Direction { Outbound, Inbound };
    enum class Result { Ok, Replayed, Refused };

    static constexpr int KeySize = srtp::SessionKeys::CipherSize;
    static constexpr int SaltSize = srtp::SessionKeys::SaltSize;
    // Contexts kept. Inbound, the one heard first goes when there are more. Outbound, none may go, as a
    // source that came back would repeat its keystream: packets of more sources are not protected.
    static constexpr int MaxSources = srtp::SourceTable::MaxSources;

    using Key = std::span<const UBYTE, KeySize>;
    using Salt = std::span<const UBYTE, SaltSize>;

    // `tagLength` of RTP: 4 or 10 bytes (RTCP always has 10). Null when it is another.
    static std::unique_ptr<SrtpSession> Create(Direction direction, int tagLength, Key key, Salt salt);

    // Bytes that protection adds behind a packet.
    int RtpOverhead() const { return static_cast<int>(rtp.TagLength()); }
    static constexpr int RtcpOverhead = 14;

    // Protects the packet in place; `packet` ends with room for the overhead, all of which is then filled.
    // False, and the packet must not be sent: it is malformed, or its sequence number was used before or is
    // more than a window behind, or the keys have protected as much as they may (RFC 3711, 9.2), or the
    // session is inbound.
    bool ProtectRtp(std::span<UBYTE> packet);
    bool ProtectRtcp(std::span<UBYTE> packet);

    // Checks and decrypts the packet in place; `length` is then the bytes left of it. An outbound session
    // refuses all.
    Result UnprotectRtp(std::span<UBYTE> packet, size_t& length);
    Result UnprotectRtcp(std::span<UBYTE> packet, size_t& length);

 private:
    static constexpr int MaxRecoveries = 64;

    SrtpSession(Direction direction, int tagLength, Key key, Salt salt);
    bool CanSendFrom(const srtp::Source& source) const;
    bool IsAuthentic(std::span<const UBYTE> packet, std::uint64_t index);
    bool IsWrapped(std::span<const UBYTE> packet, const srtp::Source& source);

    // What every packet needs lies together.
    srtp::SourceTable sources;
    srtp::Transform rtp;
    const Direction direction;
    int recoveries = MaxRecoveries;  // attempts left until a new source is heard
    srtp::Transform rtcp;
};

}  // namespace media

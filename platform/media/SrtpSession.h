// SRTP and SRTCP of one direction (RFC 3711): AES_CM_128 with HMAC_SHA1, a context for each SSRC. One thread
// at a time. A packet that fails changes no state.
#pragma once

#include <array>
#include <memory>
#include <span>

#include "platform/kernel/Types.h"

struct srtp_ctx_t_;

namespace media {

class SrtpSession {
 public:
    enum Direction { Outbound, Inbound };
    enum class Result { Ok, Replayed, Refused };

    static constexpr int KeySize = 16;
    static constexpr int SaltSize = 14;
    static constexpr int MaxSources = 16;  // contexts kept; the one heard first goes when there are more

    using Key = std::span<const UBYTE, KeySize>;
    using Salt = std::span<const UBYTE, SaltSize>;

    // Loads the cryptographic library, which takes tens of milliseconds once: better before audio flows.
    static bool Prepare();
    // `tagLength` of RTP: 4 or 10 bytes (RTCP always has 10). Null when it is another, or the library fails.
    static std::unique_ptr<SrtpSession> Create(Direction direction, int tagLength, Key key, Salt salt);
    ~SrtpSession();
    SrtpSession(const SrtpSession&) = delete;
    SrtpSession& operator=(const SrtpSession&) = delete;

    // Bytes that protection adds behind a packet.
    int RtpOverhead() const { return tagLength; }
    static constexpr int RtcpOverhead = 14;

    // Protects the packet in place; `packet` ends with room for the overhead, all of which is then filled.
    bool ProtectRtp(std::span<UBYTE> packet);
    bool ProtectRtcp(std::span<UBYTE> packet);

    // Checks and decrypts the packet in place; `length` is then the bytes left of it.
    Result UnprotectRtp(std::span<UBYTE> packet, size_t& length);
    Result UnprotectRtcp(std::span<UBYTE> packet, size_t& length);

 private:
    static constexpr int MasterSize = KeySize + SaltSize;
    static constexpr int MaxRecoveries = 64;

    SrtpSession(int tagLength, Key key, Salt salt);
    bool Open(Direction direction);
    bool RecoverWrapped(std::span<UBYTE> packet, size_t& length);
    bool IsKnown(ULONG ssrc) const;
    void Remember(ULONG ssrc);

    const int tagLength;
    srtp_ctx_t_* context = nullptr;
    std::array<UBYTE, MasterSize> master;  // for contexts that are opened later; wiped at the end
    std::array<ULONG, MaxSources> sources{};
    int sourceCount = 0;
    int oldest = 0;
    int recoveries = MaxRecoveries;  // attempts left until a new source is heard
};

}  // namespace media

// The RTCP side of a lab peer: writes its sender and receiver reports, and reads the module's.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>

#include "platform/media/RtcpPacket.h"
#include "platform/media/SrtpSession.h"
#include "tools/lab/RtpReceiver.h"
#include "tools/lab/RtpSender.h"

namespace lab {

// One thread.
class RtcpReporter {
 public:
    static constexpr std::int64_t IntervalNs = 5'000'000'000;

    // What the module has reported.
    struct Heard {
        std::uint64_t compounds = 0;
        std::uint64_t malformed = 0;    // no valid compound packet
        std::uint64_t unauthentic = 0;  // refused by SRTCP
        bool bye = false;
        std::optional<media::RtcpSenderInfo> sender;    // the latest
        std::optional<media::RtcpReportBlock> aboutUs;  // the latest
        std::string cname;
    };

    void Protect(std::unique_ptr<media::SrtpSession> out, std::unique_ptr<media::SrtpSession> in);

    // A compound packet into `room`; bytes written, 0 when it failed.
    std::size_t Write(const RtpSender& sender, RtpReceiver& receiver, std::span<UBYTE> room);
    // A datagram as received, decrypted in place. `ourSsrc`: about whom blocks are looked for.
    void OnDatagram(std::span<UBYTE> datagram, ULONG ourSsrc, std::int64_t atNs);

    const Heard& What() const { return heard; }

 private:
    void OnPacket(const media::RtcpPacket& packet, ULONG ourSsrc, std::int64_t atNs);

    std::unique_ptr<media::SrtpSession> outbound;
    std::unique_ptr<media::SrtpSession> inbound;
    std::int64_t senderReportAtNs = 0;
    Heard heard;
};

}  // namespace lab

// RTCP datagrams: the parser stays inside them, whatever they announce, and the control half of an endpoint
// survives them.
#include <cstdlib>

#include "platform/kernel/Kernel.h"
#include "platform/media/MediaTypes.h"
#include "platform/media/RTPEndPoint.h"
#include "platform/media/RtcpPacket.h"

namespace {

class NoSocket : public OSIO {};

void Read(const media::RtcpPacket& packet, std::span<const UBYTE> datagram) {
    static volatile ULONG sum;
    sum = sum + packet.Ssrc() + (packet.Leaves(1) ? 1 : 0);
    if (const auto info = packet.SenderInfo()) sum = sum + info->packets;
    for (int i = 0; i < packet.BlockCount(); i++) sum = sum + packet.Block(i).jitter;
    const std::string_view name = packet.Cname();
    for (const char c : name) sum = sum + static_cast<UBYTE>(c);
    if (name.size() > datagram.size()) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const UBYTE* bytes, size_t size) {
    static const bool ready = [] {
        KernelCfg cfg;
        os_startup(0, 0, &cfg);
        OSTrigger::TLSInitialise();
        return true;
    }();
    if (!ready || size > 2000) return 0;
    const std::span<const UBYTE> datagram(bytes, size);
    size_t packets = 0;
    for (auto rest = datagram; const auto packet = media::RtcpPacket::Next(rest);) {
        Read(*packet, datagram);
        packets++;
    }
    if (packets * 4 > size) std::abort();

    NoSocket control;
    RTPEndPoint endpoint({}, {}, media::Alaw, true);
    endpoint.BindStreamControl(&control);
    endpoint.SetMSA({}, {}, {}, {}, media::Alaw, 20, media::DtmfPayloadType);
    OSBuf* buf = OSBuf::Alloc(static_cast<int>(size));
    buf->PushData(bytes, static_cast<int>(size));
    const bool valid = media::RtcpPacket::IsCompound(datagram);
    if ((control.Bound()->DatagramIndication(buf, nullptr, nullptr) == Success) != valid) std::abort();
    return 0;
}

// RTP datagrams: the parser stays inside them, and a whole endpoint survives any sequence of them, in the
// clear and under SRTP.
#include <cstdlib>

#include "platform/kernel/Kernel.h"
#include "platform/media/MediaDevice.h"
#include "platform/media/MediaTypes.h"
#include "platform/media/RTPEndPoint.h"
#include "platform/media/RtpHeader.h"

namespace {

constexpr size_t MaxDatagram = 300;

class Sink : public MediaDevice {
 public:
    OSIORetCode DataIndication(OSBuf* buf) override {
        for (const UBYTE byte : buf->Data()) sum += byte;
        buf->Free();
        return Success;
    }
    ULONG sum = 0;
};

class NoSocket : public OSIO {};

void CheckParser(std::span<const UBYTE> datagram) {
    const auto packet = media::RtpHeader::Parse(datagram);
    if (!packet || packet->payload.empty()) return;
    if (packet->payload.data() < datagram.data() + media::RtpHeader::FixedSize) std::abort();
    if (packet->payload.data() + packet->payload.size() > datagram.data() + datagram.size()) std::abort();
}

void Deliver(OSIO* to, std::span<const UBYTE> datagram) {
    OSBuf* buf = OSBuf::Alloc(static_cast<int>(datagram.size()));
    buf->PushData(datagram.data(), static_cast<int>(datagram.size()));
    to->DatagramIndication(buf, nullptr, nullptr);
}

// An endpoint with its sink and the place of its socket.
struct Leg {
    explicit Leg(int comp) : endpoint({}, {}, media::Alaw, true) {
        endpoint.BindMediaSink(&sink);
        endpoint.BindStreamData(&socket);
        endpoint.SetMSA({}, {}, {}, {}, comp, 20, media::DtmfPayloadType);
    }
    Sink sink;
    NoSocket socket;
    RTPEndPoint endpoint;
};

// Serves all inputs: keys are dear to set up, and what is not authentic must not change it.
OSIO* ProtectedInput(bool shortTag) {
    const auto make = [](int tagLength) {
        unsigned char key[16] = {};
        unsigned char salt[14] = {};
        auto* leg = new Leg(media::Alaw);
        if (leg->endpoint.SRTPEnable(tagLength, salt, key, salt, key) != 0) std::abort();
        return leg;
    };
    static Leg* const legs[] = {make(10), make(4)};
    return legs[shortTag ? 1 : 0]->socket.Bound();
}

}  // namespace

// The first byte chooses the codec and protection; then one byte of length and a datagram, again and again.
extern "C" int LLVMFuzzerTestOneInput(const UBYTE* bytes, size_t size) {
    static const bool ready = [] {
        KernelCfg cfg;
        os_startup(0, 0, &cfg);
        OSTrigger::TLSInitialise();
        return true;
    }();
    if (!ready || size == 0) return 0;
    constexpr int Comps[] = {media::Alaw, media::Ulaw, media::G729, media::Relay};
    const UBYTE choice = bytes[0];
    Leg leg(Comps[choice & 3]);
    OSIO* input = (choice & 4) != 0 ? ProtectedInput((choice & 8) != 0) : leg.socket.Bound();
    std::span<const UBYTE> rest(bytes + 1, size - 1);
    while (!rest.empty()) {
        const size_t length = std::min<size_t>(rest[0] % MaxDatagram, rest.size() - 1);
        CheckParser(rest.subspan(1, length));
        Deliver(input, rest.subspan(1, length));
        rest = rest.subspan(1 + length);
    }
    return 0;
}

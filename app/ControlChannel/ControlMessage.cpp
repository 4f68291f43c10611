#include "app/ControlChannel/ControlMessage.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr int LongestShortChan = 127;

// Takes big-endian numbers from the front of a datagram; past its end everything is 0.
class Reader {
 public:
    explicit Reader(std::span<const UBYTE> datagram) : rest(datagram) {}

    ULONG Take(int bytes) {
        ULONG value = 0;
        for (; bytes > 0; --bytes) value = value << 8 | TakeByte();
        return value;
    }
    std::span<const UBYTE> Rest() const { return rest; }

 private:
    UBYTE TakeByte() {
        if (rest.empty()) return 0;
        const UBYTE byte = rest.front();
        rest = rest.subspan(1);
        return byte;
    }

    std::span<const UBYTE> rest;
};

UBYTE* Put(UBYTE* at, ULONG value, int bytes) {
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) *at++ = static_cast<UBYTE>(value >> shift);
    return at;
}

}  // namespace

const char* const ControlMessage::EventName[NumEvents] = {
    "Map", "Unmap", "Ack", "HoldMusic", "FreeChan", "ConfAdd", "ConfRemove", "Digit", "Null"};

ControlMessage::~ControlMessage() {
    if (extra != nullptr) explicit_bzero(extra, static_cast<size_t>(extraLen));
    delete[] extra;
}

ControlMessage& ControlMessage::Alloc(int seq, Event event, int chan, CompType comp, unsigned long addr,
                                      unsigned short port, unsigned char mfpp) {
    auto& msg = *new ControlMessage;
    msg.seq = static_cast<UBYTE>(seq);
    msg.event = event;
    msg.chan = static_cast<UWORD>(chan);
    msg.comp = comp;
    msg.addr = static_cast<ULONG>(addr);
    msg.port = port;
    msg.mfpp = mfpp;
    return msg;
}

OSBuf* ControlMessage::SysToNet() const {
    OSBuf* buf = OSBuf::Alloc(extraLen + 64);
    UBYTE* at = buf->PushDown(extraLen + 20);
    at = Put(at, seq, 1);
    at = Put(at, event, 1);
    at = chan <= LongestShortChan ? Put(at, chan, 1) : Put(at, 0x8000U | chan, 2);
    at = Put(at, comp, 1);
    at = Put(at, addr, 4);
    at = Put(at, port, 2);
    at = Put(at, mfpp, 1);
    at = Put(at, flags, 1);
    at = std::ranges::copy(Extra(), at).out;
    buf->len = static_cast<UWORD>(at - buf->data);
    return buf;
}

bool ControlMessage::HasFixedPart(std::span<const UBYTE> datagram) {
    if (datagram.size() < 3) return false;
    const size_t header = (datagram[2] & 0x80) != 0 ? 4 : 3;
    return datagram.size() >= header + 7;
}

ControlMessage& ControlMessage::NetToSys(OSBuf* buf) {
    Reader in(buf->Data());
    auto& msg = *new ControlMessage;
    msg.seq = static_cast<UBYTE>(in.Take(1));
    msg.event = static_cast<Event>(in.Take(1));
    msg.chan = static_cast<UWORD>(in.Take(1));
    if ((msg.chan & 0x80) != 0) msg.chan = static_cast<UWORD>((msg.chan & 0x7F) << 8 | in.Take(1));
    msg.comp = static_cast<CompType>(in.Take(1));
    msg.addr = in.Take(4);
    msg.port = static_cast<UWORD>(in.Take(2));
    msg.mfpp = static_cast<UBYTE>(in.Take(1));
    msg.flags = static_cast<UBYTE>(in.Take(1));
    if (!in.Rest().empty()) {
        buf->Print();
        msg.extraLen = static_cast<int>(in.Rest().size());
        msg.extra = new UBYTE[in.Rest().size()];
        std::ranges::copy(in.Rest(), msg.extra);
    }
    return msg;
}

const char* ControlMessage::Name() const {
    return event >= 0 && event < NumEvents ? EventName[event] : "<unknown>";
}

std::array<unsigned, 4> ControlMessage::Octets() const {
    return {addr >> 24, addr >> 16 & 0xFF, addr >> 8 & 0xFF, addr & 0xFF};
}

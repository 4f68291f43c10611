#include "tools/lab/ControlDatagram.h"

#include "tools/lab/Codec.h"
#include "tools/lab/SockAddrText.h"

namespace lab {

namespace {

// Reads big-endian numbers off the front; once it has run out it gives zeros and says so.
class Reader {
 public:
    explicit Reader(std::span<const UBYTE> data) : rest(data) {}

    ULONG Take(std::size_t bytes) {
        if (rest.size() < bytes) {
            short_ = true;
            rest = {};
            return 0;
        }
        ULONG value = 0;
        for (const UBYTE byte : rest.first(bytes)) value = value << 8 | byte;
        rest = rest.subspan(bytes);
        return value;
    }
    bool RanShort() const { return short_; }
    std::span<const UBYTE> Rest() const { return rest; }

 private:
    std::span<const UBYTE> rest;
    bool short_ = false;
};

void Put(std::vector<UBYTE>& out, ULONG value, int bytes) {
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        out.push_back(static_cast<UBYTE>(value >> shift));
}

constexpr const char* EventTexts[] = {"Map",     "Unmap",      "Ack",   "HoldMusic", "FreeChan",
                                      "ConfAdd", "ConfRemove", "Digit", "Null"};

}  // namespace

const char* ToText(ControlEvent event) {
    return event <= ControlEvent::Null ? EventTexts[static_cast<int>(event)] : "unknown event";
}

std::vector<UBYTE> ControlDatagram::Encode() const {
    std::vector<UBYTE> out{seq, static_cast<UBYTE>(event)};
    if (chan < 128) {
        Put(out, chan, 1);
    } else {
        Put(out, 0x8000U | chan, 2);
    }
    Put(out, comp, 1);
    Put(out, addr, 4);
    Put(out, port, 2);
    Put(out, mfpp, 1);
    Put(out, flags, 1);
    out.insert(out.end(), extra.begin(), extra.end());
    return out;
}

std::optional<ControlDatagram> ControlDatagram::Decode(std::span<const UBYTE> datagram) {
    Reader in(datagram);
    ControlDatagram message;
    message.seq = static_cast<UBYTE>(in.Take(1));
    message.event = static_cast<ControlEvent>(in.Take(1));
    const ULONG first = in.Take(1);
    message.chan = static_cast<UWORD>(first < 128 ? first : (first & 0x7F) << 8 | in.Take(1));
    message.comp = static_cast<UBYTE>(in.Take(1));
    message.addr = in.Take(4);
    message.port = static_cast<UWORD>(in.Take(2));
    if (in.RanShort()) return std::nullopt;
    message.mfpp = static_cast<UBYTE>(in.Take(1));
    message.flags = static_cast<UBYTE>(in.Take(1));
    message.extra.assign(in.Rest().begin(), in.Rest().end());
    return message;
}

std::string ControlDatagram::Describe() const {
    std::string text = std::string(ToText(event)) + ", channel " + std::to_string(chan);
    switch (event) {
        case ControlEvent::Digit:
            return text + ", key " + static_cast<char>(port) + ", " + std::to_string(addr) + " ms";
        case ControlEvent::ConfAdd:
        case ControlEvent::ConfRemove:
            return text + ", conference of channel " + std::to_string(port);
        case ControlEvent::Map:
        case ControlEvent::HoldMusic:
            text += ", " + CodecName(static_cast<Codec>(comp)) + ", " + ToText(SockAddr(addr, port));
            return text + (extra.empty() ? "" : ", with SRTP keys");
        default:
            return text;
    }
}

}  // namespace lab

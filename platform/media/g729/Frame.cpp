#include "platform/media/g729/Frame.h"

namespace g729 {

namespace {

// Takes fields from the most significant bit on.
class Reader {
 public:
    explicit Reader(const std::uint8_t* octets) : octets(octets) {}

    std::uint16_t Take(int bits) {
        while (held < bits) {
            window = window << 8 | *octets++;
            held += 8;
        }
        held -= bits;
        return static_cast<std::uint16_t>((window >> held) & ((1u << bits) - 1));
    }

    std::uint8_t TakeOctet(int bits) { return static_cast<std::uint8_t>(Take(bits)); }

 private:
    const std::uint8_t* octets;
    std::uint32_t window = 0;
    int held = 0;
};

class Writer {
 public:
    explicit Writer(std::uint8_t* octets) : octets(octets) {}

    void Put(unsigned value, int bits) {
        window = window << bits | value;
        held += bits;
        while (held >= 8) {
            held -= 8;
            *octets++ = static_cast<std::uint8_t>(window >> held);
        }
    }

 private:
    std::uint8_t* octets;
    std::uint32_t window = 0;
    int held = 0;
};

}  // namespace

Frame Frame::Unpack(const std::uint8_t octets[FrameBytes]) {
    Reader reader(octets);
    Frame frame;
    frame.lsp.mode = reader.TakeOctet(1);
    frame.lsp.first = reader.TakeOctet(7);
    frame.lsp.low = reader.TakeOctet(5);
    frame.lsp.high = reader.TakeOctet(5);
    for (Subframe& part : frame.subframes) {
        const bool isFirst = &part == frame.subframes;
        part.lag = reader.TakeOctet(isFirst ? 8 : 5);
        if (isFirst) frame.parity = reader.TakeOctet(1);
        part.positions = reader.Take(13);
        part.signs = reader.TakeOctet(4);
        part.gain1 = reader.TakeOctet(3);
        part.gain2 = reader.TakeOctet(4);
    }
    return frame;
}

void Frame::Pack(std::uint8_t octets[FrameBytes]) const {
    Writer writer(octets);
    writer.Put(lsp.mode, 1);
    writer.Put(lsp.first, 7);
    writer.Put(lsp.low, 5);
    writer.Put(lsp.high, 5);
    for (const Subframe& part : subframes) {
        const bool isFirst = &part == subframes;
        writer.Put(part.lag, isFirst ? 8 : 5);
        if (isFirst) writer.Put(parity, 1);
        writer.Put(part.positions, 13);
        writer.Put(part.signs, 4);
        writer.Put(part.gain1, 3);
        writer.Put(part.gain2, 4);
    }
}

std::uint8_t Frame::ParityOf(std::uint8_t lag) {
    return static_cast<std::uint8_t>(1 ^ (__builtin_popcount(lag >> 2) & 1));
}

}  // namespace g729

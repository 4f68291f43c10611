#include "platform/h323/RasDecoder.h"

namespace h323 {

void RasDecoder::Get(OctetString& value) {
    const std::span<const std::uint8_t> octets = per.Octets(per.Length());
    value.octets.assign(octets.begin(), octets.end());
}

void RasDecoder::Get(ObjectId& value) {
    const std::span<const std::uint8_t> contents = per.Octets(per.Length());
    // X.690, 8.19.2: the last octet of a component has bit 8 clear.
    if (contents.empty() || (contents.back() & 0x80) != 0) return per.Fail();
    value.contents.assign(contents.begin(), contents.end());
}

void RasDecoder::Get(DigitText& value) {
    const std::uint32_t size = per.Integer(1, 128);
    per.Align();
    for (std::uint32_t i = 0; i < size && !per.Failed(); ++i) {
        const std::uint32_t code = per.Bits(4);
        if (code >= DigitText::Alphabet.size()) return per.Fail();
        value.text.push_back(DigitText::Alphabet[code]);
    }
}

// The numbers of the additions whose presence bit is set.
std::vector<std::uint32_t> RasDecoder::GetPresentIndexes() {
    std::vector<std::uint32_t> indexes;
    const std::size_t count = per.SmallLength();
    for (std::uint32_t i = 0; i < count && !per.Failed(); ++i) {
        if (per.Bit()) indexes.push_back(i);
    }
    return indexes;
}

std::span<const std::uint8_t> RasDecoder::GetSized(std::uint32_t low, std::uint32_t high,
                                                   std::size_t octetsEach) {
    const std::uint32_t size = per.Integer(low, high);
    per.Align();
    return per.Octets(size * octetsEach);
}

}  // namespace h323

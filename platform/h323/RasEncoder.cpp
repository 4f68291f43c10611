#include "platform/h323/RasEncoder.h"

namespace h323 {

void RasEncoder::Put(const OctetString& value) {
    per.Length(value.octets.size());
    per.Octets(value.octets);
}

void RasEncoder::Put(const ObjectId& value) {
    if (value.contents.empty()) per.Fail();
    per.Length(value.contents.size());
    per.Octets(value.contents);
}

void RasEncoder::Put(const DigitText& value) {
    PutSize(value.text.size(), 1, 128);
    for (const char c : value.text) {
        const std::size_t code = DigitText::Alphabet.find(c);
        if (code == std::string_view::npos) return per.Fail();
        per.Bits(static_cast<std::uint32_t>(code), 4);
    }
}

void RasEncoder::PutUnknown(const UnknownAlternative& value) {
    PerWriter content;
    content.Octets(value.content);
    per.Bit(true);
    per.SmallNumber(value.index);
    per.OpenType(content);
}

// The size of a text or octet string of variable length; what follows it is aligned.
void RasEncoder::PutSize(std::size_t size, std::uint32_t low, std::uint32_t high) {
    if (size > high) return per.Fail();
    per.Integer(static_cast<std::uint32_t>(size), low, high);
    per.Align();
}

}  // namespace h323

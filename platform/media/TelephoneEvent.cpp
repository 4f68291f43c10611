#include "platform/media/TelephoneEvent.h"

#include <string_view>

#include "platform/media/ByteOrder.h"

namespace media {

namespace {

constexpr std::string_view Digits = "0123456789*#ABCD!";  // by event number
constexpr UBYTE EndBit = 0x80;
constexpr UBYTE VolumeMask = 0x3F;

}  // namespace

std::optional<TelephoneEvent> TelephoneEvent::Parse(std::span<const UBYTE> payload) {
    if (payload.size() < Size) return {};
    TelephoneEvent parsed;
    parsed.event = payload[0];
    parsed.end = (payload[1] & EndBit) != 0;
    parsed.volume = payload[1] & VolumeMask;
    parsed.duration = Get16(&payload[2]);
    return parsed;
}

void TelephoneEvent::Write(std::span<UBYTE, Size> out) const {
    out[0] = event;
    out[1] = static_cast<UBYTE>((end ? EndBit : 0) | (volume & VolumeMask));
    Put16(&out[2], duration);
}

int TelephoneEvent::OfDigit(char digit) {
    if (digit >= 'a' && digit <= 'd') digit = static_cast<char>(digit - 'a' + 'A');
    const size_t at = Digits.find(digit);
    return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

char TelephoneEvent::Digit() const {
    return event < Digits.size() ? Digits[event] : '\0';
}

}  // namespace media

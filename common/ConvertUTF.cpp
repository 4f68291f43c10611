#include "common/ConvertUTF.h"

#include <cstddef>
#include <span>

namespace {

constexpr UTF32 Replacement = 0xFFFD;
constexpr UTF32 MaxBmp = 0xFFFF;
constexpr UTF32 MaxCodePoint = 0x10FFFF;

bool IsHighSurrogate(UTF32 ch) {
    return ch >= 0xD800 && ch <= 0xDBFF;
}
bool IsLowSurrogate(UTF32 ch) {
    return ch >= 0xDC00 && ch <= 0xDFFF;
}
bool IsSurrogate(UTF32 ch) {
    return ch >= 0xD800 && ch <= 0xDFFF;
}

// Bytes of the character that `lead` begins, by the original definition of up to six bytes; what cannot begin
// one counts as one byte.
int AnnouncedLength(UTF8 lead) {
    if (lead < 0xC0) return 1;
    if (lead < 0xE0) return 2;
    if (lead < 0xF0) return 3;
    if (lead < 0xF8) return 4;
    return lead < 0xFC ? 5 : 6;
}

// What one read from a source gives: a value, or why there is none. `units` is how much of the source it is.
struct Decoded {
    UTF32 value;
    int units;
    ConversionResult result;
};

Decoded Read(std::span<const UTF32> source, ConversionFlags /*flags*/) {
    return {source.front(), 1, conversionOK};
}

Decoded Read(std::span<const UTF16> source, ConversionFlags flags) {
    const UTF32 first = source.front();
    if (IsHighSurrogate(first)) {
        if (source.size() < 2) return {0, 0, sourceExhausted};
        if (IsLowSurrogate(source[1])) {
            return {((first - 0xD800) << 10) + (source[1] - 0xDC00U) + 0x10000, 2, conversionOK};
        }
    }
    if (IsSurrogate(first) && flags == strictConversion) return {0, 0, sourceIllegal};
    return {first, 1, conversionOK};
}

Decoded Read(std::span<const UTF8> source, ConversionFlags /*flags*/) {
    const int length = AnnouncedLength(source.front());
    if (static_cast<std::size_t>(length) > source.size()) return {0, 0, sourceExhausted};
    if (!isLegalUTF8(source.data(), length)) return {0, 0, sourceIllegal};
    UTF32 value = length == 1 ? source[0] : source[0] & (0xFF >> (length + 1));
    for (const UTF8 byte : source.subspan(1, static_cast<std::size_t>(length) - 1)) {
        value = value << 6 | (byte & 0x3F);
    }
    return {value, length, conversionOK};
}

// Writes one value. conversionOK, or targetExhausted with nothing written, or sourceIllegal for one that the
// form cannot carry: `stop` then says whether the conversion ends in front of it.
struct Encoded {
    int units;
    ConversionResult result;
    bool stop;
};

constexpr Encoded NoRoom{0, targetExhausted, true};
constexpr Encoded Refused{0, sourceIllegal, true};

Encoded Write(UTF32 value, std::span<UTF32> target, ConversionFlags /*flags*/) {
    if (target.empty()) return NoRoom;
    target[0] = value;
    return {1, conversionOK, false};
}

Encoded Write(UTF32 value, std::span<UTF16> target, ConversionFlags flags) {
    if (target.empty()) return NoRoom;
    if (IsSurrogate(value) || value > MaxCodePoint) {
        if (flags == strictConversion) return {0, sourceIllegal, IsSurrogate(value)};
        value = Replacement;
    }
    if (value <= MaxBmp) {
        target[0] = static_cast<UTF16>(value);
        return {1, conversionOK, false};
    }
    if (target.size() < 2) return NoRoom;
    value -= 0x10000;
    target[0] = static_cast<UTF16>(0xD800 + (value >> 10));
    target[1] = static_cast<UTF16>(0xDC00 + (value & 0x3FF));
    return {2, conversionOK, false};
}

int EncodedLength(UTF32 value) {
    if (value < 0x80) return 1;
    if (value < 0x800) return 2;
    return value <= MaxBmp ? 3 : 4;
}

Encoded Write(UTF32 value, std::span<UTF8> target, ConversionFlags flags) {
    if (IsSurrogate(value) && flags == strictConversion) return Refused;
    const bool outOfRange = value > MaxCodePoint;
    if (outOfRange) value = Replacement;
    const int length = EncodedLength(value);
    if (target.size() < static_cast<std::size_t>(length)) return NoRoom;
    for (int i = length - 1; i > 0; i--) {
        target[static_cast<std::size_t>(i)] = static_cast<UTF8>(0x80 | (value & 0x3F));
        value >>= 6;
    }
    static constexpr UTF8 LeadMark[] = {0, 0x00, 0xC0, 0xE0, 0xF0};
    target[0] = static_cast<UTF8>(LeadMark[length] | value);
    return {length, outOfRange ? sourceIllegal : conversionOK, false};
}

template <class Source, class Target>
ConversionResult Convert(const Source** sourceStart, const Source* sourceEnd, Target** targetStart,
                         Target* targetEnd, ConversionFlags flags) {
    ConversionResult result = conversionOK;
    while (*sourceStart < sourceEnd) {
        const Decoded read = Read(std::span<const Source>(*sourceStart, sourceEnd), flags);
        if (read.result != conversionOK) return read.result;
        const Encoded written = Write(read.value, std::span<Target>(*targetStart, targetEnd), flags);
        if (written.result != conversionOK) result = written.result;
        if (written.stop) return result;
        *sourceStart += read.units;
        *targetStart += written.units;
    }
    return result;
}

// The span of second bytes that Unicode, table 3-7, allows behind a first byte.
bool IsLegalSecond(UTF8 first, UTF8 second) {
    switch (first) {
        case 0xE0:
            return second >= 0xA0 && second <= 0xBF;
        case 0xED:
            return second >= 0x80 && second <= 0x9F;
        case 0xF0:
            return second >= 0x90 && second <= 0xBF;
        case 0xF4:
            return second >= 0x80 && second <= 0x8F;
        default:
            return second >= 0x80 && second <= 0xBF;
    }
}

}  // namespace

bool isLegalUTF8(const UTF8* source, int length) {
    if (length == 1) return source[0] < 0x80;
    if (length < 1 || length > 4 || source[0] < 0xC2 || source[0] > 0xF4) return false;
    for (int i = 2; i < length; i++) {
        if ((source[i] & 0xC0) != 0x80) return false;
    }
    return IsLegalSecond(source[0], source[1]);
}

bool isLegalUTF8Sequence(const UTF8* source, const UTF8* sourceEnd) {
    if (source >= sourceEnd) return false;
    const int length = AnnouncedLength(*source);
    return length <= sourceEnd - source && isLegalUTF8(source, length);
}

ConversionResult ConvertUTF32toUTF16(const UTF32** sourceStart, const UTF32* sourceEnd, UTF16** targetStart,
                                     UTF16* targetEnd, ConversionFlags flags) {
    return Convert(sourceStart, sourceEnd, targetStart, targetEnd, flags);
}

ConversionResult ConvertUTF16toUTF32(const UTF16** sourceStart, const UTF16* sourceEnd, UTF32** targetStart,
                                     UTF32* targetEnd, ConversionFlags flags) {
    return Convert(sourceStart, sourceEnd, targetStart, targetEnd, flags);
}

ConversionResult ConvertUTF16toUTF8(const UTF16** sourceStart, const UTF16* sourceEnd, UTF8** targetStart,
                                    UTF8* targetEnd, ConversionFlags flags) {
    return Convert(sourceStart, sourceEnd, targetStart, targetEnd, flags);
}

ConversionResult ConvertUTF8toUTF16(const UTF8** sourceStart, const UTF8* sourceEnd, UTF16** targetStart,
                                    UTF16* targetEnd, ConversionFlags flags) {
    return Convert(sourceStart, sourceEnd, targetStart, targetEnd, flags);
}

ConversionResult ConvertUTF32toUTF8(const UTF32** sourceStart, const UTF32* sourceEnd, UTF8** targetStart,
                                    UTF8* targetEnd, ConversionFlags flags) {
    return Convert(sourceStart, sourceEnd, targetStart, targetEnd, flags);
}

ConversionResult ConvertUTF8toUTF32(const UTF8** sourceStart, const UTF8* sourceEnd, UTF32** targetStart,
                                    UTF32* targetEnd, ConversionFlags flags) {
    return Convert(sourceStart, sourceEnd, targetStart, targetEnd, flags);
}

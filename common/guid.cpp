#include "common/guid.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/kernel/CriticalSection.h"
#include "platform/kernel/OperatingSystem.h"

namespace {

constexpr std::size_t NodeBytes = 6;
constexpr std::size_t GuidBytes = 16;
constexpr std::size_t TextLength = 36;
constexpr UWORD ClockSequences = 0x4000;
constexpr UBYTE Version = 0x10;
constexpr UBYTE Variant = 0x80;
constexpr UBYTE RandomNode = 0x80;

std::array<UBYTE, NodeBytes> guid_mac{};
bool guid_mac_set = false;

// The place of each byte's two digits in the text.
constexpr std::array<std::size_t, GuidBytes> Digits{0,  2,  4,  6,  9,  11, 14, 16,
                                                    19, 21, 24, 26, 28, 30, 32, 34};

// What tells an identifier from the last one.
class GuidClock {
 public:
    GuidClock() : clock_seq(static_cast<UWORD>(random() % ClockSequences)) { InitializeCriticalSection(&cs); }
    ~GuidClock() { DeleteCriticalSection(&cs); }
    GuidClock(const GuidClock&) = delete;
    GuidClock& operator=(const GuidClock&) = delete;

    // Writes bytes 0 to 9.
    void Stamp(unsigned char* guid) {
        const CriticalSectionLock lock(cs);
        Advance();
        for (int i = 0; i < 4; i++) {
            guid[i] = static_cast<UBYTE>(last_time_low >> 8 * i);
            guid[4 + i] = static_cast<UBYTE>(last_time_hi >> 8 * i);
        }
        guid[7] = static_cast<UBYTE>(Version | (guid[7] & 0x0F));
        guid[8] = static_cast<UBYTE>(Variant | clock_seq >> 8);
        guid[9] = static_cast<UBYTE>(clock_seq);
    }

 private:
    void Advance() {
        timeval now{};
        kernel::System().WallClock(now);
        const auto hi = static_cast<ULONG>(now.tv_sec);
        const auto low = static_cast<ULONG>(now.tv_usec);
        if (hi == last_time_hi && low == last_time_low) {
            clock_seq = static_cast<UWORD>((clock_seq + 1) % ClockSequences);
        }
        last_time_hi = hi;
        last_time_low = low;
    }

    CRITICAL_SECTION cs;
    ULONG last_time_low = 0;  // microseconds
    ULONG last_time_hi = 0;   // seconds
    UWORD clock_seq;
};

unsigned DigitValue(char digit) {
    const int code = std::toupper(static_cast<unsigned char>(digit));
    return static_cast<unsigned>(code > 64 ? code - 55 : code - 48);
}

}  // namespace

void GUIDSetMac(unsigned char* mac) {
    std::copy_n(mac, NodeBytes, guid_mac.begin());
    guid_mac_set = true;
}

unsigned char* BuildGUID(unsigned char* guid, unsigned char* mac) {
    static GuidClock clock;
    clock.Stamp(guid);
    unsigned char* node = guid + 10;
    if (mac != nullptr) {
        std::copy_n(mac, NodeBytes, node);
    } else if (guid_mac_set) {
        std::copy(guid_mac.begin(), guid_mac.end(), node);
    } else {
        std::generate_n(node, NodeBytes, [] { return static_cast<UBYTE>(random()); });
        node[0] |= RandomNode;
    }
    return guid;
}

char* GUIDToString(unsigned char* guid, char* s) {
    snprintf(s, TextLength + 1,
             "%02x%02x%02x%02x-%02x%02x-%02x%02x-%02x%02x-%02x%02x%02x%02x%02x%02x",  //
             guid[0], guid[1], guid[2], guid[3], guid[4], guid[5], guid[6], guid[7], guid[8], guid[9],
             guid[10], guid[11], guid[12], guid[13], guid[14], guid[15]);
    return s;
}

void GUIDFromString(unsigned char* guid, char* value) {
    if (*value == '"') value++;
    std::array<char, TextLength> text;
    text.fill('0');
    std::copy_n(value, strnlen(value, TextLength), text.begin());
    for (std::size_t i = 0; i < GuidBytes; i++) {
        const std::size_t at = Digits[i];
        guid[i] = static_cast<UBYTE>(DigitValue(text[at]) * 16 + DigitValue(text[at + 1]));
    }
}

// The same functions under their plain names, by which dlsym looks for them. The labels keep the compiler
// from taking them for other forms of the functions above.
extern "C" {
[[gnu::alias("_Z10GUIDSetMacPh")]] void PlainGUIDSetMac(unsigned char*) __asm__("GUIDSetMac");
[[gnu::alias("_Z9BuildGUIDPhS_")]] unsigned char* PlainBuildGUID(unsigned char*,
                                                                 unsigned char*) __asm__("BuildGUID");
[[gnu::alias("_Z12GUIDToStringPhPc")]] char* PlainGUIDToString(unsigned char*, char*) __asm__("GUIDToString");
[[gnu::alias("_Z14GUIDFromStringPhPc")]] void PlainGUIDFromString(unsigned char*,
                                                                  char*) __asm__("GUIDFromString");
}

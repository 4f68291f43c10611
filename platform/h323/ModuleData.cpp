#include "platform/h323/ModuleData.h"

namespace h323 {
namespace {

constexpr UBYTE Layout = 1;
constexpr std::size_t Size = 13;

void Append(std::vector<UBYTE>& octets, ULONG value, int count) {
    while (count-- > 0) octets.push_back(static_cast<UBYTE>(value >> (8 * count)));
}

ULONG Take(std::span<const UBYTE>& octets, std::size_t count) {
    ULONG value = 0;
    for (const UBYTE octet : octets.first(count)) value = value << 8 | octet;
    octets = octets.subspan(count);
    return value;
}

}  // namespace

H221NonStandard ModuleData::Maker() {
    // ITU-T T.35: United States; the manufacturer code is the system's own and not registered.
    return {{181}, {0}, {0x4b45}};
}

NonStandardParameter ModuleData::ToNonStandard() const {
    NonStandardParameter parameter{Maker(), {}};
    std::vector<UBYTE>& octets = parameter.data.octets;
    Append(octets, Layout, 1);
    Append(octets, controlPort, 2);
    Append(octets, compressionBase, 2);
    Append(octets, compressionQuantity, 4);
    Append(octets, relayQuantity, 4);
    return parameter;
}

std::optional<ModuleData> ModuleData::FromNonStandard(const NonStandardParameter& parameter) {
    if (parameter.nonStandardIdentifier != NonStandardIdentifier(Maker())) return std::nullopt;
    std::span<const UBYTE> octets(parameter.data.octets);
    if (octets.size() < Size || Take(octets, 1) < Layout) return std::nullopt;
    ModuleData data;
    data.controlPort = static_cast<UWORD>(Take(octets, 2));
    data.compressionBase = static_cast<UWORD>(Take(octets, 2));
    data.compressionQuantity = Take(octets, 4);
    data.relayQuantity = Take(octets, 4);
    return data;
}

}  // namespace h323

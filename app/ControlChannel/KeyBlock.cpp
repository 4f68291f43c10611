#include "app/ControlChannel/KeyBlock.h"

#include <algorithm>
#include <cstring>

namespace {

bool TakeByte(std::span<const UBYTE>& rest, UBYTE& value) {
    if (rest.empty()) return false;
    value = rest.front();
    rest = rest.subspan(1);
    return true;
}

// A length byte and that many bytes, which must fill `value`.
bool TakeField(std::span<const UBYTE>& rest, std::span<UBYTE> value) {
    UBYTE length = 0;
    if (!TakeByte(rest, length) || length != value.size() || rest.size() < length) return false;
    std::ranges::copy(rest.first(length), value.begin());
    rest = rest.subspan(length);
    return true;
}

}  // namespace

KeyBlock::~KeyBlock() {
    for (std::span<UBYTE> field : {std::span<UBYTE>(loc_key), std::span<UBYTE>(loc_salt),
                                   std::span<UBYTE>(rem_key), std::span<UBYTE>(rem_salt)})
        explicit_bzero(field.data(), field.size());
}

bool KeyBlock::Parse(std::span<const UBYTE> block) {
    UBYTE rem_algorithm = NO_CRYPT;
    return TakeByte(block, loc_algorithm) && TakeField(block, loc_key) && TakeField(block, loc_salt) &&
           TakeByte(block, rem_algorithm) && TakeField(block, rem_key) && TakeField(block, rem_salt);
}

// The ASN.1 types of which RAS messages are made, each with its constraint as part of the type.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace h323 {

// NULL: a value that is all in being there.
using Null = std::monostate;

// INTEGER (Low..High).
template <std::uint32_t Low, std::uint32_t High>
struct Ranged {
    std::uint32_t value = Low;

    operator std::uint32_t() const { return value; }
    bool operator==(const Ranged&) const = default;
};

// BMPString (SIZE (Low..High)), in UTF-16 code units.
template <std::uint32_t Low, std::uint32_t High>
struct BmpText {
    std::u16string text;

    bool operator==(const BmpText&) const = default;
};

// IA5String (SIZE (Low..High)).
template <std::uint32_t Low, std::uint32_t High>
struct Ia5Text {
    std::string text;

    bool operator==(const Ia5Text&) const = default;
};

// IA5String (SIZE (1..128)) (FROM ("0123456789#*,")).
struct DigitText {
    // A character's code is its place here.
    static constexpr std::string_view Alphabet = "#*,0123456789";

    std::string text;

    bool operator==(const DigitText&) const = default;
};

// OCTET STRING (SIZE (Low..High)).
template <std::uint32_t Low, std::uint32_t High>
struct BoundedOctets {
    std::vector<std::uint8_t> octets;

    bool operator==(const BoundedOctets&) const = default;
};

// OCTET STRING (SIZE (Size)).
template <std::size_t Size>
struct FixedOctets {
    std::array<std::uint8_t, Size> octets{};

    bool operator==(const FixedOctets&) const = default;
};

// OCTET STRING.
struct OctetString {
    std::vector<std::uint8_t> octets;

    bool operator==(const OctetString&) const = default;
};

// OBJECT IDENTIFIER, as its BER contents octets (X.690, 8.19).
struct ObjectId {
    std::vector<std::uint8_t> contents;

    bool operator==(const ObjectId&) const = default;
};

// The end of a value from a component on whose type is not held here: passed over on receipt, never sent.
struct NotHeld {
    bool operator==(const NotHeld&) const = default;
};

// An extension alternative of a CHOICE that is not known here.
struct UnknownAlternative {
    std::uint32_t index = 0;  // among the extension alternatives
    std::vector<std::uint8_t> content;

    bool operator==(const UnknownAlternative&) const = default;
};

// A CHOICE with values: the first `RootCount` of `T` are its root alternatives, the others extension
// alternatives. A derived struct adds the alternatives' `Names`.
template <std::uint32_t RootCount, class... T>
struct Choice : std::variant<T..., UnknownAlternative> {
    using Base = std::variant<T..., UnknownAlternative>;
    using Base::Base;
    static constexpr std::uint32_t Roots = RootCount;
    static constexpr std::uint32_t Known = sizeof...(T);

    const Base& AsVariant() const { return *this; }
    bool operator==(const Choice& other) const { return AsVariant() == other.AsVariant(); }
};

template <class T>
concept IsChoice = requires {
    T::Roots;
    T::Names;
};

// A CHOICE whose alternatives are names: an enum with the root alternatives first and the extension
// alternatives behind them. A specialisation gives their number and `Names`. An unknown extension keeps its
// number; what an extension alternative carries besides its name is not held.
template <class E>
struct NamesOf;

template <class E>
const char* NameOf(E value) {
    const auto index = static_cast<std::size_t>(value);
    return index < NamesOf<E>::Names.size() ? NamesOf<E>::Names[index] : "(unknown extension)";
}

}  // namespace h323

// Writes described values (see Describe.h) in packed encoding.
#pragma once

#include <optional>
#include <type_traits>

#include "platform/h323/Additions.h"
#include "platform/h323/PerTypes.h"
#include "platform/h323/PerWriter.h"

namespace h323 {

// A value outside its type's constraint makes the writer fail.
class RasEncoder {
 public:
    explicit RasEncoder(PerWriter& per) : per(per) {}

    template <class... A, class... O>
    void Begin(Additions<A...>& additions, const O&... optionals) {
        per.Bit(additions.Count() > 0);
        (per.Bit(optionals.has_value()), ...);
    }

    template <class... A>
    void End(Additions<A...>& additions) {
        const std::uint32_t count = additions.Count();
        if (count == 0) return;
        per.SmallLength(count);
        for (std::uint32_t i = 0; i < count; ++i) per.Bit(additions.IsPresent(i));
        additions.ForEach([this](auto& addition) {
            if (addition.value) PutOpen(*addition.value);
        });
    }

    template <class T>
    void Field(const char* /*name*/, const T& value) {
        Put(value);
    }

 private:
    template <class T>
    void Put(const T& value) {
        if constexpr (IsChoice<T>) {
            PutChoice(value);
        } else if constexpr (std::is_enum_v<T>) {
            PutEnum(value);
        } else {
            Describe(*this, value);
        }
    }

    void Put(Null /*value*/) {}
    void Put(bool value) { per.Bit(value); }
    void Put(NotHeld /*value*/) { per.Fail(); }
    void Put(const OctetString& value);
    void Put(const ObjectId& value);
    void Put(const DigitText& value);

    template <std::uint32_t Low, std::uint32_t High>
    void Put(const Ranged<Low, High>& value) {
        per.Integer(value.value, Low, High);
    }

    template <std::uint32_t Low, std::uint32_t High>
    void Put(const BmpText<Low, High>& value) {
        PutSize(value.text.size(), Low, High);
        for (const char16_t unit : value.text) per.Bits(unit, 16);
    }

    template <std::uint32_t Low, std::uint32_t High>
    void Put(const Ia5Text<Low, High>& value) {
        PutSize(value.text.size(), Low, High);
        for (const char c : value.text) per.Bits(static_cast<std::uint8_t>(c), 8);
    }

    template <std::uint32_t Low, std::uint32_t High>
    void Put(const BoundedOctets<Low, High>& value) {
        PutSize(value.octets.size(), Low, High);
        per.Octets(value.octets);
    }

    // X.691, 16.6: up to two octets of fixed size are not aligned.
    template <std::size_t Size>
    void Put(const FixedOctets<Size>& value) {
        if (Size > 2) per.Align();
        per.Octets(value.octets);
    }

    template <class T>
    void Put(const std::optional<T>& value) {
        if (value) Put(*value);
    }

    template <class T>
    void Put(const std::vector<T>& list) {
        per.Length(list.size());
        for (const T& element : list) Put(element);
    }

    template <class T>
    void PutChoice(const T& choice) {
        std::visit(
            [&](const auto& alternative) {
                if constexpr (std::is_same_v<decltype(alternative), const UnknownAlternative&>) {
                    PutUnknown(alternative);
                } else {
                    PutAlternative(static_cast<std::uint32_t>(choice.index()), T::Roots, alternative);
                }
            },
            choice.AsVariant());
    }

    template <class T>
    void PutAlternative(std::uint32_t index, std::uint32_t roots, const T& alternative) {
        per.Bit(index >= roots);
        if (index < roots) {
            per.Integer(index, 0, roots - 1);
            Put(alternative);
        } else {
            per.SmallNumber(index - roots);
            PutOpen(alternative);
        }
    }

    template <class E>
    void PutEnum(E value) {
        PutAlternative(static_cast<std::uint32_t>(value), NamesOf<E>::Roots, Null());
    }

    template <class T>
    void PutOpen(const T& value) {
        PerWriter content;
        RasEncoder(content).Put(value);
        per.OpenType(content);
    }

    void PutUnknown(const UnknownAlternative& value);
    void PutSize(std::size_t size, std::uint32_t low, std::uint32_t high);

    PerWriter& per;
};

}  // namespace h323

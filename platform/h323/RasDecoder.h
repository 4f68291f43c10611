// Reads described values (see Describe.h) from packed encoding.
#pragma once

#include <optional>
#include <type_traits>

#include "platform/h323/Additions.h"
#include "platform/h323/PerReader.h"
#include "platform/h323/PerTypes.h"

namespace h323 {

// What does not fit makes the reader fail; the values are then of no use. Additions and extension
// alternatives that are not known are passed over.
class RasDecoder {
 public:
    explicit RasDecoder(PerReader& per) : per(per) {}

    template <class... A, class... O>
    void Begin(Additions<A...>& additions, O&... optionals) {
        additions.received = per.Bit();
        (GetPresence(optionals), ...);
    }

    template <class... A>
    void End(Additions<A...>& additions) {
        if (!additions.received) return;
        const std::vector<std::uint32_t> indexes = GetPresentIndexes();
        for (const std::uint32_t index : indexes) {
            const std::span<const std::uint8_t> content = per.OpenType();
            additions.ForEach([&](auto& addition) {
                if (addition.index == index) GetOpen(content, addition.value.emplace());
            });
        }
    }

    template <class T>
    void Field(const char* /*name*/, T& value) {
        if (!per.Failed()) Get(value);
    }

 private:
    template <class T>
    void Get(T& value) {
        if constexpr (IsChoice<T>) {
            GetChoice(value);
        } else if constexpr (std::is_enum_v<T>) {
            GetEnum(value);
        } else {
            Describe(*this, value);
        }
    }

    void Get(Null& /*value*/) {}
    void Get(bool& value) { value = per.Bit(); }
    void Get(NotHeld& /*value*/) { per.SkipRest(); }
    void Get(OctetString& value);
    void Get(ObjectId& value);
    void Get(DigitText& value);

    template <std::uint32_t Low, std::uint32_t High>
    void Get(Ranged<Low, High>& value) {
        value.value = per.Integer(Low, High);
    }

    template <std::uint32_t Low, std::uint32_t High>
    void Get(BmpText<Low, High>& value) {
        const std::span<const std::uint8_t> units = GetSized(Low, High, 2);
        for (std::size_t i = 0; i + 1 < units.size(); i += 2) {
            value.text.push_back(static_cast<char16_t>(units[i] << 8 | units[i + 1]));
        }
    }

    template <std::uint32_t Low, std::uint32_t High>
    void Get(Ia5Text<Low, High>& value) {
        const std::span<const std::uint8_t> text = GetSized(Low, High, 1);
        value.text.assign(text.begin(), text.end());
    }

    template <std::uint32_t Low, std::uint32_t High>
    void Get(BoundedOctets<Low, High>& value) {
        const std::span<const std::uint8_t> octets = GetSized(Low, High, 1);
        value.octets.assign(octets.begin(), octets.end());
    }

    template <std::size_t Size>
    void Get(FixedOctets<Size>& value) {
        if (Size > 2) per.Align();
        for (std::uint8_t& octet : value.octets) octet = static_cast<std::uint8_t>(per.Bits(8));
    }

    template <class T>
    void Get(std::optional<T>& value) {
        if (value) Get(*value);
    }

    // Every element takes at least a bit, so a count that the datagram cannot hold ends as an error.
    template <class T>
    void Get(std::vector<T>& list) {
        for (std::size_t count = per.Length(); count > 0 && !per.Failed(); --count) Get(list.emplace_back());
    }

    template <class T>
    void GetPresence(std::optional<T>& value) {
        if (per.Bit()) value.emplace();
    }

    template <class T>
    void GetChoice(T& choice) {
        if (per.Bit()) return GetExtension(choice);
        const std::uint32_t index = per.Integer(0, T::Roots - 1);
        WithAlternative(choice, index, [this](auto& alternative) { Field("", alternative); });
    }

    template <class T>
    void GetExtension(T& choice) {
        const std::uint32_t index = per.SmallNumber();
        const std::span<const std::uint8_t> content = per.OpenType();
        if (index < T::Known - T::Roots) {
            WithAlternative(choice, T::Roots + index,
                            [&](auto& alternative) { GetOpen(content, alternative); });
        } else {
            choice.template emplace<UnknownAlternative>(
                UnknownAlternative{index, {content.begin(), content.end()}});
        }
    }

    // Makes the alternative of that number, below T::Known, the chosen one and hands it to `use`.
    template <class T, class F, std::size_t Index = 0>
    void WithAlternative(T& choice, std::uint32_t index, F use) {
        if constexpr (Index < T::Known) {
            if (index != Index) return WithAlternative<T, F, Index + 1>(choice, index, use);
            use(choice.template emplace<Index>());
        }
    }

    template <class E>
    void GetEnum(E& value) {
        constexpr std::uint32_t Roots = NamesOf<E>::Roots;
        if (!per.Bit()) {
            value = static_cast<E>(per.Integer(0, Roots - 1));
            return;
        }
        value = static_cast<E>(Roots + per.SmallNumber());
        per.OpenType();
    }

    template <class T>
    void GetOpen(std::span<const std::uint8_t> content, T& value) {
        PerReader inner(content);
        RasDecoder(inner).Get(value);
        inner.Finish();
        if (inner.Failed()) per.Fail();
    }

    std::vector<std::uint32_t> GetPresentIndexes();
    std::span<const std::uint8_t> GetSized(std::uint32_t low, std::uint32_t high, std::size_t octetsEach);

    PerReader& per;
};

}  // namespace h323

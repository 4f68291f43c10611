// Writes described values (see Describe.h) as text for people: a line for every component.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <type_traits>

#include "platform/h323/Additions.h"
#include "platform/h323/PerTypes.h"

namespace h323 {

// Texts that came from the network are shown without control characters, octets in hexadecimal.
class RasPrinter {
 public:
    template <class... A, class... O>
    void Begin(Additions<A...>& /*additions*/, const O&... /*optionals*/) {}

    template <class... A>
    void End(Additions<A...>& additions) {
        additions.ForEach([this](auto& addition) { Field(addition.name, addition.value); });
    }

    template <class T>
    void Field(const char* name, const T& value) {
        if constexpr (IsChoice<T>) {
            FieldOfChoice(name, value);
        } else if constexpr (std::is_enum_v<T>) {
            Line(name, NameOf(value));
        } else if constexpr (requires { Show(value); }) {
            Line(name, Show(value));
        } else {
            Line(name, "");
            ++depth;
            Describe(*this, value);
            --depth;
        }
    }

    template <class T>
    void Field(const char* name, const std::optional<T>& value) {
        if (value) Field(name, *value);
    }

    template <class T>
    void Field(const char* name, const std::vector<T>& list) {
        if (list.empty()) Line(name, "(none)");
        for (const T& element : list) Field(name, element);
    }

    // The lines, each with a line feed.
    const std::string& Text() const { return text; }

 private:
    static std::string Show(Null /*value*/) { return ""; }
    static std::string Show(NotHeld /*value*/) { return "(not read)"; }
    static std::string Show(const bool& value) { return value ? "TRUE" : "FALSE"; }
    static std::string Show(const std::string& value);
    static std::string Show(const std::u16string& value);
    static std::string Show(std::span<const std::uint8_t> octets);
    static std::string Show(const FixedOctets<4>& ip);
    static std::string Show(const ObjectId& value);
    static std::string Show(const UnknownAlternative& value);
    static std::string Show(const DigitText& value) { return Show(value.text); }
    static std::string Show(const OctetString& value) { return Show(std::span(value.octets)); }

    template <std::uint32_t Low, std::uint32_t High>
    static std::string Show(const Ranged<Low, High>& value) {
        return std::to_string(value.value);
    }

    template <std::uint32_t Low, std::uint32_t High>
    static std::string Show(const BmpText<Low, High>& value) {
        return Show(value.text);
    }

    template <std::uint32_t Low, std::uint32_t High>
    static std::string Show(const Ia5Text<Low, High>& value) {
        return Show(value.text);
    }

    template <std::uint32_t Low, std::uint32_t High>
    static std::string Show(const BoundedOctets<Low, High>& value) {
        return ShowReadable(value.octets);
    }

    template <std::size_t Size>
    static std::string Show(const FixedOctets<Size>& value) {
        return Show(std::span(value.octets));
    }

    template <class T>
    void FieldOfChoice(const char* name, const T& choice) {
        const std::string label = std::string(name) + ' ' + T::Names[choice.index()];
        std::visit([&](const auto& alternative) { Field(label.c_str(), alternative); }, choice.AsVariant());
    }

    // As text when all of it is text.
    static std::string ShowReadable(const std::vector<std::uint8_t>& octets);
    void Line(const char* name, const std::string& value);

    std::string text;
    std::size_t depth = 0;
};

}  // namespace h323

#include "tools/lab/Bencode.h"

#include <charconv>

namespace lab {

namespace {

constexpr int DeepestNesting = 20;

std::string TextOf(std::string_view text) {
    return std::to_string(text.size()) + ":" + std::string(text);
}

class Reader {
 public:
    explicit Reader(std::string_view text) : rest(text) {}

    bool Value(nlohmann::json& into, int depth) {
        if (rest.empty() || depth > DeepestNesting) return false;
        switch (rest.front()) {
            case 'i':
                return Skip() && Number('e', into);
            case 'l':
                return Skip() && List(into, depth);
            case 'd':
                return Skip() && Dictionary(into, depth);
            default:
                return Text(into);
        }
    }
    bool AtEnd() const { return rest.empty(); }

 private:
    bool Skip() {
        rest.remove_prefix(1);
        return true;
    }

    bool TakeEnd() { return !rest.empty() && rest.front() == 'e' && Skip(); }

    bool Number(char stop, nlohmann::json& into) {
        std::int64_t number = 0;
        const auto [end, failure] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
        if (failure != std::errc() || end == rest.data() + rest.size() || *end != stop) return false;
        rest.remove_prefix(static_cast<std::size_t>(end - rest.data()) + 1);
        into = number;
        return true;
    }

    bool Text(nlohmann::json& into) {
        nlohmann::json length;
        if (!Number(':', length)) return false;
        const auto size = length.get<std::int64_t>();
        if (size < 0 || static_cast<std::uint64_t>(size) > rest.size()) return false;
        into = std::string(rest.substr(0, static_cast<std::size_t>(size)));
        rest.remove_prefix(static_cast<std::size_t>(size));
        return true;
    }

    bool List(nlohmann::json& into, int depth) {
        into = nlohmann::json::array();
        while (!TakeEnd())
            if (!Value(into.emplace_back(), depth + 1)) return false;
        return true;
    }

    bool Dictionary(nlohmann::json& into, int depth) {
        into = nlohmann::json::object();
        while (!TakeEnd()) {
            nlohmann::json key;
            if (!Text(key) || !Value(into[key.get<std::string>()], depth + 1)) return false;
        }
        return true;
    }

    std::string_view rest;
};

}  // namespace

std::string ToBencode(const nlohmann::json& value) {
    if (value.is_number_integer()) return "i" + std::to_string(value.get<std::int64_t>()) + "e";
    if (value.is_string()) return TextOf(value.get_ref<const std::string&>());
    std::string text;
    if (value.is_array()) {
        for (const nlohmann::json& item : value) text += ToBencode(item);
        return "l" + text + "e";
    }
    if (!value.is_object()) return TextOf("");
    for (const auto& [key, item] : value.items()) text += TextOf(key) + ToBencode(item);
    return "d" + text + "e";
}

std::optional<nlohmann::json> ParseBencode(std::string_view text) {
    Reader reader(text);
    nlohmann::json value;
    if (!reader.Value(value, 0) || !reader.AtEnd()) return std::nullopt;
    return value;
}

}  // namespace lab

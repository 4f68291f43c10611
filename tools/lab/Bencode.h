// Bencoding of values: "5:hello", "i-7e", "l...e", "d...e" with its keys in order.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace lab {

// Of texts, integers, arrays and objects; nothing else can be coded, and becomes an empty text.
std::string ToBencode(const nlohmann::json& value);
// Nothing when `text` is not exactly one value, or one nested more than 20 deep.
std::optional<nlohmann::json> ParseBencode(std::string_view text);

}  // namespace lab

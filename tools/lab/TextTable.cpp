#include "tools/lab/TextTable.h"

#include <algorithm>
#include <cstdio>

namespace lab {

std::string TextTable::ToText() const {
    std::vector<std::size_t> widths(rows.front().size());
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.size() && i < widths.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    }
    std::string text;
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.size() && i < widths.size(); ++i) {
            const std::string padding(widths[i] - row[i].size(), ' ');
            text += i == 0 ? row[i] + padding : "  " + padding + row[i];
        }
        text += '\n';
    }
    return text;
}

std::string Number(std::uint64_t value) {
    return std::to_string(value);
}

std::string Decimal(double value, int digits) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

}  // namespace lab

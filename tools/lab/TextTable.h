// Tables and numbers for people at a terminal.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lab {

// The first column is flush left, the others flush right.
class TextTable {
 public:
    explicit TextTable(std::vector<std::string> heading) { rows.push_back(std::move(heading)); }
    void Add(std::vector<std::string> row) { rows.push_back(std::move(row)); }
    std::string ToText() const;

 private:
    std::vector<std::vector<std::string>> rows;
};

std::string Number(std::uint64_t value);
// With so many digits behind the point.
std::string Decimal(double value, int digits);

}  // namespace lab

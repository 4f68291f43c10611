// Concatenation and comparison of UString.
#include <cstring>

#include "common/UStringX.h"

namespace {

int Compare(const char* left, const char* right) {
    return std::strcmp(left, right);
}

UString Concatenated(const char* left, const char* right) {
    UString out;
    const std::size_t added = right == nullptr ? 0 : std::strlen(right);
    out.Allocate(static_cast<int>(std::strlen(left) + added));
    out += left;
    out += right;
    return out;
}

}  // namespace

UString operator+(const UString& left, const char* right) {
    return Concatenated(left, right);
}
UString operator+(const char* left, const UString& right) {
    return Concatenated(left, right);
}
UString operator+(const UString& left, const UString& right) {
    return Concatenated(left, right);
}

bool operator==(const UString& left, const UString& right) {
    return Compare(left, right) == 0;
}
bool operator==(const UString& left, const char* right) {
    return Compare(left, right) == 0;
}
bool operator==(const char* left, const UString& right) {
    return Compare(left, right) == 0;
}
bool operator==(const UString& left, char* right) {
    return Compare(left, right) == 0;
}
bool operator==(char* left, const UString& right) {
    return Compare(left, right) == 0;
}

bool operator!=(const UString& left, const UString& right) {
    return Compare(left, right) != 0;
}
bool operator!=(const UString& left, const char* right) {
    return Compare(left, right) != 0;
}
bool operator!=(const char* left, const UString& right) {
    return Compare(left, right) != 0;
}
bool operator!=(const UString& left, char* right) {
    return Compare(left, right) != 0;
}
bool operator!=(char* left, const UString& right) {
    return Compare(left, right) != 0;
}

bool operator<(const UString& left, const UString& right) {
    return Compare(left, right) < 0;
}
bool operator<(const UString& left, const char* right) {
    return Compare(left, right) < 0;
}
bool operator<(const char* left, const UString& right) {
    return Compare(left, right) < 0;
}

bool operator>(const UString& left, const UString& right) {
    return Compare(left, right) > 0;
}
bool operator>(const UString& left, const char* right) {
    return Compare(left, right) > 0;
}
bool operator>(const char* left, const UString& right) {
    return Compare(left, right) > 0;
}

bool operator<=(const UString& left, const UString& right) {
    return Compare(left, right) <= 0;
}
bool operator<=(const UString& left, const char* right) {
    return Compare(left, right) <= 0;
}

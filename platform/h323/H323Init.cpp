#include "platform/h323/H323Init.h"

namespace h323 {
namespace {

std::string product_name;
std::string product_version_text;

}  // namespace

const std::string& ProductName() {
    return product_name;
}

const std::string& ProductVersion() {
    return product_version_text;
}

}  // namespace h323

void H323Init(const char* product, const char* version, int /*protocolLevel*/) {
    constexpr std::size_t Longest = 256;
    h323::product_name = std::string(product != nullptr ? product : "").substr(0, Longest);
    h323::product_version_text = std::string(version != nullptr ? version : "").substr(0, Longest);
}

#include "app/version.h"

#include <string_view>

const char* const product_version = "SWMODULE: TQ 1.3(117)";

const char* ProductVersionNumber() {
    constexpr std::string_view Prefix = "SWMODULE: ";
    return product_version + Prefix.size();
}

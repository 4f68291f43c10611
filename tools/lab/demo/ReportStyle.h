// The style sheet of the report page.
#pragma once

#include <string_view>

namespace lab {

extern const std::string_view ReportStyle;

}  // namespace lab

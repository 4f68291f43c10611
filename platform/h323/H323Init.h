// The H.323 library's start.
#pragma once

#include <string>

// Names the product to gatekeepers (the vendor identifier of every registration). Once, before the first
// RasClient; texts of more than 256 characters are cut, null and empty ones left out. `protocolLevel`, 2,
// selects nothing: the messages are those of H.225.0 version 4, which every gatekeeper reads.
void H323Init(const char* product, const char* version, int protocolLevel);

namespace h323 {

// What H323Init was given; empty before.
const std::string& ProductName();
const std::string& ProductVersion();

}  // namespace h323

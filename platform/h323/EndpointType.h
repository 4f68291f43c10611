// What kind of endpoint speaks.
#pragma once

#include "platform/h323/NonStandardParameter.h"

namespace h323 {

// GatekeeperInfo, McuInfo, TerminalInfo and the capabilities of SupportedProtocols, which are all alike here.
struct KindInfo {
    std::optional<NonStandardParameter> nonStandardData;

    bool operator==(const KindInfo&) const = default;
};

struct SupportedProtocols : Choice<9, NonStandardParameter, KindInfo, KindInfo, KindInfo, KindInfo, KindInfo,
                                   KindInfo, KindInfo, KindInfo> {
    using Choice::Choice;
    static constexpr std::array<const char*, 10> Names = {
        "nonStandardData", "h310", "h320", "h321", "h322", "h323", "h324", "voice", "t120-only", "(unknown)"};
};

struct GatewayInfo {
    std::optional<std::vector<SupportedProtocols>> protocol;
    std::optional<NonStandardParameter> nonStandardData;

    bool operator==(const GatewayInfo&) const = default;
};

struct EndpointType {
    std::optional<NonStandardParameter> nonStandardData;
    std::optional<VendorIdentifier> vendor;
    std::optional<KindInfo> gatekeeper;
    std::optional<GatewayInfo> gateway;
    std::optional<KindInfo> mcu;
    std::optional<KindInfo> terminal;
    bool mc = false;
    bool undefinedNode = false;

    bool operator==(const EndpointType&) const = default;
};

H323_DECLARE_DESCRIBE(KindInfo);
H323_DECLARE_DESCRIBE(GatewayInfo);
H323_DECLARE_DESCRIBE(EndpointType);

}  // namespace h323

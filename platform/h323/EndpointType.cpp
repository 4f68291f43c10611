#include "platform/h323/EndpointType.h"

namespace h323 {

H323_DECLARE_DESCRIBE(KindInfo) {
    Additions<> additions;
    coder.Begin(additions, value.nonStandardData);
    coder.Field("nonStandardData", value.nonStandardData);
    coder.End(additions);
}

H323_DECLARE_DESCRIBE(GatewayInfo) {
    Additions<> additions;
    coder.Begin(additions, value.protocol, value.nonStandardData);
    coder.Field("protocol", value.protocol);
    coder.Field("nonStandardData", value.nonStandardData);
    coder.End(additions);
}

H323_DECLARE_DESCRIBE(EndpointType) {
    Additions<> additions;
    coder.Begin(additions, value.nonStandardData, value.vendor, value.gatekeeper, value.gateway, value.mcu,
                value.terminal);
    coder.Field("nonStandardData", value.nonStandardData);
    coder.Field("vendor", value.vendor);
    coder.Field("gatekeeper", value.gatekeeper);
    coder.Field("gateway", value.gateway);
    coder.Field("mcu", value.mcu);
    coder.Field("terminal", value.terminal);
    coder.Field("mc", value.mc);
    coder.Field("undefinedNode", value.undefinedNode);
    coder.End(additions);
}

H323_DEFINE_DESCRIBE(KindInfo);
H323_DEFINE_DESCRIBE(GatewayInfo);
H323_DEFINE_DESCRIBE(EndpointType);

}  // namespace h323

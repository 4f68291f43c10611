#include "platform/h323/DiscoveryMessages.h"

namespace h323 {

H323_DECLARE_DESCRIBE(Q954Details) {
    Additions<> additions;
    coder.Begin(additions);
    coder.Field("conferenceCalling", value.conferenceCalling);
    coder.Field("threePartyService", value.threePartyService);
    coder.End(additions);
}

H323_DECLARE_DESCRIBE(QseriesOptions) {
    constexpr const char* Names[] = {"q932Full", "q951Full", "q952Full", "q953Full",
                                     "q955Full", "q956Full", "q957Full"};
    Additions<> additions;
    coder.Begin(additions);
    for (std::size_t i = 0; i < value.full.size(); ++i) coder.Field(Names[i], value.full[i]);
    coder.Field("q954Info", value.q954Info);
    coder.End(additions);
}

H323_DECLARE_DESCRIBE(GatekeeperRequest) {
    Additions<> additions;
    coder.Begin(additions, value.nonStandardData, value.gatekeeperIdentifier, value.callServices,
                value.endpointAlias);
    coder.Field("requestSeqNum", value.requestSeqNum);
    coder.Field("protocolIdentifier", value.protocolIdentifier);
    coder.Field("nonStandardData", value.nonStandardData);
    coder.Field("rasAddress", value.rasAddress);
    coder.Field("endpointType", value.endpointType);
    coder.Field("gatekeeperIdentifier", value.gatekeeperIdentifier);
    coder.Field("callServices", value.callServices);
    coder.Field("endpointAlias", value.endpointAlias);
    coder.End(additions);
}

H323_DECLARE_DESCRIBE(GatekeeperConfirm) {
    Additions additions(At(0, "alternateGatekeeper", value.alternateGatekeeper));
    coder.Begin(additions, value.nonStandardData, value.gatekeeperIdentifier);
    coder.Field("requestSeqNum", value.requestSeqNum);
    coder.Field("protocolIdentifier", value.protocolIdentifier);
    coder.Field("nonStandardData", value.nonStandardData);
    coder.Field("gatekeeperIdentifier", value.gatekeeperIdentifier);
    coder.Field("rasAddress", value.rasAddress);
    coder.End(additions);
}

H323_DECLARE_DESCRIBE(GatekeeperReject) {
    Additions additions(At(0, "altGKInfo", value.altGKInfo));
    coder.Begin(additions, value.nonStandardData, value.gatekeeperIdentifier);
    coder.Field("requestSeqNum", value.requestSeqNum);
    coder.Field("protocolIdentifier", value.protocolIdentifier);
    coder.Field("nonStandardData", value.nonStandardData);
    coder.Field("gatekeeperIdentifier", value.gatekeeperIdentifier);
    coder.Field("rejectReason", value.rejectReason);
    coder.End(additions);
}

H323_DEFINE_DESCRIBE(Q954Details);
H323_DEFINE_DESCRIBE(QseriesOptions);
H323_DEFINE_DESCRIBE(GatekeeperRequest);
H323_DEFINE_DESCRIBE(GatekeeperConfirm);
H323_DEFINE_DESCRIBE(GatekeeperReject);

}  // namespace h323

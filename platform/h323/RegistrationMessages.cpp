#include "platform/h323/RegistrationMessages.h"

namespace h323 {

H323_DECLARE_DESCRIBE(RegistrationRequest) {
    Additions additions(At(1, "timeToLive", value.timeToLive), At(5, "keepAlive", value.keepAlive),
                        At(6, "endpointIdentifier", value.endpointIdentifier),
                        At(7, "willSupplyUUIEs", value.willSupplyUUIEs),
                        At(8, "maintainConnection", value.maintainConnection));
    coder.Begin(additions, value.nonStandardData, value.terminalAlias, value.gatekeeperIdentifier);
    coder.Field("requestSeqNum", value.requestSeqNum);
    coder.Field("protocolIdentifier", value.protocolIdentifier);
    coder.Field("nonStandardData", value.nonStandardData);
    coder.Field("discoveryComplete", value.discoveryComplete);
    coder.Field("callSignalAddress", value.callSignalAddress);
    coder.Field("rasAddress", value.rasAddress);
    coder.Field("terminalType", value.terminalType);
    coder.Field("terminalAlias", value.terminalAlias);
    coder.Field("gatekeeperIdentifier", value.gatekeeperIdentifier);
    coder.Field("endpointVendor", value.endpointVendor);
    coder.End(additions);
}

H323_DECLARE_DESCRIBE(RegistrationConfirm) {
    Additions additions(At(0, "alternateGatekeeper", value.alternateGatekeeper),
                        At(1, "timeToLive", value.timeToLive),
                        At(5, "willRespondToIRR", value.willRespondToIRR),
                        At(7, "maintainConnection", value.maintainConnection),
                        At(9, "supportsAdditiveRegistration", value.supportsAdditiveRegistration));
    coder.Begin(additions, value.nonStandardData, value.terminalAlias, value.gatekeeperIdentifier);
    coder.Field("requestSeqNum", value.requestSeqNum);
    coder.Field("protocolIdentifier", value.protocolIdentifier);
    coder.Field("nonStandardData", value.nonStandardData);
    coder.Field("callSignalAddress", value.callSignalAddress);
    coder.Field("terminalAlias", value.terminalAlias);
    coder.Field("gatekeeperIdentifier", value.gatekeeperIdentifier);
    coder.Field("endpointIdentifier", value.endpointIdentifier);
    coder.End(additions);
}

H323_DECLARE_DESCRIBE(RegistrationReject) {
    Additions additions(At(0, "altGKInfo", value.altGKInfo));
    coder.Begin(additions, value.nonStandardData, value.gatekeeperIdentifier);
    coder.Field("requestSeqNum", value.requestSeqNum);
    coder.Field("protocolIdentifier", value.protocolIdentifier);
    coder.Field("nonStandardData", value.nonStandardData);
    coder.Field("rejectReason", value.rejectReason);
    if (value.rejectReason == RegistrationRejectReason::DuplicateAlias) {
        coder.Field("duplicateAlias", value.duplicateAlias);
    }
    coder.Field("gatekeeperIdentifier", value.gatekeeperIdentifier);
    coder.End(additions);
}

H323_DEFINE_DESCRIBE(RegistrationRequest);
H323_DEFINE_DESCRIBE(RegistrationConfirm);
H323_DEFINE_DESCRIBE(RegistrationReject);

}  // namespace h323

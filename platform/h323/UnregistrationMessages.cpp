#include "platform/h323/UnregistrationMessages.h"

namespace h323 {

H323_DECLARE_DESCRIBE(UnregistrationRequest) {
    Additions additions(At(1, "gatekeeperIdentifier", value.gatekeeperIdentifier),
                        At(5, "reason", value.reason));
    coder.Begin(additions, value.endpointAlias, value.nonStandardData, value.endpointIdentifier);
    coder.Field("requestSeqNum", value.requestSeqNum);
    coder.Field("callSignalAddress", value.callSignalAddress);
    coder.Field("endpointAlias", value.endpointAlias);
    coder.Field("nonStandardData", value.nonStandardData);
    coder.Field("endpointIdentifier", value.endpointIdentifier);
    coder.End(additions);
}

H323_DECLARE_DESCRIBE(UnregistrationConfirm) {
    Additions<> additions;
    coder.Begin(additions, value.nonStandardData);
    coder.Field("requestSeqNum", value.requestSeqNum);
    coder.Field("nonStandardData", value.nonStandardData);
    coder.End(additions);
}

H323_DECLARE_DESCRIBE(UnregistrationReject) {
    Additions additions(At(0, "altGKInfo", value.altGKInfo));
    coder.Begin(additions, value.nonStandardData);
    coder.Field("requestSeqNum", value.requestSeqNum);
    coder.Field("rejectReason", value.rejectReason);
    coder.Field("nonStandardData", value.nonStandardData);
    coder.End(additions);
}

H323_DEFINE_DESCRIBE(UnregistrationRequest);
H323_DEFINE_DESCRIBE(UnregistrationConfirm);
H323_DEFINE_DESCRIBE(UnregistrationReject);

}  // namespace h323

#include "platform/h323/InformationMessages.h"

namespace h323 {

H323_DECLARE_DESCRIBE(CallIdentifier) {
    Additions<> additions;
    coder.Begin(additions);
    coder.Field("guid", value.guid);
    coder.End(additions);
}

H323_DECLARE_DESCRIBE(InfoRequest) {
    Additions additions(At(0, "callIdentifier", value.callIdentifier));
    coder.Begin(additions, value.nonStandardData, value.replyAddress);
    coder.Field("requestSeqNum", value.requestSeqNum);
    coder.Field("callReferenceValue", value.callReferenceValue);
    coder.Field("nonStandardData", value.nonStandardData);
    coder.Field("replyAddress", value.replyAddress);
    coder.End(additions);
}

H323_DECLARE_DESCRIBE(InfoRequestResponse) {
    Additions additions(At(3, "needResponse", value.needResponse), At(5, "irrStatus", value.irrStatus),
                        At(6, "unsolicited", value.unsolicited));
    coder.Begin(additions, value.nonStandardData, value.endpointAlias, value.perCallInfo);
    coder.Field("nonStandardData", value.nonStandardData);
    coder.Field("requestSeqNum", value.requestSeqNum);
    coder.Field("endpointType", value.endpointType);
    coder.Field("endpointIdentifier", value.endpointIdentifier);
    coder.Field("rasAddress", value.rasAddress);
    coder.Field("callSignalAddress", value.callSignalAddress);
    coder.Field("endpointAlias", value.endpointAlias);
    coder.Field("perCallInfo", value.perCallInfo);
    if (!value.perCallInfo) coder.End(additions);
}

H323_DECLARE_DESCRIBE(RequestInProgress) {
    Additions<> additions;
    coder.Begin(additions, value.nonStandardData, value.tokens, value.cryptoTokens,
                value.integrityCheckValue);
    coder.Field("requestSeqNum", value.requestSeqNum);
    coder.Field("nonStandardData", value.nonStandardData);
    coder.Field("tokens", value.tokens);
    coder.Field("cryptoTokens", value.cryptoTokens);
    coder.Field("integrityCheckValue", value.integrityCheckValue);
    if (!value.HasDelay()) return;
    coder.Field("delay", value.delay);
    coder.End(additions);
}

H323_DECLARE_DESCRIBE(UnknownMessageResponse) {
    Additions additions(At(3, "messageNotUnderstood", value.messageNotUnderstood));
    coder.Begin(additions);
    coder.Field("requestSeqNum", value.requestSeqNum);
    coder.End(additions);
}

H323_DEFINE_DESCRIBE(CallIdentifier);
H323_DEFINE_DESCRIBE(InfoRequest);
H323_DEFINE_DESCRIBE(InfoRequestResponse);
H323_DEFINE_DESCRIBE(RequestInProgress);
H323_DEFINE_DESCRIBE(UnknownMessageResponse);

}  // namespace h323

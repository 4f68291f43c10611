#include "platform/h323/AlternateGatekeeper.h"

namespace h323 {

H323_DECLARE_DESCRIBE(AlternateGK) {
    Additions<> additions;
    coder.Begin(additions, value.gatekeeperIdentifier);
    coder.Field("rasAddress", value.rasAddress);
    coder.Field("gatekeeperIdentifier", value.gatekeeperIdentifier);
    coder.Field("needToRegister", value.needToRegister);
    coder.Field("priority", value.priority);
    coder.End(additions);
}

H323_DECLARE_DESCRIBE(AltGKInfo) {
    Additions<> additions;
    coder.Begin(additions);
    coder.Field("alternateGatekeeper", value.alternateGatekeeper);
    coder.Field("altGKisPermanent", value.altGKisPermanent);
    coder.End(additions);
}

H323_DEFINE_DESCRIBE(AlternateGK);
H323_DEFINE_DESCRIBE(AltGKInfo);

}  // namespace h323

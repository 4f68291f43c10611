#include "platform/h323/NonStandardParameter.h"

namespace h323 {

H323_DECLARE_DESCRIBE(H221NonStandard) {
    Additions<> additions;
    coder.Begin(additions);
    coder.Field("t35CountryCode", value.t35CountryCode);
    coder.Field("t35Extension", value.t35Extension);
    coder.Field("manufacturerCode", value.manufacturerCode);
    coder.End(additions);
}

H323_DECLARE_DESCRIBE(NonStandardParameter) {
    coder.Field("nonStandardIdentifier", value.nonStandardIdentifier);
    coder.Field("data", value.data);
}

H323_DECLARE_DESCRIBE(VendorIdentifier) {
    Additions<> additions;
    coder.Begin(additions, value.productId, value.versionId);
    coder.Field("vendor", value.vendor);
    coder.Field("productId", value.productId);
    coder.Field("versionId", value.versionId);
    coder.End(additions);
}

H323_DEFINE_DESCRIBE(H221NonStandard);
H323_DEFINE_DESCRIBE(NonStandardParameter);
H323_DEFINE_DESCRIBE(VendorIdentifier);

}  // namespace h323

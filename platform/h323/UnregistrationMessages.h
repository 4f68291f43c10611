// The messages by which either side ends a registration: URQ, UCF, URJ (H.225.0, 7.10).
#pragma once

#include "platform/h323/DiscoveryMessages.h"

namespace h323 {

enum class UnregRequestReason : std::uint32_t {
    ReregistrationRequired,
    TtlExpired,
    SecurityDenial,
    UndefinedReason,
    Maintenance,
    SecurityError,
    RegisterWithAssignedGK,
};

template <>
struct NamesOf<UnregRequestReason> {
    static constexpr std::uint32_t Roots = 4;
    static constexpr std::array<const char*, 7> Names = {
        "reregistrationRequired", "ttlExpired",  "securityDenial",
        "undefinedReason",        "maintenance", "securityError",
        "registerWithAssignedGK"};
};

struct UnregistrationRequest {
    RequestSeqNum requestSeqNum;
    std::vector<TransportAddress> callSignalAddress;
    std::optional<std::vector<AliasAddress>> endpointAlias;
    std::optional<NonStandardParameter> nonStandardData;
    std::optional<EndpointIdentifier> endpointIdentifier;
    std::optional<GatekeeperIdentifier> gatekeeperIdentifier;
    std::optional<UnregRequestReason> reason;

    bool operator==(const UnregistrationRequest&) const = default;
};

struct UnregistrationConfirm {
    RequestSeqNum requestSeqNum;
    std::optional<NonStandardParameter> nonStandardData;

    bool operator==(const UnregistrationConfirm&) const = default;
};

enum class UnregRejectReason : std::uint32_t {
    NotCurrentlyRegistered,
    CallInProgress,
    UndefinedReason,
    PermissionDenied,
    SecurityDenial,
    SecurityError,
};

template <>
struct NamesOf<UnregRejectReason> {
    static constexpr std::uint32_t Roots = 3;
    static constexpr std::array<const char*, 6> Names = {"notCurrentlyRegistered", "callInProgress",
                                                         "undefinedReason",        "permissionDenied",
                                                         "securityDenial",         "securityError"};
};

struct UnregistrationReject {
    RequestSeqNum requestSeqNum;
    UnregRejectReason rejectReason{};
    std::optional<NonStandardParameter> nonStandardData;
    std::optional<AltGKInfo> altGKInfo;

    bool operator==(const UnregistrationReject&) const = default;
};

H323_DECLARE_DESCRIBE(UnregistrationRequest);
H323_DECLARE_DESCRIBE(UnregistrationConfirm);
H323_DECLARE_DESCRIBE(UnregistrationReject);

}  // namespace h323

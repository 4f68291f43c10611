// The messages by which an endpoint registers and keeps its registration: RRQ, RCF, RRJ (H.225.0, 7.9).
#pragma once

#include "platform/h323/DiscoveryMessages.h"

namespace h323 {

using TimeToLive = Ranged<1, 4294967295>;  // [s]

struct RegistrationRequest {
    RequestSeqNum requestSeqNum;
    ObjectId protocolIdentifier = ProtocolIdentifier;
    std::optional<NonStandardParameter> nonStandardData;
    bool discoveryComplete = false;
    std::vector<TransportAddress> callSignalAddress;
    std::vector<TransportAddress> rasAddress;
    EndpointType terminalType;
    std::optional<std::vector<AliasAddress>> terminalAlias;
    std::optional<GatekeeperIdentifier> gatekeeperIdentifier;
    VendorIdentifier endpointVendor;
    std::optional<TimeToLive> timeToLive;
    std::optional<bool> keepAlive;
    std::optional<EndpointIdentifier> endpointIdentifier;
    std::optional<bool> willSupplyUUIEs;
    std::optional<bool> maintainConnection;

    bool operator==(const RegistrationRequest&) const = default;
};

struct RegistrationConfirm {
    RequestSeqNum requestSeqNum;
    ObjectId protocolIdentifier = ProtocolIdentifier;
    std::optional<NonStandardParameter> nonStandardData;
    std::vector<TransportAddress> callSignalAddress;
    std::optional<std::vector<AliasAddress>> terminalAlias;
    std::optional<GatekeeperIdentifier> gatekeeperIdentifier;
    EndpointIdentifier endpointIdentifier;
    std::optional<std::vector<AlternateGK>> alternateGatekeeper;
    std::optional<TimeToLive> timeToLive;
    std::optional<bool> willRespondToIRR;
    std::optional<bool> maintainConnection;
    std::optional<Null> supportsAdditiveRegistration;

    bool operator==(const RegistrationConfirm&) const = default;
};

enum class RegistrationRejectReason : std::uint32_t {
    DiscoveryRequired,
    InvalidRevision,
    InvalidCallSignalAddress,
    InvalidRASAddress,
    DuplicateAlias,
    InvalidTerminalType,
    UndefinedReason,
    TransportNotSupported,
    TransportQOSNotSupported,
    ResourceUnavailable,
    InvalidAlias,
    SecurityDenial,
    FullRegistrationRequired,
    AdditiveRegistrationNotSupported,
    InvalidTerminalAliases,
    GenericDataReason,
    NeededFeatureNotSupported,
    SecurityError,
    RegisterWithAssignedGK,
};

template <>
struct NamesOf<RegistrationRejectReason> {
    static constexpr std::uint32_t Roots = 8;
    static constexpr std::array<const char*, 19> Names = {"discoveryRequired",
                                                          "invalidRevision",
                                                          "invalidCallSignalAddress",
                                                          "invalidRASAddress",
                                                          "duplicateAlias",
                                                          "invalidTerminalType",
                                                          "undefinedReason",
                                                          "transportNotSupported",
                                                          "transportQOSNotSupported",
                                                          "resourceUnavailable",
                                                          "invalidAlias",
                                                          "securityDenial",
                                                          "fullRegistrationRequired",
                                                          "additiveRegistrationNotSupported",
                                                          "invalidTerminalAliases",
                                                          "genericDataReason",
                                                          "neededFeatureNotSupported",
                                                          "securityError",
                                                          "registerWithAssignedGK"};
};

struct RegistrationReject {
    RequestSeqNum requestSeqNum;
    ObjectId protocolIdentifier = ProtocolIdentifier;
    std::optional<NonStandardParameter> nonStandardData;
    RegistrationRejectReason rejectReason{};
    std::vector<AliasAddress> duplicateAlias;  // goes with the reason DuplicateAlias
    std::optional<GatekeeperIdentifier> gatekeeperIdentifier;
    std::optional<AltGKInfo> altGKInfo;

    bool operator==(const RegistrationReject&) const = default;
};

H323_DECLARE_DESCRIBE(RegistrationRequest);
H323_DECLARE_DESCRIBE(RegistrationConfirm);
H323_DECLARE_DESCRIBE(RegistrationReject);

}  // namespace h323

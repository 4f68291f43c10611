// The messages by which gatekeepers are found: GRQ, GCF, GRJ (H.225.0, 7.8).
#pragma once

#include "platform/h323/AlternateGatekeeper.h"
#include "platform/h323/EndpointType.h"

namespace h323 {

using RequestSeqNum = Ranged<1, 65535>;

// {itu-t (0) recommendation (0) h (8) 2250 version (0) 4}: what is used here exists since version 4.
inline const ObjectId ProtocolIdentifier{{0x00, 0x08, 0x91, 0x4a, 0x00, 0x04}};

struct Q954Details {
    bool conferenceCalling = false;
    bool threePartyService = false;

    bool operator==(const Q954Details&) const = default;
};

struct QseriesOptions {
    // q932Full, q951Full, q952Full, q953Full, q955Full, q956Full, q957Full
    std::array<bool, 7> full{};
    Q954Details q954Info;

    bool operator==(const QseriesOptions&) const = default;
};

struct GatekeeperRequest {
    RequestSeqNum requestSeqNum;
    ObjectId protocolIdentifier = ProtocolIdentifier;
    std::optional<NonStandardParameter> nonStandardData;
    TransportAddress rasAddress;
    EndpointType endpointType;
    std::optional<GatekeeperIdentifier> gatekeeperIdentifier;
    std::optional<QseriesOptions> callServices;
    std::optional<std::vector<AliasAddress>> endpointAlias;

    bool operator==(const GatekeeperRequest&) const = default;
};

struct GatekeeperConfirm {
    RequestSeqNum requestSeqNum;
    ObjectId protocolIdentifier = ProtocolIdentifier;
    std::optional<NonStandardParameter> nonStandardData;
    std::optional<GatekeeperIdentifier> gatekeeperIdentifier;
    TransportAddress rasAddress;
    std::optional<std::vector<AlternateGK>> alternateGatekeeper;

    bool operator==(const GatekeeperConfirm&) const = default;
};

enum class GatekeeperRejectReason : std::uint32_t {
    ResourceUnavailable,
    TerminalExcluded,
    InvalidRevision,
    UndefinedReason,
    SecurityDenial,
    GenericDataReason,
    NeededFeatureNotSupported,
    SecurityError,
};

template <>
struct NamesOf<GatekeeperRejectReason> {
    static constexpr std::uint32_t Roots = 4;
    static constexpr std::array<const char*, 8> Names = {
        "resourceUnavailable", "terminalExcluded",  "invalidRevision",           "undefinedReason",
        "securityDenial",      "genericDataReason", "neededFeatureNotSupported", "securityError"};
};

struct GatekeeperReject {
    RequestSeqNum requestSeqNum;
    ObjectId protocolIdentifier = ProtocolIdentifier;
    std::optional<NonStandardParameter> nonStandardData;
    std::optional<GatekeeperIdentifier> gatekeeperIdentifier;
    GatekeeperRejectReason rejectReason{};
    std::optional<AltGKInfo> altGKInfo;

    bool operator==(const GatekeeperReject&) const = default;
};

H323_DECLARE_DESCRIBE(Q954Details);
H323_DECLARE_DESCRIBE(QseriesOptions);
H323_DECLARE_DESCRIBE(GatekeeperRequest);
H323_DECLARE_DESCRIBE(GatekeeperConfirm);
H323_DECLARE_DESCRIBE(GatekeeperReject);

}  // namespace h323

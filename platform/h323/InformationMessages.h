// Status, progress and what was not understood: IRQ, IRR, RIP, XRS (H.225.0, 7.15, 7.18, 7.20).
#pragma once

#include "platform/h323/DiscoveryMessages.h"

namespace h323 {

struct CallIdentifier {
    FixedOctets<16> guid;

    bool operator==(const CallIdentifier&) const = default;
};

struct InfoRequest {
    RequestSeqNum requestSeqNum;
    Ranged<0, 65535> callReferenceValue;  // 0: the endpoint itself, no call
    std::optional<NonStandardParameter> nonStandardData;
    std::optional<TransportAddress> replyAddress;
    std::optional<CallIdentifier> callIdentifier;

    bool operator==(const InfoRequest&) const = default;
};

struct InfoRequestResponseStatus : Choice<4, Null, Null, Ranged<0, 65535>, Null> {
    using Choice::Choice;
    static constexpr std::size_t InvalidCall = 3;
    static constexpr std::array<const char*, 5> Names = {"complete", "incomplete", "segment", "invalidCall",
                                                         "(unknown)"};
};

struct InfoRequestResponse {
    std::optional<NonStandardParameter> nonStandardData;
    RequestSeqNum requestSeqNum;
    EndpointType endpointType;
    EndpointIdentifier endpointIdentifier;
    TransportAddress rasAddress;
    std::vector<TransportAddress> callSignalAddress;
    std::optional<std::vector<AliasAddress>> endpointAlias;
    std::optional<NotHeld> perCallInfo;  // with it, nothing behind it is read
    std::optional<bool> needResponse;
    std::optional<InfoRequestResponseStatus> irrStatus;
    std::optional<bool> unsolicited;

    bool operator==(const InfoRequestResponse&) const = default;
};

struct RequestInProgress {
    RequestSeqNum requestSeqNum;
    std::optional<NonStandardParameter> nonStandardData;
    // Security components stand in front of the delay and are not held: with one of them, nothing behind is
    // read.
    std::optional<NotHeld> tokens;
    std::optional<NotHeld> cryptoTokens;
    std::optional<NotHeld> integrityCheckValue;
    Ranged<1, 65535> delay;  // [ms]

    bool HasDelay() const { return !tokens && !cryptoTokens && !integrityCheckValue; }
    bool operator==(const RequestInProgress&) const = default;
};

struct UnknownMessageResponse {
    RequestSeqNum requestSeqNum;
    std::optional<OctetString> messageNotUnderstood;

    bool operator==(const UnknownMessageResponse&) const = default;
};

// A message of which only the number is read: extension bit, as many presence bits as it has OPTIONAL
// components, and the number as the first component.
template <unsigned Optionals>
struct UnservedMessage {
    std::array<std::optional<NotHeld>, Optionals> optionals;
    RequestSeqNum requestSeqNum;
    NotHeld rest;

    bool operator==(const UnservedMessage&) const = default;
};

H323_DECLARE_DESCRIBE(CallIdentifier);
H323_DECLARE_DESCRIBE(InfoRequest);
H323_DECLARE_DESCRIBE(InfoRequestResponse);
H323_DECLARE_DESCRIBE(RequestInProgress);
H323_DECLARE_DESCRIBE(UnknownMessageResponse);

template <class Coder, class T>
requires requires(T& message) {
    message.rest;
}
void Describe(Coder& coder, T& value) {
    Additions<> additions;
    std::apply([&](auto&... optionals) { coder.Begin(additions, optionals...); }, value.optionals);
    coder.Field("requestSeqNum", value.requestSeqNum);
    coder.Field("rest", value.rest);
}

}  // namespace h323

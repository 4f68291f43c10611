// A RAS message: one datagram between an endpoint and its gatekeeper.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/h323/InformationMessages.h"
#include "platform/h323/RegistrationMessages.h"
#include "platform/h323/UnregistrationMessages.h"

namespace h323 {

// RasMessage of the standard (H.225.0, 7.7). Admission, bandwidth, disengage, location and the like are
// unserved: recognised, their number read, and never sent.
struct RasMessageBody
    : Choice<25, GatekeeperRequest, GatekeeperConfirm, GatekeeperReject, RegistrationRequest,
             RegistrationConfirm, RegistrationReject, UnregistrationRequest, UnregistrationConfirm,
             UnregistrationReject, UnservedMessage<7>, UnservedMessage<2>, UnservedMessage<1>,
             UnservedMessage<2>, UnservedMessage<1>, UnservedMessage<1>, UnservedMessage<1>,
             UnservedMessage<1>, UnservedMessage<1>, UnservedMessage<2>, UnservedMessage<1>,
             UnservedMessage<1>, InfoRequest, InfoRequestResponse, UnservedMessage<0>, UnknownMessageResponse,
             RequestInProgress, UnservedMessage<1>, UnservedMessage<1>, UnservedMessage<1>,
             UnservedMessage<1>, UnservedMessage<8>, UnservedMessage<7>> {
    using Choice::Choice;
    static constexpr std::array<const char*, 33> Names = {"gatekeeperRequest",
                                                          "gatekeeperConfirm",
                                                          "gatekeeperReject",
                                                          "registrationRequest",
                                                          "registrationConfirm",
                                                          "registrationReject",
                                                          "unregistrationRequest",
                                                          "unregistrationConfirm",
                                                          "unregistrationReject",
                                                          "admissionRequest",
                                                          "admissionConfirm",
                                                          "admissionReject",
                                                          "bandwidthRequest",
                                                          "bandwidthConfirm",
                                                          "bandwidthReject",
                                                          "disengageRequest",
                                                          "disengageConfirm",
                                                          "disengageReject",
                                                          "locationRequest",
                                                          "locationConfirm",
                                                          "locationReject",
                                                          "infoRequest",
                                                          "infoRequestResponse",
                                                          "nonStandardMessage",
                                                          "unknownMessageResponse",
                                                          "requestInProgress",
                                                          "resourcesAvailableIndicate",
                                                          "resourcesAvailableConfirm",
                                                          "infoRequestAck",
                                                          "infoRequestNak",
                                                          "serviceControlIndication",
                                                          "serviceControlResponse",
                                                          "(unknown)"};
};

}  // namespace h323

// Either side's messages, in both directions. A value: no thread, no resources.
class RasMessage {
 public:
    RasMessage() = default;
    // From one of the message structs, such as h323::GatekeeperRequest.
    explicit RasMessage(h323::RasMessageBody body) : body(std::move(body)) {}

    // Nothing when the datagram is not a whole, well-formed message: a length past the end, an alternative
    // that the standard does not have, a value outside its constraint, octets left over.
    static std::optional<RasMessage> Decode(std::span<const std::uint8_t> datagram);

    // The datagram; empty when a value is outside its constraint or the message is one that is only received.
    std::vector<std::uint8_t> Encode() const;

    // Every component with its name and value, a line each.
    std::string Dump() const;
    // "RRQ 17", with the reason of a refusal behind it.
    std::string Summary() const;

    // 0 when it is of a kind that is not known at all.
    std::uint16_t SequenceNumber() const;

    // Whether it is a request that asks for an answer, of a kind that is not served here.
    bool IsUnservedRequest() const;

    // The message as T, null when it is another.
    template <class T>
    const T* As() const {
        return std::get_if<T>(&body.AsVariant());
    }

    bool operator==(const RasMessage&) const = default;

    h323::RasMessageBody body;
};

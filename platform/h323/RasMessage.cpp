#include "platform/h323/RasMessage.h"

using namespace h323;

namespace {

// The alternatives of RasMessageBody in their order.
struct Kind {
    const char* abbreviation;
    bool unservedRequest;
};

constexpr std::array<Kind, RasMessageBody::Known + 1> Kinds = {
    {{"GRQ", false}, {"GCF", false}, {"GRJ", false},      {"RRQ", false}, {"RCF", false},  {"RRJ", false},
     {"URQ", false}, {"UCF", false}, {"URJ", false},      {"ARQ", true},  {"ACF", false},  {"ARJ", false},
     {"BRQ", true},  {"BCF", false}, {"BRJ", false},      {"DRQ", true},  {"DCF", false},  {"DRJ", false},
     {"LRQ", true},  {"LCF", false}, {"LRJ", false},      {"IRQ", false}, {"IRR", false},  {"NSM", true},
     {"XRS", false}, {"RIP", false}, {"RAI", true},       {"RAC", false}, {"IACK", false}, {"INAK", false},
     {"SCI", true},  {"SCR", false}, {"(unknown)", false}}};

std::string ReasonOf(const RasMessage& message) {
    if (const auto* grj = message.As<GatekeeperReject>()) return NameOf(grj->rejectReason);
    if (const auto* rrj = message.As<RegistrationReject>()) return NameOf(rrj->rejectReason);
    if (const auto* urj = message.As<UnregistrationReject>()) return NameOf(urj->rejectReason);
    const auto* urq = message.As<UnregistrationRequest>();
    return urq != nullptr && urq->reason ? NameOf(*urq->reason) : "";
}

}  // namespace

std::optional<RasMessage> RasMessage::Decode(std::span<const std::uint8_t> datagram) {
    std::optional<RasMessage> message(std::in_place);
    PerReader per(datagram);
    RasDecoder(per).Field("", message->body);
    per.Finish();
    if (datagram.empty() || per.Failed()) message.reset();
    return message;
}

std::vector<std::uint8_t> RasMessage::Encode() const {
    PerWriter per;
    RasEncoder(per).Field("", body);
    return per.Take();
}

std::string RasMessage::Dump() const {
    RasPrinter printer;
    printer.Field("RasMessage", body);
    return printer.Text();
}

std::string RasMessage::Summary() const {
    std::string summary = Kinds[body.index()].abbreviation;
    summary += ' ' + std::to_string(SequenceNumber());
    const std::string reason = ReasonOf(*this);
    return reason.empty() ? summary : summary + ' ' + reason;
}

std::uint16_t RasMessage::SequenceNumber() const {
    return std::visit(
        [](const auto& message) -> std::uint16_t {
            if constexpr (requires { message.requestSeqNum; }) {
                return static_cast<std::uint16_t>(message.requestSeqNum.value);
            } else {
                return 0;
            }
        },
        body.AsVariant());
}

bool RasMessage::IsUnservedRequest() const {
    return Kinds[body.index()].unservedRequest;
}

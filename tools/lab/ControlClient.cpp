#include "tools/lab/ControlClient.h"

#include <algorithm>
#include <cstdio>

namespace lab {

namespace {
constexpr std::int64_t NsPerMs = 1'000'000;

int MsLeft(std::int64_t deadlineNs) {
    return static_cast<int>(std::max<std::int64_t>(0, (deadlineNs - WallNs() + NsPerMs - 1) / NsPerMs));
}
}  // namespace

std::string ControlClient::Reply::Words() const {
    char text[120];
    switch (outcome) {
        case Outcome::Acknowledged:
            std::snprintf(text, sizeof text, "acknowledged (sequence %u) after %.1f ms", seq, ms);
            return text;
        case Outcome::NoAnswer:
            std::snprintf(text, sizeof text, "no acknowledgement within %.0f ms", ms);
            return text;
        case Outcome::Refused:
            return "nothing listens at that port";
        case Outcome::NotSent:
            return "the request could not be sent";
    }
    return {};
}

bool ControlClient::Open(const SockAddr& address, std::string& error) {
    module = address;
    if (!socket.Open(SockAddr(0U, 0), error)) return false;
    socket.ReportRefusals();
    return true;
}

ControlClient::Reply ControlClient::Send(ControlDatagram message) {
    message.seq = ++seq;
    const std::int64_t begin = WallNs();
    if (!SendRaw(message.Encode())) return {Outcome::NotSent, 0, seq};
    const std::int64_t deadline = begin + timeoutMs * NsPerMs;
    for (int left = timeoutMs; left > 0; left = MsLeft(deadline)) {
        const std::optional<ControlDatagram> answer = Take(left);
        if (socket.refused) return {Outcome::Refused, 0, seq};
        if (answer && answer->event == ControlEvent::Ack && answer->seq == seq)
            return {Outcome::Acknowledged, static_cast<double>(takenNs - begin) / NsPerMs, seq};
    }
    return {Outcome::NoAnswer, static_cast<double>(timeoutMs), seq};
}

std::optional<ControlDatagram> ControlClient::Take(int ms) {
    const std::optional<UdpSocket::Arrival> arrival = socket.Receive(ms);
    if (!arrival || arrival->from.Port() != module.Port()) return std::nullopt;
    takenNs = arrival->atNs;
    std::optional<ControlDatagram> message = ControlDatagram::Decode(arrival->data);
    if (message && message->event == ControlEvent::Digit && digits.size() < MaxQueued)
        digits.push_back(*message);
    return message;
}

std::optional<ControlDatagram> ControlClient::WaitDigit(int ms) {
    const std::int64_t deadline = WallNs() + ms * NsPerMs;
    while (digits.empty()) {
        const int left = MsLeft(deadline);
        Take(left);
        if (left == 0 && digits.empty()) return std::nullopt;
    }
    const ControlDatagram digit = digits.front();
    digits.pop_front();
    return digit;
}

std::optional<ControlDatagram> ControlClient::WaitAnswer(int ms) {
    const std::int64_t deadline = WallNs() + ms * NsPerMs;
    for (;;) {
        const int left = MsLeft(deadline);
        std::optional<ControlDatagram> message = Take(left);
        if (message && message->event == ControlEvent::Ack) return message;
        if (left == 0) return std::nullopt;
    }
}

bool ControlClient::Map(const MapRequest& request) {
    ControlDatagram message{0,
                            ControlEvent::Map,
                            request.chan,
                            request.comp,
                            request.remote.Address(),
                            request.remote.Port(),
                            request.mfpp,
                            request.flags,
                            {}};
    if (request.keys != nullptr) message.extra = request.keys->KeyBlock();
    return Acknowledged(std::move(message));
}

bool ControlClient::Unmap(UWORD chan) {
    return Acknowledged({.event = ControlEvent::Unmap, .chan = chan, .extra = {}});
}

bool ControlClient::Free(UWORD chan) {
    return Acknowledged({.event = ControlEvent::FreeChan, .chan = chan, .extra = {}});
}

bool ControlClient::HoldMusic(UWORD chan, UBYTE comp, const SockAddr& group) {
    return Acknowledged({.event = ControlEvent::HoldMusic,
                         .chan = chan,
                         .comp = comp,
                         .addr = group.Address(),
                         .port = group.Port(),
                         .extra = {}});
}

bool ControlClient::ConferenceAdd(UWORD chan, UWORD host) {
    return Acknowledged({.event = ControlEvent::ConfAdd, .chan = chan, .port = host, .extra = {}});
}

bool ControlClient::ConferenceRemove(UWORD chan, UWORD host) {
    return Acknowledged({.event = ControlEvent::ConfRemove, .chan = chan, .port = host, .extra = {}});
}

bool ControlClient::SendDigit(UWORD chan, char key, ULONG ms) {
    return Acknowledged({.event = ControlEvent::Digit,
                         .chan = chan,
                         .addr = ms,
                         .port = static_cast<UBYTE>(key),
                         .extra = {}});
}

}  // namespace lab

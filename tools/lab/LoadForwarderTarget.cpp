#include "tools/lab/LoadForwarderTarget.h"

#include <array>

#include "platform/media/ByteOrder.h"

namespace lab {

namespace {
constexpr int AnswerMs = 2000;
constexpr double NsPerMs = 1e6;
}  // namespace

bool LoadForwarderTarget::Open(std::string& error) {
    return socket.Open(SockAddr(0U, 0), error);
}

bool LoadForwarderTarget::SetUp(int slot, std::span<Leg, 2> legs, std::string& error) {
    if (legs[0].settings.codec != legs[1].settings.codec || legs[0].settings.srtp || legs[1].settings.srtp) {
        error = "The plain forwarder knows neither codecs nor SRTP: both legs must be alike and unprotected.";
        return false;
    }
    if (slot == 0) firstPeer = legs[0].own;
    for (int side = 0; side < 2; ++side) {
        Leg& leg = legs[static_cast<std::size_t>(side)];
        leg.far = SockAddr(first.Address(), static_cast<UWORD>(first.Port() + 2 * slot + side));
        if (Announce(leg.own, leg.far)) continue;
        error = "The forwarder does not answer at port " + std::to_string(leg.far.Port()) + ".";
        return false;
    }
    return true;
}

std::optional<double> LoadForwarderTarget::AskMs() {
    return Announce(firstPeer, first);
}

std::optional<double> LoadForwarderTarget::Announce(const SockAddr& peer, const SockAddr& leg) {
    std::array<UBYTE, 6> message;
    media::Put32(message.data(), peer.Address());
    media::Put16(&message[4], peer.Port());
    const std::int64_t begin = WallNs();
    if (!socket.SendTo(message, leg)) return std::nullopt;
    const std::optional<UdpSocket::Arrival> echo = socket.Receive(AnswerMs);
    if (!echo) return std::nullopt;
    return static_cast<double>(echo->atNs - begin) / NsPerMs;
}

}  // namespace lab

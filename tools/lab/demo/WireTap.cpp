// Sits on the wire between a leg of the module and its far end.
#include "tools/lab/demo/WireTap.h"

#include <poll.h>

#include <array>
#include <stop_token>

namespace lab {

namespace {

constexpr int StopCheckMs = 50;

}  // namespace

WireTap::~WireTap() {
    thread.request_stop();
    if (thread.joinable()) thread.join();
}

bool WireTap::Open(ULONG address, std::string& error) {
    return ports.Open(address, error);
}

void WireTap::Connect(const SockAddr& moduleLeg, const SockAddr& farEnd) {
    module = moduleLeg;
    far = farEnd;
    thread = std::jthread([this](const std::stop_token& stop) {
        std::array<pollfd, 2> waits{pollfd{ports.rtp.Descriptor(), POLLIN, 0},
                                    pollfd{ports.rtcp.Descriptor(), POLLIN, 0}};
        while (!stop.stop_requested()) {
            if (poll(waits.data(), waits.size(), StopCheckMs) <= 0) continue;
            Pass(ports.rtp, 0, true);
            Pass(ports.rtcp, 1, false);
        }
    });
}

void WireTap::Pass(UdpSocket& socket, UWORD portOffset, bool keep) {
    while (const auto arrival = socket.Receive(0)) {
        const bool outbound = arrival->from == SockAddr(module.Address(), module.Port() + portOffset);
        const SockAddr& to = outbound ? far : module;
        socket.SendTo(arrival->data, SockAddr(to.Address(), to.Port() + portOffset));
        if (!keep) continue;
        const std::lock_guard held(lock);
        (outbound ? fromModule : fromFarEnd).push_back(arrival->data);
    }
}

std::vector<std::vector<UBYTE>> WireTap::FromModule() const {
    const std::lock_guard held(lock);
    return fromModule;
}

std::vector<std::vector<UBYTE>> WireTap::FromFarEnd() const {
    const std::lock_guard held(lock);
    return fromFarEnd;
}

}  // namespace lab

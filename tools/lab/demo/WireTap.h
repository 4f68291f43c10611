// Sits on the wire between a leg of the module and its far end: passes RTP and RTCP on in both directions,
// keeps a copy of every RTP datagram, and can put datagrams of its own on the wire.
#pragma once

#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tools/lab/UdpSocket.h"

namespace lab {

// Any thread may call any operation.
class WireTap {
 public:
    WireTap() = default;
    ~WireTap();
    WireTap(const WireTap&) = delete;
    WireTap& operator=(const WireTap&) = delete;

    // Opens two ports at `address`; false with the reason in `error`.
    bool Open(ULONG address, std::string& error);
    // The RTP port, which each side takes for the other one.
    SockAddr Local() const { return ports.rtp.Local(); }
    // The RTP addresses of both sides. Call it once, after Open: passing on begins.
    void Connect(const SockAddr& moduleLeg, const SockAddr& farEnd);

    // A datagram to the module's RTP port.
    bool SendToModule(std::span<const UBYTE> datagram) const { return ports.rtp.SendTo(datagram, module); }

    // Copies of the RTP datagrams that passed so far.
    std::vector<std::vector<UBYTE>> FromModule() const;
    std::vector<std::vector<UBYTE>> FromFarEnd() const;

 private:
    void Pass(UdpSocket& socket, UWORD portOffset, bool keep);

    UdpPair ports;
    SockAddr module;
    SockAddr far;
    mutable std::mutex lock;
    std::vector<std::vector<UBYTE>> fromModule;
    std::vector<std::vector<UBYTE>> fromFarEnd;
    std::jthread thread;
};

}  // namespace lab

// The plain forwarder of bench/PlainForwarder.cpp as the target of a load run: the least that any relay
// costs.
#pragma once

#include "tools/lab/LoadTarget.h"
#include "tools/lab/UdpSocket.h"

namespace lab {

// Slot n has its internal leg at `first` + 2n and its external leg at the next port. A datagram of 6 bytes
// (address and port, big-endian) tells a leg whom it speaks to, and comes back as it is.
class LoadForwarderTarget : public LoadTarget {
 public:
    LoadForwarderTarget(const SockAddr& first, pid_t process) : first(first), process(process) {}

    // False with the reason in `error`.
    bool Open(std::string& error);

    ULONG OwnAddress() const override { return first.Address(); }
    pid_t Process() const override { return process; }
    bool SetUp(int slot, std::span<Leg, 2> legs, std::string& error) override;
    bool Release(int) override { return true; }
    std::optional<double> AskMs() override;

 private:
    // Milliseconds until it came back.
    std::optional<double> Announce(const SockAddr& peer, const SockAddr& leg);

    const SockAddr first;
    const pid_t process;
    UdpSocket socket;
    SockAddr firstPeer;
};

}  // namespace lab

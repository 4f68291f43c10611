#include "tools/lab/HoldMusicSource.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>

namespace lab {

HoldMusicSource::~HoldMusicSource() {
    stopping = true;
    if (thread.joinable()) thread.join();
}

bool HoldMusicSource::Start(const SockAddr& to, std::shared_ptr<const CodedSpeech> music,
                            ULONG interfaceAddress, std::string& error) {
    group = to;
    if (!socket.Open(SockAddr(interfaceAddress, 0), error)) return false;
    ip_mreqn outgoing{};
    outgoing.imr_address.s_addr = htonl(interfaceAddress);
    if (setsockopt(socket.Descriptor(), IPPROTO_IP, IP_MULTICAST_IF, &outgoing, sizeof outgoing) != 0) {
        error = std::string("Cannot send multicast from that interface: ") + std::strerror(errno);
        return false;
    }
    thread = std::thread(&HoldMusicSource::Run, this, std::move(music));
    return true;
}

void HoldMusicSource::Run(std::shared_ptr<const CodedSpeech> music) {
    const auto interval = std::chrono::milliseconds(music->packetMs);
    RtpSender sender(std::move(music), 0);
    std::array<UBYTE, RtpSender::MaxPacket> room;
    for (auto due = std::chrono::steady_clock::now(); !stopping; due += interval) {
        std::this_thread::sleep_until(due);
        const std::size_t length = sender.Next(room);
        if (socket.SendTo(std::span(room).first(length), group)) ++packets;
    }
}

}  // namespace lab

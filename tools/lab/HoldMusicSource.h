// Sends speech to a multicast group, as the source of a system's hold music does.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "tools/lab/RtpSender.h"
#include "tools/lab/UdpSocket.h"

namespace lab {

class HoldMusicSource {
 public:
    HoldMusicSource() = default;
    ~HoldMusicSource();
    HoldMusicSource(const HoldMusicSource&) = delete;
    HoldMusicSource& operator=(const HoldMusicSource&) = delete;

    // Sends `music` to `group` round and round, out of the interface that carries `interfaceAddress`, until
    // destroyed. False with the reason in `error`.
    bool Start(const SockAddr& group, std::shared_ptr<const CodedSpeech> music, ULONG interfaceAddress,
               std::string& error);
    ULONG PacketsSent() const { return packets; }

 private:
    void Run(std::shared_ptr<const CodedSpeech> music);

    UdpSocket socket;
    SockAddr group;
    std::atomic<bool> stopping{false};
    std::atomic<ULONG> packets{0};
    std::thread thread;
};

}  // namespace lab

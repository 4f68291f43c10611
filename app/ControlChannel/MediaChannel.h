// One leg of a pair: its sockets, its RTP endpoint and the media device that the endpoint exchanges audio
// with.
//
// All operations are the module thread's; those that change what a relay thread reads hold the pair's lock.
#pragma once

#include <memory>

#include "app/ControlChannel/ControlMessage.h"
#include "app/ControlChannel/Counter.h"
#include "app/ControlChannel/MediaRelay.h"
#include "platform/kernel/AsyncSocket.h"
#include "platform/kernel/OSIndirectList.h"
#include "platform/kernel/OSTimerTrigger.h"
#include "platform/media/MSA.h"
#include "platform/media/MediaDevice.h"
#include "platform/media/RTPEndPoint.h"

class MediaPair;

// Returns a socket to the kernel library, which alone may destroy it.
struct SocketRelease {
    void operator()(AsyncSocket* socket) const { socket->Free(); }
};

class MediaChannel : public OSListObj {
 public:
    using CompType = ControlMessage::CompType;
    using SocketPtr = std::unique_ptr<AsyncSocket, SocketRelease>;

    static constexpr int FirstStream = 512;  // stream id of channel 0

    // Channel `Achan` of `p`; its RTP port is portbase + 2 * Achan, RTCP the next. Idle until a Setup.
    MediaChannel(MediaPair* p, int portbase, int Achan);
    // Leaves its conferences and releases everything.
    ~MediaChannel() override;

    // One console line with the class prefix, cut to 1023 bytes.
    [[gnu::format(printf, 2, 3)]] void Trace(const char* format, ...) const;
    // True when the 16-bit number at `key` is this channel's.
    bool IsKey(char* key) override;

    // Replaces what the leg had by an endpoint towards addr:port (host order). `mfpp`: milliseconds a packet
    // for G.711, 10 ms frames for G.729, 0 for 30 ms; `flags`: ControlMessage::Flags. Without its sockets the
    // leg is left without endpoint, which is traced.
    void Setup(CompType comp, ULONG addr, UWORD port, UBYTE mfpp, UBYTE flags);
    // Replaces what the leg had by a receiver of the multicast stream group:port.
    void SetupHoldMusic(CompType comp, ULONG group, UWORD port);
    // Starts the stream of the last set-up, if that made an endpoint; of the arguments the address counts, by
    // which the local one is found.
    void Start(CompType comp, ULONG addr, UWORD port);
    // Releases sockets, endpoint and media device; the leg is left without endpoint.
    void Teardown();

    // Opens the RTP socket on `port` and the RTCP socket on the next one; 0 when both exist, else -1.
    int CreateRTPSockets(ULONG addr, int port);

    // Makes `member` one of the conference that this channel hosts, and undoes it. Ignores a null member, one
    // that has a host already (or another host), and a link that would close a ring of hosts: their relay
    // threads would wait for each other's locks for ever.
    void ConferenceAdd(MediaChannel* member);
    void ConferenceRemove(MediaChannel* member);

    // Time of one packet in milliseconds.
    int PacketTime() const { return msa.comp == ControlMessage::G729 ? msa.mfpp * 10 : msa.mfpp; }

    // A digit that this leg's endpoint received: played on the other leg, and reported when this is the
    // external one. `context` is the channel; `duration` in milliseconds.
    static void RtpDtmfCallback(void* context, char digit, int duration);
    // Switches the channel `obj` to its hold music.
    static void HoldMusicTimer(OSObj* obj, void* param, unsigned long value);

    MediaPair* const parent;
    const int chan;
    const int locport;  // may lie beyond the 16 bits of a port: no socket can be created then
    MSA msa;
    CompType holdMusicCompType = ControlMessage::NoComp;
    SockAddr holdMusic;  // address 0: none
    bool doRelay = false;
    bool blockDtmf = false;  // external leg: digits of the internal one are not passed on
    std::unique_ptr<MediaDevice> phoneDevice;
    std::unique_ptr<RTPEndPoint> rtpendpoint;  // null until a set-up succeeds
    std::unique_ptr<MediaRelay> relay;         // null on the telephony server's own hardware
    SocketPtr rtpsocket;
    SocketPtr rtcpsocket;
    SocketPtr mcsocket;
    MediaChannel* conferenced_to = nullptr;  // the host, not owned
    OSIndirectList<MediaChannel> conferenced_with;
    OSTimerTrigger holdMusicTimer{0, 0};

    Counter rxcount;                 // payloads that came to the relay
    Counter txcount;                 // packets that left it
    Counter rxq_overruns;            // frames dropped from its full receive queue
    Counter rxq_underruns;           // reported only
    Counter txdiscards;              // reported only
    Counter txdiscards2;             // frames dropped because the codec cannot be sent
    ULONG last_rxdiscard_count = 0;  // the endpoint's running count at the last report

 private:
    void SetFormat(CompType comp, UBYTE mfpp);
    void OpenEndpoint(const SockAddr& mediaAddr, const SockAddr& controlAddr, bool isHoldMusic);
    bool WouldCloseRing(const MediaChannel& member) const;
    void RestoreConference() const;
    void OnInternalDigit(char digit, int duration) const;
    void OnExternalDigit(char digit, int duration) const;
};

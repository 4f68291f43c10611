// The far end of one leg: an RTP and RTCP port pair with a thread of its own that talks on the clock,
// listens, records and measures.
#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "platform/media/TelephoneEventSender.h"
#include "tools/lab/RtcpReporter.h"
#include "tools/lab/RtpReceiver.h"
#include "tools/lab/RtpSender.h"
#include "tools/lab/SrtpKeys.h"
#include "tools/lab/UdpSocket.h"

namespace lab {

// Any thread may call any operation.
class RtpPeer {
 public:
    struct Setup {
        Codec codec = Codec::Alaw;
        int packetMs = 20;
        std::optional<SrtpKeys> keys = std::nullopt;
        ULONG address = 0x7F000001;  // of this end
        bool record = true;
    };

    explicit RtpPeer(const Setup& setup);
    ~RtpPeer();
    RtpPeer(const RtpPeer&) = delete;
    RtpPeer& operator=(const RtpPeer&) = delete;

    // Opens the ports and starts listening; false with the reason in `error`.
    bool Open(std::string& error);
    // The RTP port, to be named in a Map request.
    SockAddr Local() const { return pair.rtp.Local(); }
    const Setup& Settings() const { return setup; }
    // The module's leg (its RTP port), to which everything is sent.
    void ConnectTo(const SockAddr& leg);

    // Talks from now on, a packet every packetMs, round and round; coded as Settings say.
    void Talk(std::shared_ptr<const CodedSpeech> speech, std::size_t firstPacket = 0);
    void Hush();
    // A key of `ms` milliseconds as telephone events; speech rests meanwhile. False when it is no key or too
    // many wait.
    bool SendDigit(char key, int ms);
    // Any bytes from the RTP or RTCP port.
    bool SendRtp(std::span<const UBYTE> bytes);
    bool SendRtcp(std::span<const UBYTE> bytes);

    // Measures what this peer is going to say as `listener` hears it: call it before Talk, with the same
    // speech. The result is the matcher's Finish, after Hush.
    std::shared_ptr<DelayMatcher> MeasureTo(RtpPeer& listener,
                                            const std::shared_ptr<const CodedSpeech>& speech,
                                            std::size_t firstPacket = 0);

    // Waits at most `ms` until `condition(const RtpReceiver&)` holds.
    template <class Condition>
    bool WaitFor(int ms, Condition condition) {
        std::unique_lock held(lock);
        return changed.wait_for(held, std::chrono::milliseconds(ms), [&] { return condition(receiver); });
    }
    bool WaitAudio(std::uint64_t packets, int ms);
    // Waits for `count` digits altogether, and gives those that came as text.
    std::string WaitDigits(std::size_t count, int ms);
    // Waits for the module's BYE.
    bool WaitBye(int ms);

    ReceiveCounts Counts() const;
    RtcpReporter::Heard Reports() const;
    std::uint64_t PacketsSent() const;  // audio and events
    std::vector<RtpReceiver::Digit> Digits() const;
    std::vector<std::int16_t> Recording() const;
    std::vector<UBYTE> Bytes() const;  // audio payloads in the order of arrival
    std::vector<std::int64_t> ArrivalsNs() const;
    void ClearRecording();

    // Faults on purpose: another SSRC, a jump of the sequence.
    void ChangeSource(ULONG ssrc);
    void SkipSequence(UWORD count);

 private:
    void Run();
    void Wait();
    void DrainRtp();
    void DrainRtcp();
    void Tick();
    void SendNext();
    void SendReport();
    std::int64_t NextDue() const;

    const Setup setup;
    UdpPair pair;
    SockAddr leg;

    mutable std::mutex lock;
    std::condition_variable changed;
    RtpSender sender;
    RtpReceiver receiver;
    RtcpReporter reporter;
    media::TelephoneEventSender events;
    std::shared_ptr<DelayMatcher> outgoing;
    bool talking = false;
    std::int64_t due = 0;  // of the next packet, WallNs scale; 0: nothing to send
    std::int64_t reportDue = 0;

    int wake = -1;  // eventfd: the thread looks at its schedule again
    bool stopping = false;
    std::thread thread;
};

}  // namespace lab

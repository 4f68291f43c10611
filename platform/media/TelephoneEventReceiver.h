// Makes digits of the telephone events that arrive (RFC 4733, 2.5.2): each exactly once, whatever is lost,
// repeated or reordered. An event is recognised by SSRC and time stamp. It is reported with its end, or when
// another event, later audio or silence overtakes it. The marker bit plays no part.
#pragma once

#include <array>
#include <span>

#include "platform/kernel/Types.h"
#include "platform/media/TelephoneEvent.h"

namespace media {

class TelephoneEventReceiver {
 public:
    class Listener {
     public:
        virtual void OnDigit(char digit, int durationMs) = 0;
        // A digit that came faster than anyone can press keys was dropped.
        virtual void OnExcessDigit() {}

     protected:
        ~Listener() = default;
    };

    static constexpr ULONG SilenceMs = 300;   // without a packet, after which an event has ended
    static constexpr ULONG MemoryMs = 3000;   // without a packet, after which a reported event is forgotten
    static constexpr ULONG AudioSlack = 800;  // time stamp units by which audio must be ahead to overtake
    static constexpr ULONG MinDigitIntervalMs = 40;  // mean; what a flood has more of is dropped
    static constexpr ULONG BurstMs = 32 * MinDigitIntervalMs;

    explicit TelephoneEventReceiver(Listener& listener) : listener(listener) {}

    // A packet of the event payload type; `now` is an os_clock value. False when it is malformed.
    bool OnEventPacket(ULONG ssrc, ULONG timestamp, std::span<const UBYTE> payload, ULONG now);
    // An audio packet.
    void OnAudio(ULONG ssrc, ULONG timestamp, ULONG now);
    // Time has passed: call it SilenceMs after the last event packet at the latest.
    void OnTime(ULONG now);
    // The stream ends: reports what is pending.
    void Flush(ULONG now);

    bool IsPending() const { return pending; }

 private:
    // One key press: what of the time axis it covers so far.
    struct Press {
        ULONG ssrc = 0;
        ULONG start = 0;     // time stamp
        ULONG duration = 0;  // time stamp units
        UBYTE event = 0;
        ULONG heardAt = 0;  // os_clock of the last packet

        bool Covers(ULONG otherSsrc, ULONG timestamp, UBYTE otherEvent) const;
        bool IsNextSegment(ULONG timestamp) const;
    };
    struct Reported {
        Press press;
        bool used = false;
    };

    void OnEvent(ULONG ssrc, ULONG timestamp, const TelephoneEvent& event, ULONG now);
    bool Continues(ULONG ssrc, ULONG timestamp, UBYTE event) const;
    bool WasReported(ULONG ssrc, ULONG timestamp, UBYTE event, ULONG now);
    void Report(const Press& press, ULONG now);
    bool Admit(ULONG now);

    Listener& listener;
    bool pending = false;
    Press current;
    std::array<Reported, 8> reported{};
    size_t nextReported = 0;
    ULONG budgetMs = BurstMs;
    ULONG budgetAt = 0;
};

}  // namespace media

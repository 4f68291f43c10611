// The packets of the telephone events that we send (RFC 4733, 2.5.1): one time stamp an event, the marker on
// its first packet, a duration that grows with each update, the end three times, a pause before the next
// event. Owns no timer and no socket: it is polled, and says what to send.
#pragma once

#include <array>
#include <optional>

#include "platform/kernel/Types.h"
#include "platform/media/TelephoneEvent.h"

namespace media {

class TelephoneEventSender {
 public:
    struct Packet {
        TelephoneEvent event;
        ULONG timestamp;
        bool marker;
    };

    static constexpr int MaxQueued = 32;
    static constexpr int MinDurationMs = 40;
    static constexpr int MaxDurationMs = 60000;
    static constexpr ULONG PauseMs = 60;  // from the end of an event to the next, at least
    static constexpr int EndPackets = 3;

    // `updateMs`: the time between two packets of an event.
    explicit TelephoneEventSender(int updateMs = 20) : updateMs(updateMs) {}

    // Queues a digit; its duration is brought into the range above. False when `digit` is none, or too many
    // wait.
    bool Add(char digit, int durationMs);
    // An event is being sent or waits: what it replaces is not sent meanwhile.
    bool IsBusy() const { return sending || queued > 0; }

    // Call it at once after the Add that made it busy, then after each NextPoll. `now` is an os_clock value,
    // `clock` the time stamp of this moment. Nothing: nothing is to be sent now.
    std::optional<Packet> Poll(ULONG now, ULONG clock);
    // Milliseconds from `now` to the next Poll, while busy.
    ULONG NextPoll(ULONG now) const;
    // Forgets everything.
    void Clear();

 private:
    struct Waiting {
        UBYTE event;
        ULONG duration;  // time stamp units
    };

    bool IsPaused(ULONG now) const;
    bool Begin(ULONG now, ULONG clock);
    ULONG Progress(ULONG now) const;
    void NextSegment();
    void CountEnd(ULONG now);

    const int updateMs;
    std::array<Waiting, MaxQueued> queue{};
    int queueHead = 0;
    int queued = 0;

    bool sending = false;
    bool first = false;
    Waiting current{};
    ULONG segmentStart = 0;  // time stamp
    ULONG segmentDone = 0;   // units of the event before this segment
    ULONG startedAt = 0;     // os_clock
    int endsSent = 0;
    bool paused = false;   // the pause after an event may not be over
    ULONG pauseUntil = 0;  // os_clock
};

}  // namespace media

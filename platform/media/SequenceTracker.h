// Follows the packets of one RTP stream: order, loss and jitter (RFC 3550, A.1, A.3 and A.8). Time stamps
// play no part in loss. A new SSRC, or a sequence number far from the last, starts the stream anew at once:
// whom to listen to is decided by address and key before.
#pragma once

#include <bitset>

#include "platform/kernel/Types.h"

namespace media {

class SequenceTracker {
 public:
    enum class Verdict {
        First,      // of the first stream
        InOrder,    // newer than all before, perhaps behind a gap
        Late,       // older than the newest, not heard before
        Duplicate,  // heard before
        NewSource,  // first of another SSRC
        Jump,       // first of the same SSRC at another place
    };

    static constexpr int MaxDropout = 3000;  // sequence numbers skipped that are still loss
    static constexpr int MaxMisorder = 100;  // sequence numbers back that are still late

    Verdict Accept(ULONG ssrc, UWORD sequence);
    // The time stamp of a packet that was not late, and when it came on a clock of the same unit. False when
    // the sender's clock has jumped against ours since the last packet; the estimate then begins anew.
    bool AddTiming(ULONG timestamp, ULONG arrival);
    // Ends the stream: the next packet is a First.
    void Reset();

    // Of the current stream.
    bool Started() const { return started; }
    ULONG Ssrc() const { return ssrc; }
    ULONG HighestSequence() const { return highest; }  // extended by the cycle count
    ULONG Received() const { return received; }        // with late packets and duplicates
    ULONG Expected() const { return started ? highest - base + 1 : 0; }
    std::int32_t Lost() const;                    // expected less received, in the 24 bits of a report
    ULONG Jitter() const { return jitter >> 4; }  // in time stamp units
    // Share of packets lost since the last call, in 256ths.
    UBYTE FractionLost();

    // Over all streams: packets that were missing when a later one came (that come late after all included),
    // and jumps.
    ULONG SequenceErrors() const { return sequenceErrors; }
    // Over all streams: new sources, jumps of sequence and jumps of the sender's clock.
    ULONG TimingErrors() const { return timingErrors; }

 private:
    void Start(ULONG newSsrc, UWORD sequence);
    void Advance(int steps);
    Verdict LookBack(int steps);

    bool started = false;
    bool timed = false;
    ULONG ssrc = 0;
    ULONG base = 0;
    ULONG highest = 0;
    ULONG received = 0;
    ULONG expectedPrior = 0;
    ULONG receivedPrior = 0;
    ULONG transit = 0;
    ULONG jitter = 0;  // scaled by 16
    ULONG sequenceErrors = 0;
    ULONG timingErrors = 0;
    std::bitset<MaxMisorder + 1> heard;  // bit n: the packet n before the highest
};

}  // namespace media

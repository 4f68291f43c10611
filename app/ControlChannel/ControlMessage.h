// One control request or report, and its datagram.
//
// Datagram, all numbers big-endian: seq (1), event (1), chan (1; 2 from channel 128 on, with bit 15 set),
// comp (1), addr (4), port (2), mfpp (1), flags (1), extra (to the end). mfpp and flags may be missing on
// receipt.
#pragma once

#include <array>
#include <span>

#include "platform/kernel/OSBuf.h"
#include "platform/kernel/OSListObj.h"

class ControlMessage : public OSListObj {
 public:
    // Values as they travel; others travel too.
    enum Event : int {
        Map = 0,
        Unmap = 1,
        Ack = 2,
        HoldMusic = 3,
        FreeChan = 4,
        ConfAdd = 5,
        ConfRemove = 6,
        Digit = 7,
        Null = 8,
        NumEvents
    };

    // Values as they travel: the protocol's own numbering, not RTP's. They name a leg's codec everywhere.
    enum CompType : int { NoComp = 0, Alaw = 1, Ulaw = 3, G723 = 8, G729 = 11, Relay = 12, NumCompTypes };

    enum Flags : UBYTE { FlagRelay = 1, FlagBlockDtmf = 2 };

    static const char* const EventName[NumEvents];

    ControlMessage() = default;
    // Wipes `extra`, which may have held keys.
    ~ControlMessage() override;
    ControlMessage(const ControlMessage&) = delete;
    ControlMessage& operator=(const ControlMessage&) = delete;

    // A new message on the heap, the caller's to Free or delete.
    static ControlMessage& Alloc(int seq, Event event, int chan, CompType comp, unsigned long addr,
                                 unsigned short port, unsigned char mfpp);
    void Free() { delete this; }

    // The datagram of this message, the caller's. Of `chan` the low 15 bits travel.
    OSBuf* SysToNet() const;

    // Whether `datagram` reaches through its port; what does not is no message.
    static bool HasFixedPart(std::span<const UBYTE> datagram);
    // The message of `buf`, the caller's to delete; `buf` stays the caller's. Judges no value; bytes missing
    // from the datagram read as 0. Dumps a datagram that has an extra block.
    static ControlMessage& NetToSys(OSBuf* buf);

    // The event's name, "<unknown>" for one that is not listed.
    const char* Name() const;
    // The octets of `addr` as they are written, the most significant first.
    std::array<unsigned, 4> Octets() const;
    std::span<const UBYTE> Extra() const { return {extra, static_cast<size_t>(extraLen)}; }

    UBYTE seq = 0;
    Event event = Null;
    UWORD chan = 0;
    CompType comp = NoComp;
    ULONG addr = 0;  // IPv4 address, host order
    UWORD port = 0;
    UBYTE mfpp = 0;          // maximum frames per packet, 0: the codec's default
    UBYTE flags = 0;         // Flags
    UBYTE* extra = nullptr;  // trailing block, made with new[], owned
    int extraLen = 0;        // bytes of `extra`; no more than a UDP datagram holds
};

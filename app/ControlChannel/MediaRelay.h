// The software media device of a leg. Payloads that its endpoint receives become 10 ms frames of 80 G.711
// samples that wait for the relay thread; frames that the relay thread sends become packets of the leg's
// packet time.
//
// Created and destroyed on the module thread under the pair's lock. What arrives is the module thread's; Send
// and `confq` belong to whoever holds the pair's lock; `rxq` lies between the two.
#pragma once

#include "app/ControlChannel/Counter.h"
#include "platform/kernel/CriticalSection.h"
#include "platform/kernel/OSIndirectList.h"
#include "platform/kernel/OSLinkList.h"
#include "platform/media/G729Coder.h"
#include "platform/media/G729Decoder.h"
#include "platform/media/MediaDevice.h"

class MediaChannel;

class MediaRelay : public MediaDevice {
 public:
    static constexpr int FrameBytes = 80;  // of G.711 samples: 10 ms
    static constexpr int Headroom = 50;    // bytes in front of the data of every buffer made here
    static constexpr int MaxRxFrames = 20;

    MediaRelay(MediaChannel* chan, bool isHoldMusic);
    ~MediaRelay() override;

    // A received payload. Success when it was queued; Blocked when it was dropped: shorter than 10 ms
    // (silence suppression), longer than a buffer, or of a codec that cannot be relayed.
    OSIORetCode DataIndication(OSBuf* buf) override;
    OSIORetCode DatagramIndication(OSBuf* buf, void* from, void* to) override;

    // The oldest received frame, the caller's; null when there is none.
    OSBuf* GetRxBuf();
    // Takes over a frame to be sent; with it the endpoint gets each packet that became full. 0.
    int Send(OSBuf* frame);

    MediaChannel* const channel;
    G729Coder g729coder;
    G729Decoder g729decoder;
    ULONG ts;                                // sample clock of the next packet
    CRITICAL_SECTION rxq_cs;                 // guards rxq and rxok
    OSIndirectList<OSBuf> rxq{MaxRxFrames};  // received frames, oldest first
    bool rxok = false;                       // a frame has been queued
    OSIndirectList<OSBuf> txq{MaxRxFrames};  // frames for the next packet
    ULONG txlen = 0;                         // bytes in txq
    bool txstarted = false;                  // a frame has been sent
    Counter delay;                           // milliseconds from arrival to packing, summed
    Counter delay_count;                     // frames in that sum
    const bool holdMusic;                    // serves a hold music stream
    OSLinkList<OSBuf> confq;                 // linear copies of received frames, for the conference mixer

 private:
    OSBuf* ToSamples(OSBuf* payload);
    OSBuf* Decode(OSBuf* payload);
    void Queue(OSBuf* frame);
    int PacketSize() const;
    OSBuf* TakeTx();
    OSBuf* Gather(int len);
    int Pack(OSBuf& packet, int filled, OSBuf* frame);
    OSBuf* Encode(OSBuf* samples);
    void Transmit(OSBuf* packet);
};

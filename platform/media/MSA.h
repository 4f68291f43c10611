// The attributes of a media stream.
#pragma once

#include "platform/kernel/SockAddr.h"
#include "platform/media/MediaTypes.h"

struct MSA {
    SockAddr remoteRtp;
    SockAddr remoteRtcp;
    UWORD sid = 0;      // stream id
    UWORD streams = 0;  // media streams described: 1
    int comp = media::NoComp;
    UBYTE mfpp = 0;  // milliseconds a packet for G.711, 10 ms frames a packet for G.729
};

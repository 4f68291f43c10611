// What both directions of a started stream go by.
#pragma once

#include "platform/kernel/SockAddr.h"
#include "platform/media/MediaTypes.h"

namespace media {

struct StreamAttributes {
    SockAddr remoteRtp;   // address or port 0: nothing is sent
    SockAddr remoteRtcp;  // likewise
    int comp = NoComp;
    int payloadType = -1;
    int eventPayloadType = -1;
    bool ulawOnNetwork = false;  // to be converted: the media side has A-law
};

}  // namespace media

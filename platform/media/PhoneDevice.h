// The media device of the telephony server's own hardware for one stream. The hardware carries the audio, so
// none passes through here: the object names the stream and its direction to the endpoint that it is bound
// to.
#pragma once

#include "platform/media/MediaDevice.h"

class PhoneDevice : public MediaDevice {
 public:
    enum Direction { Input = 1, Output = 2, InputOutput = 3 };

    PhoneDevice(UWORD stream, Direction direction) : sid(stream), direction(direction) {}

    int GetChannel() override { return sid; }
    UWORD Stream() const { return sid; }
    Direction GetDirection() const { return direction; }

 private:
    const UWORD sid;
    const Direction direction;
};

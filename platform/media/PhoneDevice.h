// The media device of the telephony server's own hardware for one stream. The hardware carries the audio; the
// object names the stream and its direction.
#pragma once

#include "platform/media/MediaDevice.h"

class PhoneDevice : public MediaDevice {
 public:
    enum Direction { Input = 1, Output = 2, InputOutput = 3 };

    PhoneDevice(UWORD stream, Direction direction) : sid(stream), direction(direction) {}

    int GetChannel() override { return sid; }
    Direction GetDirection() const { return direction; }

 private:
    const UWORD sid;
    const Direction direction;
};

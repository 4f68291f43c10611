// The character devices of the RTP kernel driver, which carries the media on the telephony server's own
// hardware: reports of DTMF keys and the driver's debug text, line by line (docs/hardware.md).
//
// Threads as DeviceTask has them: the callback runs where the object was made.
#pragma once

#include "common/devicetask.h"

class RTPDevice : public DeviceTask {
 public:
    // `channel`: stream id of the leg that heard the key; `duration` in milliseconds.
    using DTMFCallback = void (*)(void* obj, int channel, char key, int duration);

    // Opens the driver's first report device, or without `dtmf` the driver itself. One that does not open has
    // been reported and leaves an object without device.
    explicit RTPDevice(bool dtmf);
    // The same by number: 0 the driver, 1 and 2 its report devices. The node of the second is made where it
    // is missing. Any other number opens nothing.
    explicit RTPDevice(int minor);

    // Every later key goes to `fn` with `obj`; without one it goes to the media library.
    void SetDTMFCallback(DTMFCallback fn, void* obj);

    using DeviceTask::Send;
    void Send(UBYTE* dp, int len) override;
    void Receive(OSBuf* in) override;

 private:
    void OnLine(char* line);
    void OnDtmf(const char* line);

    DTMFCallback dtmfCallback = nullptr;
    void* dtmfObject = nullptr;
};

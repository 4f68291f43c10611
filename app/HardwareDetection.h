// What the process runs on, read off device and hardware files.
#pragma once

// Whether this is the telephony server's own hardware; sets `real_hardware` and says so.
void ProbeHardware();

// Sets `compressionQuantity` and `relayQuantity` to what the hardware found can carry, and names it. Without
// the server's hardware the relay quantity asked for (500 when none was) becomes the number of software
// channels.
void DetectCompressionHardware();

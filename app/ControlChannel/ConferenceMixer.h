// Mixes the two directions of a pair whose internal leg hosts a conference. Called by the pair's relay thread
// under the pair's lock.
#pragma once

#include "platform/kernel/OSBuf.h"

class MediaChannel;
class MediaRelay;

class ConferenceMixer {
 public:
    // Keeps a linear copy of a frame that `from` received, unless enough wait already.
    static void Keep(MediaRelay& from, OSBuf& frame);
    // One frame of A-law from the oldest copies of both legs, added with 16-bit wrap-around, or of the one
    // that has any; null when neither has. Either leg may be null. The caller's.
    static OSBuf* Mix(MediaRelay* internal, MediaRelay* external);
    // Gives each member of `host`'s conference a copy, under the member pair's lock, and frees `mix`.
    static void Distribute(const MediaChannel& host, OSBuf* mix);
};

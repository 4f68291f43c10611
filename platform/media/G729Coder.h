// ITU-T G.729 Annex A encoder with A-law samples at its input. One a stream; one thread at a time.
#pragma once

#include "platform/media/g729/Encoder.h"

class G729Coder {
 public:
    G729Coder() = default;
    G729Coder(const G729Coder&) = delete;
    G729Coder& operator=(const G729Coder&) = delete;

    // `count` A-law samples at `samples`, a multiple of 80, to count / 8 bytes at `frames`: 10 bytes for each
    // 10 ms. Returns the bytes written.
    int Encode(unsigned char* samples, unsigned char* frames, int count);

 private:
    g729::Encoder encoder;
};

// ITU-T G.729 Annex A decoder with A-law samples at its output. One a stream; one thread at a time.
#pragma once

#include <memory>

class G729Decoder {
 public:
    G729Decoder();
    ~G729Decoder();
    G729Decoder(const G729Decoder&) = delete;
    G729Decoder& operator=(const G729Decoder&) = delete;

    // `count` bytes of G.729 at `frames`, 10 a frame, to 80 A-law samples a frame at `samples`, which has
    // room for 8 * count. What remains behind the last whole frame (a two-byte comfort noise frame of Annex
    // B) becomes silence to the end of that room. Returns the samples of whole frames.
    int Decode(unsigned char* frames, unsigned char* samples, int count);

    // In place of one frame that was lost: 80 A-law samples in which what was heard last goes on and fades.
    // Returns 80.
    int DecodeErasure(unsigned char* samples);

 private:
    struct State;
    std::unique_ptr<State> state;
};

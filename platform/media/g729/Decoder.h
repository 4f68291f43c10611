// ITU-T G.729 Annex A decoder: 10 octets to 80 samples of 16-bit linear speech, 8000 a second. All octets
// decode to something; all state is in the object, which allocates nothing. One a stream, one thread at a
// time.
#pragma once

#include <cstdint>

#include "platform/media/g729/DecoderKernels.h"
#include "platform/media/g729/Frame.h"
#include "platform/media/g729/GainMemory.h"
#include "platform/media/g729/LagDecoder.h"
#include "platform/media/g729/LspMemory.h"
#include "platform/media/g729/PostFilter.h"
#include "platform/media/g729/Sizes.h"

namespace g729 {

class Decoder {
 public:
    explicit Decoder(Level level = BestLevel());

    void Decode(const std::uint8_t octets[FrameBytes], std::int16_t samples[FrameSamples]);

    // In place of a frame that was lost: what was heard last goes on and fades.
    void DecodeErasure(std::int16_t samples[FrameSamples]);

 private:
    // What a frame says of a subframe; without `received` the gains fade.
    struct Excitation {
        Lag lag;
        int positions;
        int signs;
        const Frame::Subframe* received;
    };

    void DecodeSpectrum(const LspIndices* received);
    Excitation ExcitationOf(const Frame& frame, int subframe);
    Excitation LostExcitation();
    void DecodeExcitation(int subframe, const Excitation& part);
    void DecodeGains(const Frame::Subframe& received, const std::int16_t* code);
    void FadeGains();
    void DecodeSubframes(const Excitation (&parts)[Subframes], std::int16_t* samples);
    Synthesis SpeechSynthesis(int subframe);
    void ResynthesizeQuartered(int subframe);
    int Random();

    static constexpr int HighPassHistory = 2;

    const DecoderKernels& kernels;
    LspMemory lspMemory;
    std::int16_t lastLsf[Order];
    std::int16_t lastLsp[Order];
    int lastMode = 0;
    std::int16_t a[Subframes][Coefficients] = {};
    LagDecoder lagDecoder;
    GainMemory gainMemory;
    std::int16_t pitchGain = 0;  // Q14
    std::int16_t codeGain = 0;   // Q1
    std::int16_t sharpening = MinSharpening;
    std::uint16_t seed = 21845;
    std::int16_t excitation[ExcitationHistory + FrameSamples] = {};
    std::int16_t speech[Order + FrameSamples] = {};
    PostFilter postFilter;
    std::int16_t filtered[HighPassHistory + FrameSamples] = {};
    HighPassMemory highPass;
};

}  // namespace g729

// ITU-T G.729 Annex A encoder, bit-exact: 16-bit linear samples at 8000 Hz to 10 octets for 10 ms (RFC 3551,
// 4.5.6). What it writes lags the input by 5 ms. One a stream, one thread at a time; allocates nothing.
#pragma once

#include <cstdint>

#include "platform/media/g729/ClosedLoopPitch.h"
#include "platform/media/g729/DecoderKernels.h"
#include "platform/media/g729/EncoderKernels.h"
#include "platform/media/g729/Frame.h"
#include "platform/media/g729/GainMemory.h"
#include "platform/media/g729/LspMemory.h"
#include "platform/media/g729/PreProcess.h"
#include "platform/media/g729/Sizes.h"
#include "platform/media/g729/Taming.h"

namespace g729 {

class Encoder {
 public:
    // With the kernels of `level`, which the processor must have. All levels write the same bits.
    explicit Encoder(Level level = BestLevel());

    // 80 samples to 10 octets.
    void Encode(const std::int16_t* samples, std::uint8_t* octets);

 private:
    static constexpr int LookAhead = 40;
    static constexpr int Window = 240;
    static constexpr int Current = Window - LookAhead - FrameSamples;  // the coded frame in `speech`

    // A(z) as quantised and as weighted, of both subframes.
    struct Filters {
        std::int16_t quantized[Subframes][Coefficients];
        std::int16_t weighted[Subframes][Coefficients];
    };

    // Impulse responses of the weighted filters.
    using Responses = std::int16_t[Subframes][SubframeSamples];

    std::int16_t* Excitation() { return excitation + ExcitationHistory; }

    void Analyse();
    void QuantizeSpectrum(LspIndices& indices, Filters& filters);
    void Weight(const Filters& filters, Responses& responses);
    Lag EncodeSubframe(int index, const std::int16_t* filter, std::int16_t* response, LagRange range,
                       Frame::Subframe& sent);
    void MoveOn();

    const DecoderKernels& shared;
    const EncoderKernels& kernels;
    ClosedLoopPitch closedLoop;
    PreProcessMemory input;
    LspMemory lspMemory;
    GainMemory gainMemory;
    Taming taming;
    std::int16_t lsp[Order];                         // as found in the last frame
    std::int16_t quantizedLsp[Order];                // as sent in the last frame
    std::int16_t prediction[Coefficients] = {4096};  // the last stable A(z)
    std::int16_t sharpening = MinSharpening;
    std::int16_t target[Order + SubframeSamples] = {};  // of a subframe, behind the memory of its filter
    std::int16_t speech[Window] = {};
    std::int16_t weighted[MaxLag + FrameSamples] = {};
    std::int16_t excitation[ExcitationHistory + FrameSamples] = {};
};

}  // namespace g729

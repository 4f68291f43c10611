#include "platform/media/g729/Encoder.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "platform/media/g729/Autocorrelation.h"
#include "platform/media/g729/BasicOps.h"
#include "platform/media/g729/CodebookSearch.h"
#include "platform/media/g729/Filters.h"
#include "platform/media/g729/GainQuantizer.h"
#include "platform/media/g729/Levinson.h"
#include "platform/media/g729/Lsp.h"
#include "platform/media/g729/LspFromLpc.h"
#include "platform/media/g729/LspQuantizer.h"
#include "platform/media/g729/OpenLoopPitch.h"
#include "platform/media/g729/PitchGain.h"
#include "platform/media/g729/Tables.h"

namespace g729 {

namespace {

constexpr Expansion Gamma(24576);     // Q15, 0.75, of the perceptual weighting
constexpr std::int16_t Tilt = 22938;  // Q15, 0.7, of the open-loop signal

// A filter's output with the memory in front of it.
struct Filtered {
    std::int16_t memory[Order] = {};
    std::int16_t samples[SubframeSamples];
};

// What the open loop looks at: the weighted filter with less of the high frequencies.
void LowPass(const std::int16_t* filter, std::int16_t* tilted) {
    tilted[0] = filter[0];
    for (int i = 1; i <= Order; i++) tilted[i] = Sub(filter[i], Mult(filter[i - 1], Tilt));
}

// What the quantised excitation leaves of the target at its end.
void RemoveBoth(const std::int16_t* target, const std::int16_t* adaptive, const std::int16_t* code,
                const Gains& gains, std::int16_t* memory) {
    for (int j = 0; j < Order; j++) {
        const int n = SubframeSamples - Order + j;
        const std::int16_t one = Clip16((adaptive[n] * gains.pitch) >> 14);
        const std::int16_t two = Clip16((code[n] * gains.code) >> 13);
        memory[j] = Sub(target[n], Add(one, two));
    }
}

}  // namespace

Encoder::Encoder(Level level)
    : shared(DecoderKernelsFor(level)), kernels(EncoderKernelsFor(level)), closedLoop(shared, kernels) {
    std::copy_n(InitialLsp, Order, lsp);
    std::copy_n(InitialLsp, Order, quantizedLsp);
}

void Encoder::Encode(const std::int16_t* samples, std::uint8_t* octets) {
    PreProcess(input, samples, speech + Window - FrameSamples);
    Analyse();
    Frame frame;
    Filters filters;
    QuantizeSpectrum(frame.lsp, filters);
    Responses responses;
    Weight(filters, responses);
    LagRange range = LagRange::First(OpenLoopPitch(kernels, weighted + MaxLag));
    for (int i = 0; i < Subframes; i++) {
        const Lag lag = EncodeSubframe(i, filters.weighted[i], responses[i], range, frame.subframes[i]);
        range = LagRange::Second(lag.whole);
    }
    frame.parity = Frame::ParityOf(frame.subframes[0].lag);
    frame.Pack(octets);
    MoveOn();
}

void Encoder::Analyse() {
    Dpf r[Coefficients];
    Autocorrelation(kernels, speech, r);
    Levinson(r, prediction);
    LspFromLpc(kernels, prediction, lsp);
}

void Encoder::QuantizeSpectrum(LspIndices& indices, Filters& filters) {
    std::int16_t lsf[Order];
    LspToLsf(lsp, lsf);
    indices = QuantizeLsp(kernels, lspMemory, lsf);
    lspMemory.Reconstruct(indices, lsf);
    std::int16_t current[Order];
    LsfToLsp(lsf, current);
    shared.subframeCoefficients(quantizedLsp, current, filters.quantized);
    std::copy_n(current, Order, quantizedLsp);
    for (int i = 0; i < Subframes; i++) WeightCoefficients(filters.quantized[i], Gamma, filters.weighted[i]);
}

// The second subframe's target has to wait for what the first one leaves.
void Encoder::Weight(const Filters& filters, Responses& responses) {
    std::int16_t tilted[Subframes][Coefficients];
    for (int i = 0; i < Subframes; i++) {
        const int at = i * SubframeSamples;
        shared.residual(filters.quantized[i], speech + Current + at, Excitation() + at);
        LowPass(filters.weighted[i], tilted[i]);
    }
    std::int16_t* open = weighted + MaxLag;
    kernels.runFirstFilters({Excitation(),
                             {{tilted[0], open}, {filters.weighted[0], target + Order}},
                             {{filters.weighted[0], responses[0]}, {filters.weighted[1], responses[1]}}});
    shared.synthesize(tilted[1], Excitation() + SubframeSamples, open + SubframeSamples);
}

Lag Encoder::EncodeSubframe(int index, const std::int16_t* filter, std::int16_t* response, LagRange range,
                            Frame::Subframe& sent) {
    std::int16_t* current = Excitation() + index * SubframeSamples;
    const std::int16_t* wanted = target + Order;
    if (index != 0) shared.synthesize(filter, current, target + Order);
    const Lag lag = closedLoop.Search(response, wanted, range,
                                      index == 0 ? ClosedLoopPitch::FirstFractionLimit : MaxLag, current);
    sent.lag = index == 0 ? FirstLagIndex(lag) : SecondLagIndex(lag, range);
    Filtered adaptive;
    shared.synthesize(filter, current, adaptive.samples);
    PitchGain pitch = PitchGain::Of(kernels, wanted, adaptive.samples);
    const bool tamed = taming.IsNeeded(lag);
    if (tamed) pitch.gain = std::min(pitch.gain, PitchGain::TamedLimit);

    std::int16_t rest[SubframeSamples];
    kernels.removeScaled(wanted, adaptive.samples, pitch.gain, rest);
    const CodebookVector vector = SearchCodebook(kernels, response, rest, lag.whole, sharpening);
    sent.positions = vector.positions;
    sent.signs = vector.signs;
    const Gains gains = QuantizeGains(kernels, {wanted, adaptive.samples, vector.filtered, vector.code},
                                      pitch, tamed, gainMemory);
    sent.gain1 = gains.index1;
    sent.gain2 = gains.index2;

    sharpening = std::clamp(gains.pitch, MinSharpening, MaxSharpening);
    taming.Update(gains.pitch, lag.whole);
    shared.mixExcitation(current, vector.code, gains.pitch, gains.code);
    RemoveBoth(wanted, adaptive.samples, vector.filtered, gains, target);
    return lag;
}

void Encoder::MoveOn() {
    std::copy(speech + FrameSamples, std::end(speech), speech);
    std::copy(weighted + FrameSamples, std::end(weighted), weighted);
    std::copy(excitation + FrameSamples, std::end(excitation), excitation);
}

}  // namespace g729

#include "platform/media/g729/Decoder.h"

#include <algorithm>
#include <iterator>

#include "platform/media/g729/BasicOps.h"
#include "platform/media/g729/FixedCodebook.h"
#include "platform/media/g729/Lsp.h"
#include "platform/media/g729/Tables.h"

namespace g729 {

Decoder::Decoder(Level level) : kernels(DecoderKernelsFor(level)), postFilter(kernels) {
    std::copy_n(InitialLsf, Order, lastLsf);
    std::copy_n(InitialLsp, Order, lastLsp);
}

void Decoder::Decode(const std::uint8_t octets[FrameBytes], std::int16_t samples[FrameSamples]) {
    const Frame frame = Frame::Unpack(octets);
    DecodeSpectrum(&frame.lsp);
    const Excitation first = ExcitationOf(frame, 0);
    DecodeSubframes({first, ExcitationOf(frame, 1)}, samples);
}

void Decoder::DecodeErasure(std::int16_t samples[FrameSamples]) {
    DecodeSpectrum(nullptr);
    const Excitation first = LostExcitation();
    DecodeSubframes({first, LostExcitation()}, samples);
}

void Decoder::DecodeSpectrum(const LspIndices* received) {
    if (received) {
        lspMemory.Reconstruct(*received, lastLsf);
        lastMode = received->mode;
    } else {
        std::int16_t added[Order];
        lspMemory.Target(lastMode, lastLsf, added);
        lspMemory.Push(added);
    }
    std::int16_t lsp[Order];
    LsfToLsp(lastLsf, lsp);
    kernels.subframeCoefficients(lastLsp, lsp, a);
    std::copy_n(lsp, Order, lastLsp);
}

Decoder::Excitation Decoder::ExcitationOf(const Frame& frame, int subframe) {
    const Frame::Subframe& part = frame.subframes[subframe];
    Excitation excitation{{}, part.positions, part.signs, &part};
    if (subframe > 0) {
        excitation.lag = lagDecoder.Second(part.lag);
    } else if (frame.parity == Frame::ParityOf(part.lag)) {
        excitation.lag = lagDecoder.First(part.lag);
    } else {
        excitation.lag = lagDecoder.Lost();
    }
    return excitation;
}

Decoder::Excitation Decoder::LostExcitation() {
    const int positions = Random() & 0x1FFF;
    const int signs = Random() & 0xF;
    return {lagDecoder.Lost(), positions, signs, nullptr};
}

// Recursions of one subframe run together with those of the other as soon as what they need is there.
void Decoder::DecodeSubframes(const Excitation (&parts)[Subframes], std::int16_t* samples) {
    std::int16_t* spoken[] = {speech + Order, speech + Order + SubframeSamples};
    std::int16_t* loud[] = {filtered + HighPassHistory, filtered + HighPassHistory + SubframeSamples};
    postFilter.Begin(a);

    DecodeExcitation(0, parts[0]);
    ResponseEnergy responses[Subframes];
    if (kernels.synthesizeAndRespond(SpeechSynthesis(0), postFilter.Shapes(), responses))
        ResynthesizeQuartered(0);
    postFilter.Prepare(0, parts[0].lag.whole, spoken[0], responses[0]);

    DecodeExcitation(1, parts[1]);
    if (kernels.synthesizePair(SpeechSynthesis(1), postFilter.Recursion(0))) ResynthesizeQuartered(1);
    GainRamp& ramp = postFilter.Aim(0, spoken[0]);
    postFilter.Prepare(1, parts[1].lag.whole, spoken[1], responses[1]);

    kernels.synthesizeAndRamp(postFilter.Recursion(1), ramp);
    postFilter.Amplify(0, loud[0]);
    postFilter.Aim(1, spoken[1]);
    kernels.highPassAndRamp(highPass, loud[0], samples, ramp);
    postFilter.Amplify(1, loud[1]);
    kernels.highPass(highPass, loud[1], samples + SubframeSamples);

    std::copy_n(speech + FrameSamples, Order, speech);
    std::copy(excitation + FrameSamples, std::end(excitation), excitation);
    std::copy_n(filtered + FrameSamples, HighPassHistory, filtered);
}

void Decoder::DecodeExcitation(int subframe, const Excitation& part) {
    std::int16_t* current = excitation + ExcitationHistory + subframe * SubframeSamples;
    kernels.interpolateLag(current, part.lag.whole, part.lag.fraction);
    std::int16_t code[SubframeSamples];
    DecodePulses(part.positions, part.signs, code);
    Sharpen(code, part.lag.whole, sharpening);
    if (part.received) {
        DecodeGains(*part.received, code);
    } else {
        FadeGains();
    }
    sharpening = std::clamp<std::int16_t>(pitchGain, MinSharpening, MaxSharpening);
    kernels.mixExcitation(current, code, pitchGain, codeGain);
}

void Decoder::DecodeGains(const Frame::Subframe& received, const std::int16_t* code) {
    const std::int16_t* first = GainCodebook1[GainIndexReceived1[received.gain1]];
    const std::int16_t* second = GainCodebook2[GainIndexReceived2[received.gain2]];
    const PredictedGain predicted = gainMemory.Predict(code);
    const std::int32_t correction = first[1] + second[1];
    pitchGain = Add(first[0], second[0]);
    codeGain = Hi(LShl(LMult(Lo(correction >> 1), predicted.mantissa), 4 - predicted.exponent));
    gainMemory.Push(correction);
}

void Decoder::FadeGains() {
    pitchGain = Mult(pitchGain, 29491);  // Q15, 0.9
    codeGain = Mult(codeGain, 32111);    // Q15, 0.98
    gainMemory.PushLost();
}

Synthesis Decoder::SpeechSynthesis(int subframe) {
    const int at = subframe * SubframeSamples;
    return {a[subframe], excitation + ExcitationHistory + at, speech + Order + at};
}

// After an overflow: all of the excitation becomes a quarter, and what the second run clips stays clipped.
void Decoder::ResynthesizeQuartered(int subframe) {
    for (std::int16_t& sample : excitation) sample >>= 2;
    const Synthesis again = SpeechSynthesis(subframe);
    kernels.synthesize(again.a, again.x, again.y);
}

int Decoder::Random() {
    seed = static_cast<std::uint16_t>(seed * 31821u + 13849u);
    return seed;
}

}  // namespace g729

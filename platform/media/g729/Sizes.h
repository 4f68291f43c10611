// Dimensions of ITU-T G.729: 8000 samples a second, frames of 10 ms in two subframes.
#pragma once

namespace g729 {

constexpr int FrameSamples = 80;
constexpr int FrameBytes = 10;
constexpr int Subframes = 2;
constexpr int SubframeSamples = 40;
constexpr int Order = 10;                // of all linear prediction filters
constexpr int Coefficients = Order + 1;  // of A(z) in Q12; the first is 4096
constexpr int MinLag = 20;
constexpr int MaxLag = 143;
constexpr int LagTaps = 10;  // of the lag interpolation, on either side
constexpr int LspTaps = 4;   // frames that the predictor of the LSP quantiser looks back
constexpr int GainTaps = 4;  // subframes that the predictor of the gains looks back

// Excitation before the current frame: the longest lag (144 by hostile bits, and a fraction) and the
// interpolation.
constexpr int ExcitationHistory = MaxLag + LagTaps + 1;

constexpr short MinSharpening = 3277;   // Q14
constexpr short MaxSharpening = 13017;  // Q14

}  // namespace g729

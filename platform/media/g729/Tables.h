// Constant tables of ITU-T G.729 Annex A, with the Q format of their entries.
#pragma once

#include <cstdint>

namespace g729 {

// Q15; asymmetric: half of a Hamming window of 200, a quarter of a cosine of 40.
extern const std::int16_t AnalysisWindow[240];
// 60 Hz bandwidth expansion and white-noise correction of 1.0001, high half; entry i applies to r[i+1].
extern const std::int16_t LagWindowHi[10];
// The low halves to it.
extern const std::int16_t LagWindowLo[10];
// Q15; cos(x), x = 0..pi in steps of pi/64.
extern const std::int16_t Cosine[64];
// Q19; between the entries of Cosine.
extern const std::int16_t CosineSlope[64];
// Q12; the inverse slope.
extern const std::int16_t ArcCosineSlope[64];
// Q15; where the root search looks at the polynomials.
extern const std::int16_t RootGrid[51];
// Q13; first stage.
extern const std::int16_t LspCodebook1[128][10];
// Q13; second stage: lower half by L2, upper half by L3.
extern const std::int16_t LspCodebook2[32][10];
// Q15; moving-average predictor [mode][how many frames back][coefficient].
extern const std::int16_t LspPredictor[2][4][10];
// Q15; 1 - sum of the predictor over the frames.
extern const std::int16_t LspPredictorRest[2][10];
// Q12; 1 / LspPredictorRest.
extern const std::int16_t LspPredictorRestInverse[2][10];
// Q13; pi (j+1) / 11.
extern const std::int16_t InitialLsf[10];
// Q15.
extern const std::int16_t InitialLsp[10];
// Q15; thirds of a sample, one side of a symmetric filter.
inline constexpr std::int16_t LagInterpolation[31] = {
    29443, 25207, 14701, 3143, -4402, -5850, -2783, 1211, 3130, 2259, 0,   -1652, -1666, -464, 756, 1099,
    550,   -245,  -634,  -451, 0,     308,   296,   78,   -120, -165, -79, 34,    91,    70,   0};
// Q13.
extern const std::int16_t GainPredictor[4];
// [][0] pitch gain Q14, [][1] code gain correction Q13; in search order.
extern const std::int16_t GainCodebook1[8][2];
// Likewise.
extern const std::int16_t GainCodebook2[16][2];
// Search order -> transmitted index.
extern const std::uint8_t GainIndexToSend1[8];
// Search order -> transmitted index.
extern const std::uint8_t GainIndexToSend2[16];
// Transmitted index -> search order.
extern const std::uint8_t GainIndexReceived1[8];
// Transmitted index -> search order.
extern const std::uint8_t GainIndexReceived2[16];
// [0][0] Q10, [0][1] Q14, [1][0] Q16, [1][1] Q19; lines of the gain pre-selection.
extern const std::int16_t GainLine[2][2];
// GainLine with 16 more fraction bits.
extern const std::int32_t GainLine32[2][2];
// Q14; pre-selection in the first gain stage.
extern const std::int16_t GainThreshold1[4];
// Q15; pre-selection in the second gain stage.
extern const std::int16_t GainThreshold2[8];
// Q13; numerator.
inline constexpr std::int16_t OutputHighPassB[3] = {7699, -15398, 7699};
// Q13; denominator, to be added; entry 0 is 1.0.
inline constexpr std::int16_t OutputHighPassA[3] = {8192, 15836, -7667};
// Q12; numerator, halved.
extern const std::int16_t InputHighPassB[3];
// Q12; denominator, to be added; entry 0 is 1.0.
extern const std::int16_t InputHighPassA[3];
// Q14; 2^(i/32).
extern const std::int16_t PowerOfTwo[33];
// Q15; log2(1 + i/32).
extern const std::int16_t LogOfTwo[33];
// Q15; 1 / sqrt((i+16)/16).
extern const std::int16_t InverseRoot[49];
// Zone of each lag.
extern const std::uint8_t TamingZone[153];

}  // namespace g729

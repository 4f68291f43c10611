// How alike two recordings of the same speech are when one of them went through the module. Samples are
// linear, at 8000 Hz.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace lab {

struct Comparison {
    int lag = 0;          // samples by which the copy is behind the original
    size_t samples = 0;   // compared, after alignment
    double waveform = 0;  // correlation of the samples: 1 is the same wave form
    double envelope = 0;  // correlation of the loudness in steps of 10 ms
    double gain = 0;      // of the copy over the original [dB]
};

// Finds the lag, from 0 to `maxLag`, at which the copy correlates best with the original, and compares there.
// All figures are 0 when either is silent or too short.
Comparison Compare(std::span<const std::int16_t> original, std::span<const std::int16_t> copy, int maxLag);

// The level of the tone of `frequency` [Hz] in the recording, in dB below a sine of full scale; -120 at the
// least.
double ToneLevel(std::span<const std::int16_t> samples, double frequency);
// A tone of `seconds` at `level` [dB below a sine of full scale].
std::vector<std::int16_t> MakeTone(double frequency, double seconds, double level);
// The level of the whole recording, in dB below a sine of full scale; -120 at the least.
double Level(std::span<const std::int16_t> samples);
// Shannon's measure of the bytes, in bits a byte: 8 for noise.
double Entropy(std::span<const std::uint8_t> bytes);

}  // namespace lab

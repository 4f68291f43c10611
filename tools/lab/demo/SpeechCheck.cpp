// Compares what one leg heard with what another said, and shows both.
#include "tools/lab/demo/SpeechCheck.h"

#include "tools/lab/SpeechCodec.h"
#include "tools/lab/demo/Comparison.h"
#include "tools/lab/demo/Text.h"
#include "tools/lab/demo/WaveformPlot.h"

namespace lab {

namespace {

constexpr size_t TailSamples = SampleRate / 4;
constexpr int MaxLag = SampleRate / 2;
// Two G.729 coders that began at different moments differ in the wave form, not in what is heard.
constexpr double WaveformAllowance = 0.05;
constexpr double EnvelopeAllowance = 0.03;
constexpr double MostGain = 2;  // dB either way

}  // namespace

void SpeechCheck::AddTo(DemoRun& run, ReportSection& section) const {
    const std::string way =
        Format("%u (%s) to %u (%s)", from->Chan(), SpokenName(from->Settings().codec).c_str(), to->Chan(),
               SpokenName(to->Settings().codec).c_str());
    const std::vector<std::int16_t> reference =
        ThroughModule(said, from->Settings().codec, to->Settings().codec);
    const Comparison best = Compare(said, reference, MaxLag);
    const auto heard = std::span(recording).first(std::min(recording.size(), said.size() + TailSamples));
    const Comparison seen = Compare(said, heard, MaxLag);
    const double least = best.waveform - WaveformAllowance;
    const double leastEnvelope = best.envelope - EnvelopeAllowance;
    section.Add({way + ": wave form like what was said (correlation)",
                 Format("at least %.2f (the codecs alone: %.3f)", least, best.waveform),
                 Format("%.3f", seen.waveform), seen.waveform >= least});
    section.Add({way + ": loudness follows what was said (correlation)",
                 Format("at least %.2f (the codecs alone: %.3f)", leastEnvelope, best.envelope),
                 Format("%.3f", seen.envelope), seen.envelope >= leastEnvelope});
    const double gain = seen.gain - best.gain;
    section.Add({way + ": level against the codecs alone", Format("within %.0f dB", MostGain),
                 Format("%+.2f dB", gain), seen.samples > 0 && std::abs(gain) <= MostGain});

    WaveformPlot plot;
    plot.Add("said by " + from->Label(), said, WaveformPlot::Side::In);
    plot.Add("heard by " + to->Label(), heard, WaveformPlot::Side::Out);
    section.AddFigure(plot.Svg(), "");
    run.Keep(section, "Said by " + from->Label(), file + "-said.wav", said);
    run.Keep(section, "Heard by " + to->Label(), file + "-heard.wav", heard);
}

void SpeechCheck::AddLossCheck(const ReceiveCounts& counts, const std::string& who, ReportSection& section) {
    const std::uint64_t wrong = counts.missing + counts.late + counts.duplicates;
    section.Add({"packets lost, late or twice at " + who, "0 of all",
                 std::to_string(wrong) + " of " + std::to_string(counts.packets),
                 counts.packets > 0 && wrong == 0});
}

}  // namespace lab

// A conference of three.
#include "tools/lab/demo/ConferenceStep.h"

#include <algorithm>

#include "tools/lab/SpeechCodec.h"
#include "tools/lab/demo/Comparison.h"
#include "tools/lab/demo/Text.h"
#include "tools/lab/demo/WaveformPlot.h"

namespace lab {

namespace {

struct Party {
    const char* name;
    Codec codec;
    double tone;        // Hz, 0: says nothing
    const char* hears;  // whom, by letter
};

// Tones that are no multiples of one another, so that a distortion of one is not taken for another.
constexpr Party Table[] = {
    {"A", Codec::Alaw, 430, "B"},
    {"B", Codec::G729, 710, "A"},
    {"C", Codec::Ulaw, 1130, "AB"},
    {"D", Codec::Alaw, 0, "C"},
};

constexpr double ToneLevelDb = -18;  // two of them add up without running over
constexpr double LeastHeard = ToneLevelDb - 8;
constexpr double MostUnheard = ToneLevelDb - 30;
constexpr double SettleSeconds = 0.5;
constexpr double ToneSeconds = 1.5;
constexpr double SpeechSeconds = 3;
constexpr double MostLagSeconds = 0.5;
constexpr double MixAllowance = 0.08;
constexpr int CoderDelay = 40;  // samples, the look-ahead of G.729

bool Hears(const Party& who, const Party& whom) {
    return std::string(who.hears).find(whom.name) != std::string::npos;
}

// "A and B" of "AB".
std::string Names(const std::string& letters) {
    std::string names;
    for (const char letter : letters) names += std::string(names.empty() ? "" : " and ") + letter;
    return names.empty() ? "nobody" : names;
}

// Both texts as a listener has them whom each reaches with a delay of its own [samples].
std::vector<std::int16_t> Sum(std::span<const std::int16_t> a, int lagA, std::span<const std::int16_t> b,
                              int lagB) {
    std::vector<std::int16_t> sum(a.size() + static_cast<size_t>(std::max(lagA, lagB)));
    for (size_t i = 0; i < a.size(); ++i) sum[i + static_cast<size_t>(lagA)] = a[i];
    for (size_t i = 0; i < b.size(); ++i) {
        std::int16_t& sample = sum[i + static_cast<size_t>(lagB)];
        sample = static_cast<std::int16_t>(sample + b[i]);
    }
    return sum;
}

}  // namespace

std::string ConferenceStep::Intro() const {
    return Format(
        "A (internal) and B (external) talk through slot %u, which hosts the conference; C joins with the "
        "internal leg of slot %u and hears the mix of A and B. What C says goes to the external leg of its "
        "own slot, here D. Each of A, B and C sends a tone of its own; the table shows which tones each of "
        "them hears.",
        HostSlot, MemberSlot);
}

bool ConferenceStep::Run(DemoRun& run, ReportSection& section) {
    return Connect(run, section) && Listen(run, section) && Mix(run, section) && Leave(run, section);
}

bool ConferenceStep::Connect(DemoRun& run, ReportSection& section) {
    for (size_t i = 0; i < Parties; ++i) {
        const auto chan = static_cast<UWORD>((i < 2 ? HostSlot : MemberSlot) + i % 2);
        legs[i] = run.AddLeg({chan, std::string("party ") + Table[i].name, Table[i].codec}, section);
        if (legs[i] == nullptr) return false;
    }
    const bool joined = run.Module().Control().ConferenceAdd(MemberSlot, HostSlot);
    section.Add({Format("slot %u joins the conference of slot %u", MemberSlot, HostSlot), "acknowledged",
                 joined ? "acknowledged" : "no acknowledgement", joined});
    // A link back would close a ring; the hearing table shows whether it had an effect.
    run.Module().Control().ConferenceAdd(HostSlot, MemberSlot);
    return joined;
}

bool ConferenceStep::Listen(DemoRun& run, ReportSection& section) {
    for (size_t i = 0; i < Parties; ++i)
        if (Table[i].tone > 0) legs[i]->Say(MakeTone(Table[i].tone, 1, ToneLevelDb));
    if (!run.Wait(SettleSeconds, "three tones")) return false;
    for (DemoLeg* leg : legs) leg->Peer().ClearRecording();
    if (!run.Wait(ToneSeconds, "three tones")) return false;

    std::vector<std::vector<std::string>> rows{{"level of the tone of", "A", "B", "C"}};
    for (size_t i = 0; i < Parties; ++i) {
        const std::vector<std::int16_t> heard = legs[i]->Peer().Recording();
        rows.push_back({std::string("heard by ") + Table[i].name});
        std::string seen;
        bool ok = true;
        for (size_t j = 0; j + 1 < Parties; ++j) {
            const double level = ToneLevel(heard, Table[j].tone);
            rows.back().push_back(Format("%.0f dB%s", level, level >= LeastHeard ? " \u25CF" : ""));
            if (level > MostUnheard) seen += Table[j].name;
            ok = ok && (Hears(Table[i], Table[j]) ? level >= LeastHeard : level <= MostUnheard);
        }
        section.Add(
            {Format("%s hears", Table[i].name), Names(Table[i].hears) + ", nobody else", Names(seen), ok});
    }
    section.AddTable(
        Format("Below full scale. Sent at %.0f dB; heard (\u25CF) from %.0f dB on, not heard up to %.0f dB.",
               ToneLevelDb, LeastHeard, MostUnheard),
        rows);
    return true;
}

// The same with words: what the member hears is the sum of what the two of the host slot say.
bool ConferenceStep::Mix(DemoRun& run, ReportSection& section) {
    std::vector<std::int16_t> a = run.Excerpt(52, SpeechSeconds);
    std::vector<std::int16_t> b = run.Excerpt(60, SpeechSeconds);
    for (auto* words : {&a, &b})
        for (std::int16_t& sample : *words) sample = static_cast<std::int16_t>(sample / 2);
    for (DemoLeg* leg : legs) leg->Peer().Hush();
    if (!run.Wait(SettleSeconds, "the tones end")) return false;
    legs[2]->Peer().ClearRecording();
    legs[0]->Say(a);
    legs[1]->Say(b);
    if (!run.Wait(SpeechSeconds + MostLagSeconds, "two talkers, one listener")) return false;
    const std::vector<std::int16_t> heard = legs[2]->Peer().Recording();
    const int maxLag = static_cast<int>(MostLagSeconds * SampleRate);
    const std::vector<std::int16_t> sum =
        Sum(a, Compare(a, heard, maxLag).lag, b, Compare(b, heard, maxLag).lag);
    const Comparison mix = Compare(sum, heard, 0);
    const std::vector<std::int16_t> coded = ThroughModule(b, Table[1].codec, Table[2].codec);
    const Comparison best = Compare(Sum(a, 0, b, CoderDelay), Sum(a, 0, coded, 0), 0);
    const double least = best.waveform - MixAllowance;
    section.Add({"C hears the sum of what A and B say (correlation)",
                 Format("at least %.2f (the codecs alone: %.3f)", least, best.waveform),
                 Format("%.3f", mix.waveform), mix.waveform >= least});
    WaveformPlot plot;
    plot.Add("said by " + legs[0]->Label(), a, WaveformPlot::Side::In);
    plot.Add("said by " + legs[1]->Label(), b, WaveformPlot::Side::In);
    plot.Add("heard by " + legs[2]->Label(), heard, WaveformPlot::Side::Out);
    section.AddFigure(plot.Svg(), "");
    run.Keep(section, "Heard by " + legs[2]->Label(), "conference-heard-by-c.wav", heard);
    return true;
}

bool ConferenceStep::Leave(DemoRun& run, ReportSection& section) {
    run.Module().Control().ConferenceRemove(MemberSlot, HostSlot);
    if (!run.Wait(SettleSeconds, "C leaves")) return false;
    const std::uint64_t before = legs[2]->Peer().Counts().audio;
    if (!run.Wait(SettleSeconds, "C has left")) return false;
    const std::uint64_t after = legs[2]->Peer().Counts().audio - before;
    section.Add({"packets that C hears after it has left", "0", std::to_string(after), after == 0});
    legs[2]->Say(MakeTone(Table[2].tone, 1, ToneLevelDb));
    return true;
}

}  // namespace lab

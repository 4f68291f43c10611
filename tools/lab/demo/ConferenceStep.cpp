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
constexpr int MostLag = 800;  // samples
constexpr size_t PieceSamples = 4000;
constexpr double MixAllowance = 0.08;

bool Hears(const Party& who, const Party& whom) {
    return std::string(who.hears).find(whom.name) != std::string::npos;
}

// "A and B" of "AB".
std::string Names(const std::string& letters) {
    std::string names;
    for (const char letter : letters) names += std::string(names.empty() ? "" : " and ") + letter;
    return names.empty() ? "nobody" : names;
}

std::vector<std::int16_t> Sum(std::vector<std::int16_t> a, std::span<const std::int16_t> b) {
    for (size_t i = 0; i < std::min(a.size(), b.size()); ++i) a[i] = static_cast<std::int16_t>(a[i] + b[i]);
    return a;
}

// The part of `text` that is in a piece of a recording, which begins at sample `at` of it.
std::vector<std::int16_t> Follow(const std::vector<std::int16_t>& text, std::span<const std::int16_t> piece,
                                 size_t at) {
    std::vector<std::int16_t> late(MostLag, 0);
    late.insert(late.end(), text.begin(), text.end());
    const auto window = std::span(late).subspan(at, std::min(piece.size() + MostLag, late.size() - at));
    const auto lag = static_cast<size_t>(Compare(piece, window, MostLag).lag);
    const auto part = window.subspan(lag, std::min(piece.size(), window.size() - lag));
    return {part.begin(), part.end()};
}

// How well `heard` is the sum of both texts, in the median of its pieces. The delay of each talker is found
// anew in each piece: it changes when the mixer once finds a frame of the other one alone.
double MixLikeness(const std::vector<std::int16_t>& a, const std::vector<std::int16_t>& b,
                   std::span<const std::int16_t> heard) {
    std::vector<double> pieces;
    for (size_t at = 0; at + PieceSamples <= std::min(heard.size(), a.size()); at += PieceSamples) {
        const auto piece = heard.subspan(at, PieceSamples);
        pieces.push_back(Compare(Sum(Follow(a, piece, at), Follow(b, piece, at)), piece, 0).waveform);
    }
    std::sort(pieces.begin(), pieces.end());
    return pieces.empty() ? 0 : pieces[pieces.size() / 2];
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
    if (!run.Wait(SpeechSeconds + SettleSeconds, "two talkers, one listener")) return false;
    const std::vector<std::int16_t> heard = legs[2]->Peer().Recording();
    const std::vector<std::int16_t> coded = ThroughModule(b, Table[1].codec, Table[2].codec);
    const double best = MixLikeness(a, b, Sum(a, coded));
    const double seen = MixLikeness(a, b, heard);
    section.Add({"C hears the sum of what A and B say (correlation)",
                 Format("at least %.2f (the codecs alone: %.3f)", best - MixAllowance, best),
                 Format("%.3f", seen), seen >= best - MixAllowance});
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

// Hold music.
#include "tools/lab/demo/HoldMusicStep.h"

#include <cmath>

#include "tools/lab/FreePorts.h"
#include "tools/lab/demo/Comparison.h"
#include "tools/lab/demo/Text.h"
#include "tools/lab/demo/WaveformPlot.h"

namespace lab {

namespace {

constexpr ULONG Group = 0xEFFF4B43;  // 239.255.75.67, in the range of a site (RFC 2365)
constexpr const char* SwitchWords = "HoldMusicTimer - mapping to hold music";
constexpr double NoteSeconds = 0.25;
constexpr double NoteLevel = -12;
constexpr double DecaySeconds = 0.18;
constexpr double SwitchSeconds = 1;
constexpr double SwitchAllowance = 0.3;
constexpr double PatienceSeconds = 3;
constexpr double SettleSeconds = 0.3;
constexpr double ListenSeconds = 2.4;
constexpr double SpeechSeconds = 2;
constexpr double LeastCorrelation = 0.9;

// A broken chord up and down, each note dying away.
std::vector<std::int16_t> MakeMusic() {
    std::vector<std::int16_t> music;
    for (const double note :
         {261.6, 329.6, 392.0, 523.3, 392.0, 329.6, 293.7, 349.2, 440.0, 587.3, 440.0, 349.2}) {
        std::vector<std::int16_t> tone = MakeTone(note, NoteSeconds, NoteLevel);
        for (size_t i = 0; i < tone.size(); ++i) {
            const double fade = std::exp(-static_cast<double>(i) / SampleRate / DecaySeconds);
            tone[i] = static_cast<std::int16_t>(tone[i] * fade);
        }
        music.insert(music.end(), tone.begin(), tone.end());
    }
    return music;
}

// How well `heard` is found anywhere in `loop`, which goes round and round.
Comparison FindIn(const std::vector<std::int16_t>& loop, const std::vector<std::int16_t>& heard) {
    std::vector<std::int16_t> rounds = loop;
    while (rounds.size() < loop.size() + heard.size()) rounds.insert(rounds.end(), loop.begin(), loop.end());
    return Compare(heard, rounds, static_cast<int>(loop.size()));
}

}  // namespace

std::string HoldMusicStep::Intro() const {
    return "The internal leg gets a hold music source, a multicast group on this machine, and is then "
           "unmapped. For one more second the external leg hears the call, then the music; when the internal "
           "leg is mapped again it hears the call again.";
}

bool HoldMusicStep::Run(DemoRun& run, ReportSection& section) {
    return Connect(run, section) && Hold(run, section) && Listen(run, section) && Resume(run, section) &&
           Cancel(run, section);
}

bool HoldMusicStep::Connect(DemoRun& run, ReportSection& section) {
    internal = run.AddLeg({InternalChannel, "internal"}, section);
    external = run.AddLeg({ExternalChannel, "external"}, section);
    if (internal == nullptr || external == nullptr) return false;
    said = run.Excerpt(68, SpeechSeconds);
    internal->Say(said);
    external->Say(run.Excerpt(24, SpeechSeconds));
    music = MakeMusic();
    std::string error = "no free port";
    const auto port = FindFreePorts(2);
    const SockAddr group(Group, port.value_or(0));
    const bool started = port && source.Start(group, SpeechSource(music).Code(Codec::Alaw, 20),
                                              run.Module().OwnAddress(), error);
    const bool accepted =
        started && run.Module().Control().HoldMusic(InternalChannel, static_cast<UBYTE>(Codec::Alaw), group);
    section.Add({"hold music source for the internal leg",
                 Format("%s:%u acknowledged", group.AddressStr().c_str(), group.Port()),
                 accepted  ? "acknowledged"
                 : started ? "no acknowledgement"
                           : error,
                 accepted});
    return accepted && run.Wait(SettleSeconds, "the call before the hold");
}

bool HoldMusicStep::Hold(DemoRun& run, ReportSection& section) {
    size_t from = run.Module().Daemon().LineCount();
    run.Module().Control().Unmap(InternalChannel);
    const double unmapped = run.Seconds();
    const bool switched = run.WaitUntil(PatienceSeconds, "waiting for the music", [&] {
        return run.Module().Daemon().WaitLine(SwitchWords, 0, from).has_value();
    });
    const double took = run.Seconds() - unmapped;
    section.Add({"time from Unmap to the switch",
                 Format("%.1f to %.1f s", SwitchSeconds, SwitchSeconds + SwitchAllowance),
                 switched ? Format("%.2f s", took) : "no switch",
                 switched && took >= SwitchSeconds - 0.01 && took <= SwitchSeconds + SwitchAllowance});
    return switched && run.Wait(SettleSeconds, "music");
}

bool HoldMusicStep::Listen(DemoRun& run, ReportSection& section) {
    external->Peer().ClearRecording();
    if (!run.Wait(ListenSeconds, "music")) return false;
    const std::vector<std::int16_t> heard = external->Peer().Recording();
    const Comparison likeness = FindIn(music, heard);
    section.Add(
        {"external hears the music (correlation)", Format("at least %.2f", LeastCorrelation),
         Format("%.4f over %.1f s", likeness.waveform, static_cast<double>(likeness.samples) / SampleRate),
         likeness.waveform >= LeastCorrelation});
    const Comparison call = FindIn(said, heard);
    section.Add({"and the call no more (correlation)", "below 0.30", Format("%.3f", call.waveform),
                 call.waveform < 0.3});
    WaveformPlot plot;
    plot.Add("music at " + SockAddr(Group, 0).AddressStr(), music, WaveformPlot::Side::In);
    plot.Add("heard by " + external->Label(), heard, WaveformPlot::Side::Out);
    section.AddFigure(plot.Svg(), "The music goes round; what is heard begins where it was at that moment.");
    run.Keep(section, "Heard by " + external->Label(), "hold-music-heard.wav", heard);
    return true;
}

bool HoldMusicStep::Resume(DemoRun& run, ReportSection& section) {
    run.Map(*internal);
    if (!run.Wait(SettleSeconds, "the call again")) return false;
    external->Peer().ClearRecording();
    if (!run.Wait(1, "the call again")) return false;
    const Comparison call = FindIn(said, external->Peer().Recording());
    section.Add({"after a new Map external hears the call again (correlation)",
                 Format("at least %.2f", LeastCorrelation), Format("%.4f", call.waveform),
                 call.waveform >= LeastCorrelation});
    return true;
}

bool HoldMusicStep::Cancel(DemoRun& run, ReportSection& section) {
    const size_t before = run.Module().Daemon().CountLines(SwitchWords);
    run.Module().Control().Unmap(InternalChannel);
    if (!run.Wait(SwitchSeconds / 2, "an Unmap taken back")) return false;
    run.Map(*internal);
    if (!run.Wait(SwitchSeconds / 2 + SwitchAllowance, "an Unmap taken back")) return false;
    const size_t switches = run.Module().Daemon().CountLines(SwitchWords) - before;
    section.Add({"Unmap with a Map half a second later", "no music", switches == 0 ? "no music" : "music",
                 switches == 0});
    return true;
}

}  // namespace lab

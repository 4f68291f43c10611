// A call between a G.711 leg and a G.729 leg.
#include "tools/lab/demo/TranscodedCallStep.h"

#include "tools/lab/demo/SpeechCheck.h"
#include "tools/lab/demo/Text.h"

namespace lab {

namespace {

constexpr double TalkSeconds = 5;
constexpr double ListenSeconds = TalkSeconds + 0.4;
constexpr double SettleSeconds = 0.15;
constexpr double MostMedianDelay = 60;  // ms; a packet of 20 ms waits for its frames and for the 10 ms cycle

}  // namespace

std::string TranscodedCallStep::Intro() const {
    return "The internal leg speaks G.711 A-law, the external leg G.729, both in packets of 20 ms. Two "
           "different texts cross at the same time; what each side hears is compared with what the other one "
           "said.";
}

bool TranscodedCallStep::Run(DemoRun& run, ReportSection& section) {
    DemoLeg* internal = run.AddLeg({InternalChannel, "internal"}, section);
    DemoLeg* external = run.AddLeg({ExternalChannel, "external", Codec::G729}, section);
    if (internal == nullptr || external == nullptr) return false;
    Direction out{internal, external, run.Excerpt(0.5, TalkSeconds), nullptr};
    Direction in{external, internal, run.Excerpt(18, TalkSeconds), nullptr};
    Begin(out);
    Begin(in);
    if (!run.Wait(ListenSeconds, "two texts at once")) return false;
    // The measurement must be at rest when it is evaluated; the call then goes on.
    internal->Peer().Hush();
    external->Peer().Hush();
    if (!run.Wait(SettleSeconds, "delays")) return false;
    CheckDelay(out, run, section);
    CheckDelay(in, run, section);
    CheckDirection(out, run, section);
    CheckDirection(in, run, section);
    internal->Say(out.said);
    external->Say(in.said);
    return run.Wait(0, "");
}

void TranscodedCallStep::Begin(Direction& direction) {
    const DemoLeg::Setup& setup = direction.from->Settings();
    const auto speech = SpeechSource(direction.said).Code(setup.codec, setup.packetMs);
    direction.matcher = direction.from->Peer().MeasureTo(direction.to->Peer(), speech);
    direction.from->Peer().Talk(speech);
}

void TranscodedCallStep::CheckDirection(const Direction& direction, DemoRun& run, ReportSection& section) {
    std::vector<std::int16_t> heard = direction.to->Peer().Recording();
    const std::string file = "transcoding-" + CodecName(direction.from->Settings().codec) + "-to-" +
                             CodecName(direction.to->Settings().codec);
    SpeechCheck::AddLossCheck(direction.to->Peer().Counts(), "channel " + direction.to->Label(), section);
    SpeechCheck{direction.from, direction.to, direction.said, std::move(heard), file}.AddTo(run, section);
}

void TranscodedCallStep::CheckDelay(const Direction& direction, DemoRun& run, ReportSection& section) {
    const DelayResult result = direction.matcher->Finish();
    const DelaySummary summary = result.delays.Summarise();
    run.AddDelays(
        direction.from->Chan() % 2,
        SpokenName(direction.from->Settings().codec) + " to " + SpokenName(direction.to->Settings().codec),
        result.delays);
    section.Add(
        {Format("added delay, channel %u to %u (median)", direction.from->Chan(), direction.to->Chan()),
         Format("measured, at most %.0f ms", MostMedianDelay),
         Format("%.1f ms (99 %%: %.1f ms) of %zu packets", summary.p50Ms, summary.p99Ms, summary.count),
         summary.count > 0 && summary.p50Ms <= MostMedianDelay});
    section.Add(
        {Format("audio missing or repeated, channel %u to %u", direction.from->Chan(), direction.to->Chan()),
         "none", Format("%zu times", result.slips), result.slips == 0});
}

}  // namespace lab

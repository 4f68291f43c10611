// A call whose external leg is protected by SRTP.
#include "tools/lab/demo/SrtpCallStep.h"

#include <algorithm>

#include "platform/media/RtpHeader.h"
#include "tools/lab/demo/Comparison.h"
#include "tools/lab/demo/SpeechCheck.h"
#include "tools/lab/demo/Text.h"

namespace lab {

namespace {

constexpr double TalkSeconds = 4.2;  // whole packets of both sizes
constexpr double ListenSeconds = TalkSeconds + 0.4;
constexpr double SettleSeconds = 0.3;
constexpr int PacketMs = 30;
constexpr int ForgeriesOfEachKind = 10;
constexpr double ForgeryGap = 0.02;
constexpr double LeastEntropy = 7.9;     // bits a byte; tens of thousands of random bytes reach more
constexpr double MostEqualBytes = 0.02;  // one in 256 is equal by chance
constexpr size_t PacketsAfterwards = 20;
constexpr double PatienceSeconds = 2;

}  // namespace

std::string SrtpCallStep::Intro() const {
    return "The internal leg is in the clear (A-law, 20 ms), the external leg is protected with "
           "AES_CM_128_HMAC_SHA1_80 (A-law, 30 ms). A listener on the wire keeps every datagram of the "
           "external leg and afterwards sends forged ones to the module: under a wrong key, replayed, and "
           "with another sequence number.";
}

bool SrtpCallStep::Run(DemoRun& run, ReportSection& section) {
    if (!Connect(run, section) || !Speak(run, section)) return false;
    CheckWire(section);
    return Forge(run, section);
}

bool SrtpCallStep::Connect(DemoRun& run, ReportSection& section) {
    std::string error;
    if (!tap.Open(run.Module().OwnAddress(), error)) {
        section.Add({"listener on the wire", "two free ports", error, false});
        return false;
    }
    const SockAddr wire = tap.Local();
    internal = run.AddLeg({InternalChannel, "internal"}, section);
    external =
        run.AddLeg({ExternalChannel, "external", Codec::Alaw, PacketMs, SrtpKeys::Random(SrtpKeys::Sha1_80)},
                   section, &wire);
    if (internal == nullptr || external == nullptr) return false;
    external->Peer().ConnectTo(wire);
    tap.Connect(run.Module().Leg(ExternalChannel), external->Peer().Local());
    return true;
}

bool SrtpCallStep::Speak(DemoRun& run, ReportSection& section) {
    said = run.Excerpt(31, TalkSeconds);
    const std::vector<std::int16_t> answer = run.Excerpt(44, TalkSeconds);
    internal->Say(said);
    external->Say(answer);
    if (!run.Wait(ListenSeconds, "speech in the clear and protected")) return false;
    const SpeechCheck directions[] = {{internal, external, said, external->Peer().Recording(), "srtp-out"},
                                      {external, internal, answer, internal->Peer().Recording(), "srtp-in"}};
    for (DemoLeg* leg : {external, internal}) {
        SpeechCheck::AddLossCheck(leg->Peer().Counts(), "channel " + leg->Label(), section);
    }
    for (const SpeechCheck& direction : directions) direction.AddTo(run, section);
    return true;
}

void SrtpCallStep::CheckWire(ReportSection& section) const {
    const auto tag = static_cast<size_t>(external->Settings().keys->TagLength());
    const size_t payload = static_cast<size_t>(PacketMs) * SampleRate / 1000;
    const size_t length = media::RtpHeader::FixedSize + payload + tag;
    std::vector<UBYTE> wire;
    size_t otherLengths = 0;
    const auto datagrams = tap.FromModule();
    for (const auto& datagram : datagrams) {
        otherLengths += datagram.size() != length;
        if (datagram.size() != length) continue;
        wire.insert(wire.end(), datagram.begin() + media::RtpHeader::FixedSize,
                    datagram.end() - static_cast<std::ptrdiff_t>(tag));
    }
    section.Add({"length of the protected packets", Format("%zu bytes, with a tag of %zu", length, tag),
                 Format("%zu of %zu packets differ", otherLengths, datagrams.size()),
                 !datagrams.empty() && otherLengths == 0});
    const ReceiveCounts counts = external->Peer().Counts();
    section.Add({"packets that the far end authenticates", "all",
                 std::to_string(counts.audio) + " of " + std::to_string(counts.audio + counts.unauthentic),
                 counts.audio > 0 && counts.unauthentic == 0});
    CheckSecrecy(wire, section);
}

// What the far end decrypted is the yardstick of what was to be hidden.
void SrtpCallStep::CheckSecrecy(const std::vector<UBYTE>& wire, ReportSection& section) const {
    const std::vector<UBYTE> clear = external->Peer().Bytes();
    const size_t compared = std::min(clear.size(), wire.size());
    size_t equal = 0;
    for (size_t i = 0; i < compared; ++i) equal += clear[i] == wire[i];
    const double share = compared > 0 ? static_cast<double>(equal) / static_cast<double>(compared) : 1;
    section.Add({"bytes on the wire that equal the speech in the clear",
                 Format("at most %.0f %%", MostEqualBytes * 100),
                 Format("%.2f %% of %zu", share * 100, compared), share <= MostEqualBytes});
    section.Add(
        {"entropy of the protected speech on the wire", Format("at least %.1f bits a byte", LeastEntropy),
         Format("%.3f (in the clear: %.3f)", Entropy(wire), Entropy(clear)), Entropy(wire) >= LeastEntropy});
}

bool SrtpCallStep::Forge(DemoRun& run, ReportSection& section) {
    external->Peer().Hush();
    if (!run.Wait(SettleSeconds, "pause")) return false;
    const std::uint64_t before = internal->Peer().Counts().audio;
    if (!SendForgeries(run) || !run.Wait(SettleSeconds, "forged packets")) return false;
    const std::uint64_t heard = internal->Peer().Counts().audio - before;
    section.Add({"forged packets (wrong key, replayed, changed) that the other leg hears",
                 Format("0 of %zu", forged), std::to_string(heard), heard == 0});

    const std::uint64_t silent = internal->Peer().Counts().audio;
    external->Say(run.Excerpt(44, TalkSeconds));
    const bool resumed = run.WaitUntil(PatienceSeconds, "true packets again", [&] {
        return internal->Peer().Counts().audio >= silent + PacketsAfterwards;
    });
    section.Add({"true packets afterwards", "heard again", resumed ? "heard" : "not heard", resumed});
    return run.Wait(0, "");
}

bool SrtpCallStep::SendForgeries(DemoRun& run) {
    const auto captured = tap.FromFarEnd();
    if (captured.size() < ForgeriesOfEachKind) return false;
    RtpSender stranger(SpeechSource(said).Code(Codec::Alaw, PacketMs), 0);
    stranger.Protect(SrtpKeys::Random(SrtpKeys::Sha1_80).Outbound());
    std::array<UBYTE, RtpSender::MaxPacket> room;
    for (int i = 0; i < ForgeriesOfEachKind; ++i) {
        const size_t length = stranger.Next(room);
        const std::vector<UBYTE>& replayed = captured[captured.size() - 1 - static_cast<size_t>(i)];
        std::vector<UBYTE> changed = replayed;
        changed[2] ^= 0x10;  // a sequence number far from all that were used
        forged += tap.SendToModule(std::span(room).first(length));
        forged += tap.SendToModule(replayed);
        forged += tap.SendToModule(changed);
        if (!run.Wait(ForgeryGap, "forged packets")) return false;
    }
    return true;
}

}  // namespace lab

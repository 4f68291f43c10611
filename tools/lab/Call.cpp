#include "tools/lab/Call.h"

#include <chrono>

namespace lab {

namespace {

constexpr int StopLookMs = 50;
constexpr int RestMs = 500;  // more than the module may hold back

RtpPeer::Setup PeerSetup(const LegSettings& leg, ULONG address, bool record) {
    RtpPeer::Setup setup{.codec = leg.codec, .packetMs = leg.packetMs, .address = address, .record = record};
    if (leg.srtp) setup.keys = SrtpKeys::Random(*leg.srtp);
    return setup;
}

}  // namespace

std::uint64_t PacketsExpected(std::uint64_t packets, int inMs, int outMs) {
    return packets * static_cast<std::uint64_t>(inMs) / static_cast<std::uint64_t>(outMs);
}

Call::Call(ModuleSetup& setup, const Options& wanted) : module(setup), options(wanted) {
    for (const Side side : {Internal, External}) {
        peers[side] =
            std::make_unique<RtpPeer>(PeerSetup(options.legs[side], module.OwnAddress(), options.record));
    }
}

Call::~Call() {
    if (placed) HangUp();
}

bool Call::Place(std::string& error) {
    for (const Side side : {Internal, External}) {
        RtpPeer& peer = *peers[side];
        if (!peer.Open(error)) return false;
        const auto chan = static_cast<UWORD>(options.chan + side);
        const LegSettings& leg = options.legs[side];
        const SrtpKeys* keys = peer.Settings().keys ? &*peer.Settings().keys : nullptr;
        placed = true;
        if (!module.Control().Map(
                {chan, static_cast<UBYTE>(leg.codec), peer.Local(), leg.Mfpp(), leg.flags, keys})) {
            error =
                "The module did not acknowledge the Map request for channel " + std::to_string(chan) + ".";
            return false;
        }
        peer.ConnectTo(module.Leg(chan));
    }
    return true;
}

void Call::Prepare(Side side, const SpeechSource& speech) {
    const LegSettings& leg = options.legs[side];
    words[side] = speech.Code(leg.codec, leg.packetMs);
    spoken[side] = peers[side]->MeasureTo(*peers[1 - side], words[side]);
}

void Call::Talk(int ms, const std::function<bool()>& stop) {
    for (const Side side : {Internal, External})
        if (words[side]) peers[side]->Talk(words[side]);
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    while (std::chrono::steady_clock::now() < end && !stop())
        std::this_thread::sleep_for(std::chrono::milliseconds(StopLookMs));
    for (const auto& peer : peers) peer->Hush();
    std::this_thread::sleep_for(std::chrono::milliseconds(RestMs));
}

LegReport Call::Report(Side side) {
    const RtpPeer& peer = *peers[side];
    const LegSettings& leg = options.legs[side];
    const LegSettings& other = options.legs[1 - side];
    LegReport report;
    report.settings = leg;
    report.counts = peer.Counts();
    report.reports = peer.Reports();
    for (const RtpReceiver::Digit& digit : peer.Digits()) report.digits += digit.key;
    if (spoken[side]) report.sent = spoken[side]->PacketsSent();
    report.heard = report.counts.audio;
    if (!spoken[1 - side]) return report;
    const std::uint64_t expected =
        PacketsExpected(spoken[1 - side]->PacketsSent(), other.packetMs, leg.packetMs);
    report.lost = expected > report.heard ? expected - report.heard : 0;
    const DelayResult result = spoken[1 - side]->Finish();
    report.delay = result.delays.Summarise();
    report.unmatched = result.unmatched;
    report.slips = result.slips;
    return report;
}

bool Call::HangUp() {
    placed = false;
    return module.Control().Free(options.chan);
}

}  // namespace lab

// One call through a slot of the module: two RTP peers, one or both of them talking, and what became of it.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tools/lab/LegSettings.h"
#include "tools/lab/ModuleSetup.h"
#include "tools/lab/RtpPeer.h"

namespace lab {

// What one leg's peer sent and heard.
struct LegReport {
    LegSettings settings;
    std::uint64_t sent = 0;   // packets of speech
    std::uint64_t heard = 0;  // packets of speech
    std::uint64_t lost = 0;   // packets that should have been heard and were not, wherever they were lost
    ReceiveCounts counts;
    DelaySummary delay;         // of what was heard, added by the module
    std::size_t unmatched = 0;  // packets heard that were not measured
    std::size_t slips = 0;
    std::string digits;  // keys heard
    RtcpReporter::Heard reports;
};

// One thread drives it. The slot is freed when the call is destroyed.
class Call {
 public:
    enum Side { Internal, External };

    struct Options {
        UWORD chan = 0;  // the slot's even number
        std::array<LegSettings, 2> legs;
        bool record = true;
    };

    Call(ModuleSetup& module, const Options& options);
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    // Opens the peers and maps both legs; false with the reason in `error`.
    bool Place(std::string& error);
    // One side will say `speech`, measured on the other side. Once a side and call.
    void Prepare(Side side, const SpeechSource& speech);
    // Says what was prepared for `ms`, or until `stop` says so, and waits until the rest has come out.
    void Talk(int ms, const std::function<bool()>& stop);

    // After Talk.
    LegReport Report(Side side);
    RtpPeer& Peer(Side side) { return *peers[side]; }
    // Frees the slot; false when the module does not acknowledge it.
    bool HangUp();

 private:
    ModuleSetup& module;
    const Options options;
    std::array<std::unique_ptr<RtpPeer>, 2> peers;
    std::array<std::shared_ptr<const CodedSpeech>, 2> words;  // by the side that speaks
    std::array<std::shared_ptr<DelayMatcher>, 2> spoken;      // likewise
    bool placed = false;
};

// Packets of `outMs` that `packets` of `inMs` give, when nothing is lost.
std::uint64_t PacketsExpected(std::uint64_t packets, int inMs, int outMs);

}  // namespace lab

// kestrel-lab call: one call through a slot, heard and measured.
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "tools/lab/Call.h"
#include "tools/lab/Commands.h"
#include "tools/lab/ControlDatagram.h"
#include "tools/lab/Interrupt.h"
#include "tools/lab/ModuleChoice.h"
#include "tools/lab/TextTable.h"
#include "tools/lab/WavFile.h"

namespace lab {

namespace {

constexpr const char* Lesson =
    "Examples:\n"
    "  kestrel-lab call --output heard.wav\n"
    "      Says Debian's telephone prompts on the internal leg of a daemon started for the purpose and "
    "writes what\n"
    "      the external leg hears.\n"
    "  kestrel-lab call --codec g729:alaw --srtp 80 --input hello.wav --output heard.wav\n"
    "      G.729 inside, A-law outside, both legs protected.\n"
    "  kestrel-lab call --module 127.0.0.1:40000 --chan 4 --from both --seconds 10 --digits 123#\n"
    "      Slot 4 and 5 of a running module, both sides talking, and four keys pressed on the external "
    "side.\n"
    "\n"
    "The added delay of a packet is the time from sending the input packet with its last sample to its "
    "arrival.\n"
    "Exit status: 0 done, 1 failed or nothing was heard, 2 wrong use.";

constexpr const char* SideNames[] = {"internal", "external"};
constexpr int KeyMs = 120;
constexpr int DigitWaitMs = 1000;

nlohmann::json ToJson(const LegReport& leg) {
    return {{"settings", leg.settings.Words()},
            {"sent", leg.sent},
            {"received", leg.heard},
            {"lost", leg.lost},
            {"outOfOrder", leg.counts.late},
            {"duplicates", leg.counts.duplicates},
            {"refused", leg.counts.unauthentic + leg.counts.malformed + leg.counts.foreign},
            {"delayMs", {{"p50", leg.delay.p50Ms}, {"p99", leg.delay.p99Ms}, {"max", leg.delay.maxMs}}},
            {"unmeasured", leg.unmatched},
            {"slips", leg.slips},
            {"jitterMs", leg.counts.worstJitterMs},
            {"digits", leg.digits}};
}

class CallCommand {
 public:
    explicit CallCommand(CLI::App& command) {
        choice.AddOptions(command);
        command
            .add_option("--chan", chan,
                        "The slot's even channel number (internal leg); the next one is external")
            ->capture_default_str()
            ->check(CLI::Range(0, 32766));
        command
            .add_option("--codec", codec,
                        "CODEC[/MS] of both legs, or INTERNAL:EXTERNAL; codecs alaw, ulaw, g729")
            ->capture_default_str();
        command
            .add_option("--srtp", srtp, "Protect both legs with SRTP, authentication tags of 80 or 32 bits")
            ->expected(0, 1)
            ->default_str("80")
            ->check(CLI::IsMember({"80", "32"}));
        command.add_flag("--relay", relay, "Ask for relay mode: payloads pass unchanged");
        command.add_flag("--block-dtmf", blockDtmf, "Keys do not reach the external side");
        command.add_option("--from", from, "Who talks: internal, external or both")
            ->capture_default_str()
            ->check(CLI::IsMember({"internal", "external", "both"}));
        command.add_option("--seconds", seconds, "How long; by default once through the speech")
            ->check(CLI::Range(1, 86400));
        command.add_option("--digits", digits,
                           "Keys that are pressed on the external side, one after the other");
        command.add_option("--input", input, "Speech: any sound file; by default Debian's telephone prompts")
            ->type_name("FILE");
        command
            .add_option("--output", output,
                        "Write what is heard at the other end (both: at the external one)")
            ->type_name("WAV");
        command.add_option("--output-internal", outputInternal, "Write what is heard at the internal end")
            ->type_name("WAV");
        command.add_flag("--json", json, "The result as JSON on standard output, nothing else there");
        command.footer(Lesson);
    }

    int Run() {
        std::string error;
        Call::Options options;
        if (!ReadOptions(options, error)) return Complain(error) + 1;
        const std::optional<SpeechSource> speech = SpeechSource::Open(input, error);
        if (!speech) return Complain(error);
        CatchInterrupts();
        ModuleSetup module;
        if (!choice.Prepare(module, (chan + 2) / 2, stderr, error)) return Complain(error);
        Call call(module, options);
        if (!call.Place(error)) return Complain(error);
        std::fprintf(stderr, "Call placed on channels %d (%s) and %d (%s); %s talks.\n", chan,
                     options.legs[0].Words().c_str(), chan + 1, options.legs[1].Words().c_str(),
                     from.c_str());
        Converse(call, *speech);
        const bool reported = ShowDigits(module.Control());
        const std::array<LegReport, 2> legs{call.Report(Call::Internal), call.Report(Call::External)};
        Show(legs);
        if (!call.HangUp()) Complain("The module did not acknowledge the FreeChan request.");
        if (!Save(call)) return 1;
        if (!reported) return Complain("The module did not report every key to the call server.");
        return Judge(legs);
    }

 private:
    bool ReadOptions(Call::Options& options, std::string& error) {
        const auto legs = ParseLegs(codec, error);
        if (!legs) return false;
        if (chan % 2 != 0) {
            error = "A slot is named by its even channel number; " + std::to_string(chan) + " is odd.";
            return false;
        }
        options.chan = static_cast<UWORD>(chan);
        options.legs = {legs->first, legs->second};
        for (LegSettings& leg : options.legs) {
            if (!srtp.empty()) leg.srtp = SrtpKeys::SuiteFromName(srtp);
            leg.flags = static_cast<UBYTE>((relay ? ControlDatagram::FlagRelay : 0) |
                                           (blockDtmf ? ControlDatagram::FlagBlockDtmf : 0));
        }
        return true;
    }

    void Converse(Call& call, const SpeechSource& speech) {
        if (from != "external") call.Prepare(Call::Internal, speech);
        if (from != "internal") call.Prepare(Call::External, speech);
        for (const char key : digits) {
            if (!call.Peer(Call::External).SendDigit(key, KeyMs)) {
                Complain(std::string("'") + key +
                         "' is no key of a telephone, or too many wait; it is left out.");
            }
        }
        const int ms =
            seconds > 0 ? seconds * 1000 : static_cast<int>(speech.Samples().size() * 1000 / SampleRate);
        call.Talk(ms, Interrupted);
    }

    bool ShowDigits(ControlClient& control) const {
        for (std::size_t i = 0; i < digits.size(); ++i) {
            const std::optional<ControlDatagram> digit = control.WaitDigit(DigitWaitMs);
            if (!digit) return false;
            std::fprintf(stderr, "Reported: %s\n", digit->Describe().c_str());
        }
        return true;
    }

    void Show(const std::array<LegReport, 2>& legs) const {
        if (json) {
            const nlohmann::json all{{SideNames[0], ToJson(legs[0])}, {SideNames[1], ToJson(legs[1])}};
            std::printf("%s\n", all.dump(2).c_str());
            return;
        }
        TextTable table({"leg", "settings", "sent", "received", "lost", "late", "p50 ms", "p99 ms", "max ms",
                         "jitter ms", "keys"});
        for (int side = 0; side < 2; ++side) {
            const LegReport& leg = legs[side];
            const bool measured = leg.delay.count > 0;
            table.Add(
                {SideNames[side], leg.settings.Words(), Number(leg.sent), Number(leg.heard), Number(leg.lost),
                 Number(leg.counts.late), measured ? Decimal(leg.delay.p50Ms, 2) : "-",
                 measured ? Decimal(leg.delay.p99Ms, 2) : "-", measured ? Decimal(leg.delay.maxMs, 2) : "-",
                 Decimal(leg.counts.worstJitterMs, 2), leg.digits.empty() ? "-" : leg.digits});
        }
        std::printf("%s", table.ToText().c_str());
        if (!digits.empty() && from != "internal") {
            std::printf(
                "While keys are sent speech rests: what the keys took the place of counts as lost.\n");
        }
        for (int side = 0; side < 2; ++side) {
            if (legs[side].slips + legs[side].unmatched > 0) {
                std::printf("%s: %zu slips of audio inside the module, %zu packets without a delay\n",
                            SideNames[side], legs[side].slips, legs[side].unmatched);
            }
        }
    }

    bool Save(Call& call) const {
        const Call::Side far = from == "external" ? Call::Internal : Call::External;
        return SaveOne(call, far, output) && SaveOne(call, Call::Internal, outputInternal);
    }

    static bool SaveOne(Call& call, Call::Side side, const std::string& path) {
        if (path.empty()) return true;
        std::string error;
        const std::vector<std::int16_t> heard = call.Peer(side).Recording();
        if (!WriteWav(path, heard, error)) return Complain(error) == 0;
        std::fprintf(stderr, "Wrote %s, %.1f s.\n", path.c_str(),
                     static_cast<double>(heard.size()) / SampleRate);
        return true;
    }

    int Judge(const std::array<LegReport, 2>& legs) const {
        if (from != "external" && legs[1].heard == 0) return Complain("The external side heard nothing.");
        if (from != "internal" && legs[0].heard == 0) return Complain("The internal side heard nothing.");
        return 0;
    }

    ModuleChoice choice;
    int chan = 0;
    std::string codec = "alaw/20";
    std::string srtp;
    bool relay = false;
    bool blockDtmf = false;
    std::string from = "internal";
    int seconds = 0;
    std::string digits;
    std::string input;
    std::string output;
    std::string outputInternal;
    bool json = false;
};

}  // namespace

void AddCallCommand(CLI::App& app, int& status) {
    CLI::App* command =
        app.add_subcommand("call", "Place a call through a slot; hear and measure what comes out");
    const auto call = std::make_shared<CallCommand>(*command);
    command->callback([call, &status] { status = call->Run(); });
}

}  // namespace lab

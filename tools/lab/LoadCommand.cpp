// kestrel-lab load: many slots at once, and what they cost.
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <memory>

#include "tools/lab/Commands.h"
#include "tools/lab/Interrupt.h"
#include "tools/lab/LoadGenerator.h"
#include "tools/lab/LoadTargetChoice.h"
#include "tools/lab/TextTable.h"

namespace lab {

namespace {

constexpr long QuietSeconds = 10;
constexpr double BytesPerMb = 1024.0 * 1024.0;

constexpr const char* Lesson =
    "Examples:\n"
    "  kestrel-lab load --slots 100 --seconds 60\n"
    "      A-law on both legs, 20 ms packets, against a daemon started for the purpose.\n"
    "  kestrel-lab load --slots 500 --codec alaw:g729 --srtp --srtp-leg external --json\n"
    "      Transcoding, the external leg protected; the result as JSON on standard output.\n"
    "  kestrel-lab load --slots 100 --seconds 60 --max-loss 0 --max-p99 25 --max-rss 64\n"
    "      Exit status 1 when a limit is missed: a benchmark as a test.\n"
    "  kestrel-lab load --slots 20 --module 127.0.0.1:40000 --rtpbase 6300\n"
    "      A module that runs already (with --pid its CPU time and memory are measured, too).\n"
    "  kestrel-lab load --slots 300 --overload 150 --overload-seconds 10 --seconds 40 --max-control 200\n"
    "      150 slots more in the middle of the run: how loss and delay were before, during and after.\n"
    "  kestrel-lab load --slots 100 --codec alaw:g729 --proxy-ng 127.0.0.1:2223 --pid 4711\n"
    "      The same load on an RTP proxy, for comparison (bench/compare-with-proxy does it all).\n"
    "\n"
    "The added delay of a packet is the time from sending the input packet with its last sample to its "
    "arrival.\n"
    "Loss is what should have come out, by the samples sent, less what did.\n"
    "CPU time is told apart by the names of the threads: relay, module, other.\n"
    "With an overload, --max-loss and --max-p99 hold before and after it.\n"
    "Exit status: 0 done, 1 failed or a limit missed, 2 wrong use.";

struct Limits {
    std::optional<double> lossPercent;
    std::optional<double> p99Ms;
    std::optional<double> rssMb;
    std::optional<double> cpu;
    std::optional<double> controlMs;
};

class LoadCommand {
 public:
    explicit LoadCommand(CLI::App& command) {
        choice.AddOptions(command);
        command.add_option("--slots", options.slots, "Slots (calls) at once, two legs each")
            ->capture_default_str()
            ->check(CLI::Range(1, 8000));
        command.add_option("--seconds", options.seconds, "How long speech flows")
            ->capture_default_str()
            ->check(CLI::Range(1, 86400));
        command
            .add_option("--codec", codec,
                        "CODEC[/MS] of both legs, or INTERNAL:EXTERNAL; codecs alaw, ulaw, g729")
            ->capture_default_str();
        command.add_option("--srtp", srtp, "Protect with SRTP, authentication tags of 80 or 32 bits")
            ->expected(0, 1)
            ->default_str("80")
            ->check(CLI::IsMember({"80", "32"}));
        command.add_option("--srtp-leg", srtpLeg, "Which leg --srtp protects")
            ->capture_default_str()
            ->check(CLI::IsMember({"internal", "external", "both"}))
            ->needs("--srtp");
        AddOverload(command);
        command
            .add_option("--input", input,
                        "Speech to send: any sound file; by default Debian's telephone prompts")
            ->type_name("FILE");
        command.add_flag("--json", json, "The result as JSON on standard output, nothing else there");
        command.add_option("--max-loss", limits.lossPercent, "Fail when more packets are lost [percent]");
        command.add_option("--max-p99", limits.p99Ms,
                           "Fail when the 99th percentile of the added delay is longer [ms]");
        command.add_option("--max-rss", limits.rssMb,
                           "Fail when the target's resident memory is larger [MB]");
        command.add_option("--max-cpu", limits.cpu, "Fail when the target uses more [CPU seconds a second]");
        command.add_option("--max-control", limits.controlMs,
                           "Fail when a control request takes longer to be answered [ms]");
        command.footer(Lesson);
    }

    int Run() {
        std::string error;
        const auto legs = ParseLegs(codec, error);
        if (!legs) return Complain(error) + 1;
        options.legs = {legs->first, legs->second};
        if (srtpLeg != "external") options.legs[0].srtp = SrtpKeys::SuiteFromName(srtp);
        if (srtpLeg != "internal") options.legs[1].srtp = SrtpKeys::SuiteFromName(srtp);
        if (options.overload > 0 &&
            options.seconds < options.overloadSeconds + LoadPhases::LeastSecondsAround) {
            return Complain("With an overload, --seconds must be at least " +
                            std::to_string(options.overloadSeconds + LoadPhases::LeastSecondsAround) + ".") +
                   1;
        }
        const std::optional<SpeechSource> speech = SpeechSource::Open(input, error);
        if (!speech) return Complain(error);
        CatchInterrupts();
        const std::unique_ptr<LoadTarget> target = choice.Prepare(options.AllSlots(), stderr, error);
        if (!target) return Complain(error);
        std::fprintf(stderr, "%d slots: internal %s; external %s; %d s\n", options.slots,
                     options.legs[0].Words().c_str(), options.legs[1].Words().c_str(), options.seconds);
        LoadGenerator generator(*target, options);
        if (!generator.Prepare(*speech, error)) return Complain(error);
        generator.Run([this](const LoadGenerator::Progress& progress) { return Show(progress); });
        if (isatty(STDERR_FILENO) != 0) std::fprintf(stderr, "\n");
        const LoadResult result = generator.Collect();
        if (!generator.Release()) Complain("The target did not confirm that every slot is free.");
        return Judge(result);
    }

 private:
    void AddOverload(CLI::App& command) {
        CLI::Option* slots = command
                                 .add_option("--overload", options.overload,
                                             "So many slots more, which speak in the middle of the run only")
                                 ->check(CLI::Range(1, 8000));
        CLI::Option* length =
            command.add_option("--overload-seconds", options.overloadSeconds, "How long these speak")
                ->check(CLI::Range(1, 86400));
        slots->needs(length);
        length->needs(slots);
    }

    // A line that moves on a terminal, one now and then elsewhere.
    bool Show(const LoadGenerator::Progress& progress) const {
        const bool terminal = isatty(STDERR_FILENO) != 0;
        if (terminal || std::lround(progress.seconds) % QuietSeconds == 0) {
            std::fprintf(stderr, "%s%4.0f of %d s: %llu packets sent, %llu received%s", terminal ? "\r" : "",
                         progress.seconds, options.seconds, static_cast<unsigned long long>(progress.sent),
                         static_cast<unsigned long long>(progress.received), terminal ? " " : "\n");
        }
        return !Interrupted();
    }

    int Judge(const LoadResult& result) const {
        if (json) {
            std::printf("%s\n", result.ToJson().dump(2).c_str());
        } else {
            std::printf("%s", result.ToText().c_str());
        }
        if (result.directions[0].received + result.directions[1].received == 0)
            return Complain("No audio came back at all.");
        int status = 0;
        const auto check = [&](const char* what, std::optional<double> limit, double value,
                               const char* unit) {
            if (!limit || value <= *limit) return;
            status = Complain(std::string("limit missed: ") + what + " " + Decimal(value, 3) + " " + unit +
                              ", allowed " + Decimal(*limit, 3));
        };
        check("loss", limits.lossPercent, result.JudgedLossPercent(), "percent");
        check("p99 of the added delay", limits.p99Ms, result.JudgedP99Ms(), "ms");
        check("longest answer to a control request", limits.controlMs, result.control.time.maxMs, "ms");
        if (limits.controlMs && result.control.missing > 0)
            status = Complain("limit missed: a control request was not answered at all");
        if (!result.process && (limits.rssMb || limits.cpu)) {
            return Complain(
                "The process of the target is not known, so --max-rss and --max-cpu cannot be checked.");
        }
        if (!result.process) return status;
        check("resident memory", limits.rssMb, static_cast<double>(result.process->rssBytes) / BytesPerMb,
              "MB");
        check("CPU", limits.cpu, result.process->cpuPerSecond, "s a second");
        return status;
    }

    LoadTargetChoice choice;
    LoadOptions options;
    Limits limits;
    std::string codec = "alaw/20";
    std::string srtp;
    std::string srtpLeg = "both";
    std::string input;
    bool json = false;
};

}  // namespace

void AddLoadCommand(CLI::App& app, int& status) {
    CLI::App* command =
        app.add_subcommand("load", "Load many slots at once; measure loss, delay, CPU and memory");
    const auto load = std::make_shared<LoadCommand>(*command);
    command->callback([load, &status] { status = load->Run(); });
}

}  // namespace lab

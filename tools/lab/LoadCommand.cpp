// kestrel-lab load: many slots at once, and what they cost.
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <memory>

#include "tools/lab/Commands.h"
#include "tools/lab/Interrupt.h"
#include "tools/lab/LoadGenerator.h"
#include "tools/lab/ModuleChoice.h"
#include "tools/lab/TextTable.h"

namespace lab {

namespace {

constexpr long QuietSeconds = 10;
constexpr double BytesPerMb = 1024.0 * 1024.0;

constexpr const char* Lesson =
    "Examples:\n"
    "  kestrel-lab load --slots 100 --seconds 60\n"
    "      A-law on both legs, 20 ms packets, against a daemon started for the purpose.\n"
    "  kestrel-lab load --slots 38 --codec g729:alaw --srtp 80 --json\n"
    "      Transcoding, both legs protected; the result as JSON on standard output.\n"
    "  kestrel-lab load --slots 100 --seconds 60 --max-loss 0 --max-p99 25 --max-rss 64\n"
    "      Exit status 1 when a limit is missed: a benchmark as a test.\n"
    "  kestrel-lab load --slots 20 --module 127.0.0.1:40000 --rtpbase 6300\n"
    "      A module that runs already (its CPU time and memory are then not known).\n"
    "\n"
    "The added delay of a packet is the time from sending the input packet with its last sample to its "
    "arrival.\n"
    "Loss is what should have come out, by the samples sent, less what did.\n"
    "Exit status: 0 done, 1 failed or a limit missed, 2 wrong use.";

struct Limits {
    std::optional<double> lossPercent;
    std::optional<double> p99Ms;
    std::optional<double> rssMb;
    std::optional<double> cpu;
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
        command
            .add_option("--srtp", srtp, "Protect both legs with SRTP, authentication tags of 80 or 32 bits")
            ->expected(0, 1)
            ->default_str("80")
            ->check(CLI::IsMember({"80", "32"}));
        command
            .add_option("--input", input,
                        "Speech to send: any sound file; by default Debian's telephone prompts")
            ->type_name("FILE");
        command.add_flag("--json", json, "The result as JSON on standard output, nothing else there");
        command.add_option("--max-loss", limits.lossPercent, "Fail when more packets are lost [percent]");
        command.add_option("--max-p99", limits.p99Ms,
                           "Fail when the 99th percentile of the added delay is longer [ms]");
        command.add_option("--max-rss", limits.rssMb,
                           "Fail when the daemon's resident memory is larger [MB]");
        command.add_option("--max-cpu", limits.cpu, "Fail when the daemon uses more [CPU seconds a second]");
        command.footer(Lesson);
    }

    int Run() {
        std::string error;
        const auto legs = ParseLegs(codec, error);
        if (!legs) return Complain(error) + 1;
        options.legs = {legs->first, legs->second};
        if (!srtp.empty()) options.legs[0].srtp = options.legs[1].srtp = SrtpKeys::SuiteFromName(srtp);
        const std::optional<SpeechSource> speech = SpeechSource::Open(input, error);
        if (!speech) return Complain(error);
        CatchInterrupts();
        ModuleSetup module;
        if (!choice.Prepare(module, options.slots, stderr, error)) return Complain(error);
        std::fprintf(stderr, "%d slots: internal %s; external %s; %d s\n", options.slots,
                     options.legs[0].Words().c_str(), options.legs[1].Words().c_str(), options.seconds);
        LoadGenerator generator(module, options);
        if (!generator.Prepare(*speech, error)) return Complain(error);
        generator.Run([this](const LoadGenerator::Progress& progress) { return Show(progress); });
        if (isatty(STDERR_FILENO) != 0) std::fprintf(stderr, "\n");
        const LoadResult result = generator.Collect();
        if (!generator.Release()) Complain("The module did not acknowledge every FreeChan request.");
        return Judge(result);
    }

 private:
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
        check("loss", limits.lossPercent, result.LossPercent(), "percent");
        check("p99 of the added delay", limits.p99Ms, result.Delay().p99Ms, "ms");
        if (!result.daemon && (limits.rssMb || limits.cpu)) {
            return Complain(
                "The process of the module is not known, so --max-rss and --max-cpu cannot be checked.");
        }
        if (!result.daemon) return status;
        check("resident memory", limits.rssMb, static_cast<double>(result.daemon->rssBytes) / BytesPerMb,
              "MB");
        check("CPU", limits.cpu, result.daemon->cpuPerSecond, "s a second");
        return status;
    }

    ModuleChoice choice;
    LoadOptions options;
    Limits limits;
    std::string codec = "alaw/20";
    std::string srtp;
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

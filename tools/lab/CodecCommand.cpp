// kestrel-lab codec: files through the module's own G.729, and what it costs.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <string_view>

#include "platform/media/g729/Decoder.h"
#include "platform/media/g729/Encoder.h"
#include "tools/lab/CodecFiles.h"
#include "tools/lab/Commands.h"
#include "tools/lab/ModuleChoice.h"
#include "tools/lab/SpeechSource.h"
#include "tools/lab/TextTable.h"

namespace lab {

namespace {

constexpr const char* Lesson =
    "Examples:\n"
    "  kestrel-lab codec encode words.wav words.g729\n"
    "  kestrel-lab codec decode words.g729 heard.wav\n"
    "  kestrel-lab codec decode words.g729 heard.pcm --erasures lost.txt --level portable\n"
    "  kestrel-lab codec bench --input words.wav\n"
    "\n"
    "Speech is WAV, or raw 16-bit little-endian samples of 8 kHz when a file has no header (written: when "
    "its name "
    "does\n"
    "not end in .wav). G.729 is frames of 10 bytes, one behind the other, as RTP carries them. A file of "
    "lost frames "
    "holds\n"
    "a 0 or a 1 for each frame. All levels give the same bits.\n"
    "Exit status: 0 done, 1 failed, 2 wrong use.";

constexpr std::string_view EveryLevel = "best";  // of which a benchmark shows all

using Linear = std::vector<std::int16_t>;
using Frames = std::vector<G729Frame>;

Frames Encode(const Linear& samples, g729::Level level) {
    g729::Encoder encoder(level);
    Frames frames(samples.size() / g729::FrameSamples);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        encoder.Encode(samples.data() + i * g729::FrameSamples, frames[i].data());
    }
    return frames;
}

// `isErased` is empty when nothing is lost.
Linear Decode(const Frames& frames, const std::vector<bool>& isErased, g729::Level level) {
    g729::Decoder decoder(level);
    Linear samples(frames.size() * g729::FrameSamples);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        std::int16_t* out = samples.data() + i * g729::FrameSamples;
        if (!isErased.empty() && isErased[i]) {
            decoder.DecodeErasure(out);
        } else {
            decoder.Decode(frames[i].data(), out);
        }
    }
    return samples;
}

// The median over some runs.
double MicrosecondsPerFrame(std::size_t frames, const std::function<void()>& run) {
    constexpr int Runs = 9;
    std::vector<double> times;
    for (int i = 0; i < Runs; ++i) {
        const auto start = std::chrono::steady_clock::now();
        run();
        const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - start;
        times.push_back(time.count() / static_cast<double>(frames));
    }
    std::nth_element(times.begin(), times.begin() + Runs / 2, times.end());
    return times[Runs / 2];
}

class CodecCommand : public std::enable_shared_from_this<CodecCommand> {
 public:
    void AddOptions(CLI::App& command, int& status) {
        command.require_subcommand(1);
        command
            .add_option("--level", level,
                        "Instruction set: portable, avx2, avx512, or the best of this machine")
            ->capture_default_str();
        command.footer(Lesson);

        CLI::App& encode = Add(command, "encode", "Speech to G.729", &CodecCommand::EncodeFile, status);
        AddFiles(encode, "Speech: WAV or raw", "G.729");
        CLI::App& decode = Add(command, "decode", "G.729 to speech", &CodecCommand::DecodeFile, status);
        AddFiles(decode, "G.729", "Speech: WAV when the name ends in .wav, else raw");
        decode.add_option("--erasures", erasures, "Which frames are lost")->type_name("FILE");
        CLI::App& bench =
            Add(command, "bench", "Microseconds per frame of 10 ms, at every level unless one is named",
                &CodecCommand::Bench, status);
        bench.add_option("--input", speech, "Speech: any sound file; by default Debian's telephone prompts")
            ->type_name("FILE");
    }

 private:
    CLI::App& Add(CLI::App& command, const char* name, const char* purpose,
                  int (CodecCommand::*run)(g729::Level), int& status) {
        CLI::App* action = command.add_subcommand(name, purpose);
        action->fallthrough();
        action->callback([self = shared_from_this(), run, &status] { status = self->Run(run); });
        return *action;
    }

    void AddFiles(CLI::App& action, const char* from, const char* to) {
        action.add_option("IN", in, from)->required();
        action.add_option("OUT", out, to)->required();
    }

    int Run(int (CodecCommand::*run)(g729::Level)) {
        const std::optional<g729::Level> chosen = g729::LevelNamed(level);
        if (!chosen) return Complain("'" + level + "' is no level: use portable, avx2, avx512 or best.") + 1;
        if (!g729::HasLevel(*chosen)) return Complain("This machine does not have level " + level + ".");
        return (this->*run)(*chosen);
    }

    int EncodeFile(g729::Level chosen) {
        std::string error;
        const std::optional<Linear> samples = ReadLinear(in, error);
        if (!samples) return Complain(error);
        if (const std::size_t rest = samples->size() % g729::FrameSamples) {
            std::fprintf(stderr, "The last %zu samples fill no frame of 10 ms and are left out.\n", rest);
        }
        return WriteFrames(out, Encode(*samples, chosen), error) ? 0 : Complain(error);
    }

    int DecodeFile(g729::Level chosen) {
        std::string error;
        const std::optional<Frames> frames = ReadFrames(in, error);
        if (!frames) return Complain(error);
        std::optional<std::vector<bool>> isErased = std::vector<bool>();
        if (!erasures.empty()) isErased = ReadErasures(erasures, frames->size(), error);
        if (!isErased) return Complain(error);
        return WriteLinear(out, Decode(*frames, *isErased, chosen), error) ? 0 : Complain(error);
    }

    int Bench(g729::Level chosen) {
        std::string error;
        const std::optional<SpeechSource> source = SpeechSource::Open(speech, error);
        if (!source) return Complain(error);
        const Linear& samples = source->Samples();
        const Frames frames = Encode(samples, chosen);
        TextTable table({"level", "encode us", "decode us"});
        for (const g729::Level each : g729::Levels) {
            if (!g729::HasLevel(each) || (level != EveryLevel && each != chosen)) continue;
            const double encode = MicrosecondsPerFrame(frames.size(), [&] { Encode(samples, each); });
            const double decode = MicrosecondsPerFrame(frames.size(), [&] { Decode(frames, {}, each); });
            table.Add({std::string(g729::LevelName(each)), Decimal(encode, 2), Decimal(decode, 2)});
        }
        std::printf("%s", table.ToText().c_str());
        return 0;
    }

    std::string level{EveryLevel};
    std::string in;
    std::string out;
    std::string erasures;
    std::string speech;
};

}  // namespace

void AddCodecCommand(CLI::App& app, int& status) {
    CLI::App& command =
        *app.add_subcommand("codec", "Files through the module's own G.729, and what it costs");
    std::make_shared<CodecCommand>()->AddOptions(command, status);
}

}  // namespace lab

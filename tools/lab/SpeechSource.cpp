#include "tools/lab/SpeechSource.h"

#include <filesystem>

#include "tools/lab/SpeechCodec.h"
#include "tools/lab/WavFile.h"

namespace lab {

const char* const SpeechSource::DefaultFile = "/usr/share/asterisk/sounds/en_US_f_Allison/demo-instruct.wav";

std::span<const UBYTE> CodedSpeech::Packet(std::size_t index) const {
    const std::size_t bytes = static_cast<std::size_t>(FrameBytes(codec)) * packetMs / FrameMs;
    return std::span(coded).subspan(index % Packets() * bytes, bytes);
}

std::optional<SpeechSource> SpeechSource::Open(const std::string& path, std::string& error) {
    if (path.empty() && !std::filesystem::exists(DefaultFile)) {
        error =
            std::string("There is no speech at ") + DefaultFile +
            ". Install the Debian package asterisk-core-sounds-en-wav, or name a sound file with --input.";
        return std::nullopt;
    }
    std::optional<std::vector<std::int16_t>> samples = ReadSpeech(path.empty() ? DefaultFile : path, error);
    if (!samples) return std::nullopt;
    if (samples->size() < SampleRate) {
        error = "The sound file " + path + " is shorter than a second.";
        return std::nullopt;
    }
    return SpeechSource(std::move(*samples));
}

std::shared_ptr<const CodedSpeech> SpeechSource::Code(Codec codec, int packetMs) const {
    auto speech = std::make_shared<CodedSpeech>(CodedSpeech{codec, packetMs, samples, {}});
    speech->samples.resize(samples.size() / speech->PacketSamples() * speech->PacketSamples());
    speech->coded = SpeechEncoder(codec).Encode(speech->samples);
    return speech;
}

}  // namespace lab

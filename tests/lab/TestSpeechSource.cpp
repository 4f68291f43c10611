// Sound files in and out, and packets of them.
#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <fstream>

#include "tests/lab/Words.h"
#include "tools/lab/SpeechSource.h"
#include "tools/lab/TemporaryFolder.h"
#include "tools/lab/WavFile.h"

namespace lab {
namespace {

// A tone on both channels, the right one silent, so that mono has half its level.
void WriteStereoTone(const std::string& path, int rate, double hertz) {
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr);
    for (int i = 0; i < 2 * rate; ++i) {
        const float frame[2] = {0.8F * std::sin(static_cast<float>(2 * 3.14159265 * hertz * i / rate)), 0};
        sf_writef_float(file, frame, 1);
    }
    sf_close(file);
}

// The level of one frequency in the middle of the samples, of full scale.
double LevelAt(const std::vector<std::int16_t>& samples, double hertz) {
    double sine = 0;
    double cosine = 0;
    for (std::size_t i = 4000; i < 12000; ++i) {
        const double angle = 2 * 3.14159265358979 * hertz * static_cast<double>(i) / SampleRate;
        sine += samples[i] * std::sin(angle) / 32767;
        cosine += samples[i] * std::cos(angle) / 32767;
    }
    return 2 * std::hypot(sine, cosine) / 8000;
}

TEST(SpeechSource, ConvertsAnyRateAndBothChannels) {
    const TemporaryFolder folder;
    const std::string path = folder.Path() + "/tone.wav";
    for (const int rate : {8000, 11025, 16000, 44100, 48000}) {
        WriteStereoTone(path, rate, 1000);
        std::string error;
        const auto samples = ReadSpeech(path, error);
        ASSERT_TRUE(samples) << error;
        EXPECT_NEAR(static_cast<double>(samples->size()), 2 * SampleRate, 2) << rate;
        EXPECT_NEAR(LevelAt(*samples, 1000), 0.4, 0.01) << rate;
    }
    WriteStereoTone(path, 48000, 7000);  // above what 8 kHz can carry: must not come back as 1000 Hz
    std::string error;
    const auto samples = ReadSpeech(path, error);
    ASSERT_TRUE(samples) << error;
    EXPECT_LT(LevelAt(*samples, 1000), 0.01);
}

TEST(SpeechSource, WritesAndReadsBackTheSameSamples) {
    const TemporaryFolder folder;
    const std::vector<std::int16_t> words = test::Words(2);
    std::string error;
    ASSERT_TRUE(WriteWav(folder.Path() + "/words.wav", words, error)) << error;
    EXPECT_EQ(ReadSpeech(folder.Path() + "/words.wav", error), words);
}

TEST(SpeechSource, NamesTheFileAndTheFaultInItsErrors) {
    const TemporaryFolder folder;
    std::string error;
    EXPECT_FALSE(SpeechSource::Open(folder.Path() + "/none.wav", error));
    EXPECT_NE(error.find("none.wav"), std::string::npos) << error;
    std::ofstream(folder.Path() + "/text.wav") << "this is no sound";
    EXPECT_FALSE(SpeechSource::Open(folder.Path() + "/text.wav", error));
    EXPECT_NE(error.find("text.wav"), std::string::npos) << error;
    ASSERT_TRUE(WriteWav(folder.Path() + "/short.wav", std::vector<std::int16_t>(SampleRate - 1), error))
        << error;
    EXPECT_FALSE(SpeechSource::Open(folder.Path() + "/short.wav", error));
    EXPECT_NE(error.find("shorter than a second"), std::string::npos) << error;
    EXPECT_FALSE(WriteWav(folder.Path() + "/no/such/folder.wav", std::vector<std::int16_t>(80), error));
    EXPECT_NE(error.find("folder.wav"), std::string::npos) << error;
}

TEST(SpeechSource, CutsSpeechIntoPacketsThatGoRound) {
    const SpeechSource source(test::Words(1));
    const auto speech = source.Code(Codec::G729, 30);
    EXPECT_EQ(speech->Packets(), 33U);
    EXPECT_EQ(speech->samples.size(), 33U * 240);
    EXPECT_EQ(speech->Packet(0).size(), 30U);
    EXPECT_EQ(speech->Packet(34).data(), speech->Packet(1).data());
}

}  // namespace
}  // namespace lab

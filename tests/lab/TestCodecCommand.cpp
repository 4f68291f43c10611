// Files through 'kestrel-lab codec': exact results, both kinds of speech files, and complaints in plain
// words.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "tools/lab/CommandLine.h"
#include "tools/lab/TemporaryFolder.h"
#include "tools/lab/WavFile.h"

namespace lab {
namespace {

std::string Bytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class CodecCommand : public ::testing::Test {
 protected:
    int Run(std::vector<std::string> words) {
        std::vector<const char*> arguments{"kestrel-lab", "codec"};
        for (const std::string& word : words) arguments.push_back(word.c_str());
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int status = RunCommandLine(static_cast<int>(arguments.size()), arguments.data());
        printed = testing::internal::GetCapturedStdout();
        complaint = testing::internal::GetCapturedStderr();
        return status;
    }

    static std::string Data(const std::string& name) { return KESTREL_G729_DATA "/" + name; }
    std::string File(const std::string& name) const { return folder.Path() + "/" + name; }

    std::string Written(const std::string& name, const std::string& text) const {
        std::ofstream(File(name), std::ios::binary) << text;
        return File(name);
    }

    const TemporaryFolder folder;
    std::string printed;
    std::string complaint;
};

TEST_F(CodecCommand, EncodesAndDecodesExactly) {
    for (const std::string level : {"portable", "best"}) {
        ASSERT_EQ(Run({"encode", Data("speech_m.pcm"), File("m.g729"), "--level", level}), 0) << complaint;
        EXPECT_EQ(Bytes(File("m.g729")), Bytes(Data("speech_m.g729")));
        ASSERT_EQ(Run({"--level", level, "decode", Data("erasure.g729"), File("e.pcm"), "--erasures",
                       Data("erasure.erased.txt")}),
                  0)
            << complaint;
        EXPECT_EQ(Bytes(File("e.pcm")), Bytes(Data("erasure.out.pcm")));
    }
}

TEST_F(CodecCommand, WavCarriesTheSameSamples) {
    ASSERT_EQ(Run({"decode", Data("dtmf.g729"), File("d.wav")}), 0) << complaint;
    EXPECT_TRUE(Bytes(File("d.wav")).ends_with(Bytes(Data("dtmf.out.pcm"))));
    ASSERT_EQ(Run({"encode", File("d.wav"), File("wav.g729")}), 0) << complaint;
    ASSERT_EQ(Run({"encode", Data("dtmf.out.pcm"), File("raw.g729")}), 0) << complaint;
    EXPECT_EQ(Bytes(File("wav.g729")), Bytes(File("raw.g729")));
}

TEST_F(CodecCommand, SaysWhatIsLeftOutAndWhatIsWrong) {
    ASSERT_EQ(Run({"encode", Written("short.pcm", std::string(164, '\0')), File("short.g729")}), 0);
    EXPECT_NE(complaint.find("The last 2 samples fill no frame"), std::string::npos) << complaint;
    EXPECT_EQ(Bytes(File("short.g729")).size(), 10u);

    const std::string frame = Written("one.g729", "0123456789");
    const struct {
        std::vector<std::string> words;
        int status;
        const char* complaint;
    } rows[] = {
        {{"encode", "/no/such/file", File("x")}, 1, "Cannot read /no/such/file: No such file"},
        {{"encode", Written("odd", "abc"), File("x")}, 1, "no whole number of 16-bit samples"},
        {{"encode", Written("empty", ""), File("x")}, 1, "it is empty"},
        {{"encode", Written("bad.wav", "RIFF...."), File("x")}, 1, "Cannot read the sound file"},
        {{"decode", Written("two", "0123456789a"), File("x")},
         1,
         "11 bytes: no whole number of 10-byte frames"},
        {{"decode", frame, "/no/such/folder/x"}, 1, "Cannot write /no/such/folder/x: No such file"},
        {{"decode", frame, File("x"), "--erasures", Written("lost", "0 2")}, 1, "'2' is neither"},
        {{"decode", frame, File("x"), "--erasures", Written("more", "0 1\n")},
         1,
         "2 frames, but there are 1"},
        {{"decode", frame, File("x"), "--level", "sse"}, 2, "'sse' is no level: use portable, avx2"},
        {{"bench", "--input", "/no/such/file"}, 1, "Cannot read the sound file /no/such/file"},
        {{"transcode"}, 2, "'transcode' is not understood"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Run(row.words), row.status) << row.complaint;
        EXPECT_NE(complaint.find(row.complaint), std::string::npos) << complaint;
    }
}

TEST_F(CodecCommand, BenchShowsTheLevelAskedFor) {
    std::string error;
    ASSERT_TRUE(WriteWav(File("tone.wav"), std::vector<std::int16_t>(10000, 100), error)) << error;
    ASSERT_EQ(Run({"bench", "--input", File("tone.wav"), "--level", "portable"}), 0) << complaint;
    EXPECT_NE(printed.find("portable"), std::string::npos) << printed;
    EXPECT_EQ(printed.find("avx"), std::string::npos) << printed;
}

}  // namespace
}  // namespace lab

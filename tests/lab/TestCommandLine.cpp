// What the user sees of kestrel-lab: errors in plain words, exit status, and whole runs against the real
// daemon.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/lab/Words.h"
#include "tools/lab/CommandLine.h"
#include "tools/lab/ModuleSetup.h"
#include "tools/lab/SockAddrText.h"
#include "tools/lab/TemporaryFolder.h"
#include "tools/lab/WavFile.h"

namespace lab {
namespace {

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

Outcome Lab(std::vector<const char*> words) {
    words.insert(words.begin(), "kestrel-lab");
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status = RunCommandLine(static_cast<int>(words.size()), words.data());
    return {status, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

TEST(CommandLine, SaysInPlainWordsWhatIsWrong) {
    const struct {
        std::vector<const char*> words;
        int status;
        const char* complaint;
    } rows[] = {
        {std::vector<const char*>{}, 2, "A subcommand is required"},
        {{"fly"}, 2, "'fly' is not understood"},
        {{"send", "--module", "127.0.0.1:4000", "fly"}, 2, "'fly' is not understood"},
        {{"send", "--module", "127.0.0.1:4000"}, 2, "A subcommand is required"},
        {{"send", "unmap", "--chan", "1"}, 2, "--module is required"},
        {{"send", "--module", "127.0.0.1:4000", "unmap"}, 2, "--chan is required"},
        {{"send", "--module", "127.0.0.1:4000", "unmap", "--chan", "32768"}, 2, "--chan"},
        {{"send", "--module", "nowhere", "unmap", "--chan", "1"}, 2, "'nowhere' is no address and port"},
        {{"send", "--module", "127.0.0.1:4000", "map", "--chan", "0", "--codec", "mp3", "--to",
          "127.0.0.1:9"},
         2,
         "'mp3' is no codec: use alaw, ulaw or g729."},
        {{"send", "--module", "127.0.0.1:4000", "digit", "--chan", "0", "--key", "55"}, 2, "'55' is no key"},
        {{"call", "--chan", "3"}, 2, "3 is odd"},
        {{"call", "--codec", "alaw/25"}, 2, "'25' is no packet time"},
        {{"call", "--input", "/no/such/file.wav"}, 1, "Cannot read the sound file /no/such/file.wav"},
        {{"load", "--slots", "0"}, 2, "--slots"},
        {{"load", "--daemon", "/no/such/daemon", "--seconds", "1"},
         1,
         "Cannot run /no/such/daemon: No such file"},
        {{"load", "--daemon", "/bin/false", "--seconds", "1"}, 1, "The daemon ended instead of registering"},
        {{"load", "--daemon", "x", "--module", "127.0.0.1:4000"}, 2, "excludes"},
        {{"load", "--proxy-ng", "127.0.0.1:4000", "--forwarder", "127.0.0.1:4000"}, 2, "excludes"},
        {{"load", "--proxy-ng", "there"}, 1, "'there' is no address and port"},
        {{"load", "--pid", "1"}, 2, "is for --module, --proxy-ng and --forwarder"},
        {{"load", "--srtp-leg", "external"}, 2, "--srtp"},
        {{"load", "--overload", "5"}, 2, "--overload-seconds"},
        {{"load", "--overload", "5", "--overload-seconds", "10", "--seconds", "12"},
         2,
         "--seconds must be at least 18"},
        {{"gatekeeper", "--listen", "here"}, 2, "'here' is no address and port"},
    };
    for (const auto& row : rows) {
        const Outcome outcome = Lab(row.words);
        const std::string name = row.words.empty() ? "nothing" : row.words.back();
        EXPECT_EQ(outcome.status, row.status) << name;
        EXPECT_NE(outcome.err.find(row.complaint), std::string::npos) << name << ": " << outcome.err;
    }
}

TEST(CommandLine, TeachesWithExamples) {
    for (const char* command : {"gatekeeper", "send", "call", "load", "codec"}) {
        const Outcome outcome = Lab({command, "--help"});
        EXPECT_EQ(outcome.status, 0) << command;
        EXPECT_NE(outcome.out.find(std::string("kestrel-lab ") + command), std::string::npos) << command;
    }
}

TEST(CommandLine, SaysWhenNothingListensAtTheModulesPort) {
    std::string error;
    UdpSocket taken;
    ASSERT_TRUE(taken.Open(SockAddr(0x7F000001U, 0), error)) << error;
    const std::string nobody = ToText(taken.Local());
    taken.Close();
    const Outcome outcome = Lab({"send", "--module", nobody.c_str(), "free", "--chan", "0"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("nothing listens at that port"), std::string::npos) << outcome.err;
}

// Words in a file of their own, so that the machine needs no speech package.
class WholeRun : public ::testing::Test {
 protected:
    void SetUp() override {
        ASSERT_FALSE(DaemonProcess::Find().empty()) << "the daemon stands beside the tests";
        std::string error;
        ASSERT_TRUE(WriteWav(words, test::Words(5), error)) << error;
    }

    const TemporaryFolder folder;
    const std::string words = folder.Path() + "/words.wav";
    const std::string heard = folder.Path() + "/heard.wav";
};

TEST_F(WholeRun, CallIsHeardMeasuredAndWritten) {
    const Outcome outcome = Lab({"call", "--codec", "ulaw/20:g729/30", "--srtp", "--input", words.c_str(),
                                 "--output", heard.c_str(), "--from", "both", "--seconds", "5", "--json"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const nlohmann::json json = nlohmann::json::parse(outcome.out);
    for (const char* leg : {"internal", "external"}) {
        EXPECT_EQ(json[leg]["lost"], 0) << json.dump();
        EXPECT_EQ(json[leg]["unmeasured"], 0) << json.dump();
        EXPECT_EQ(json[leg]["slips"], 0) << json.dump();
        EXPECT_GT(json[leg]["delayMs"]["p50"], 0) << json.dump();
    }
    std::string error;
    const auto recording = ReadSpeech(heard, error);
    ASSERT_TRUE(recording) << error;
    EXPECT_NEAR(static_cast<double>(recording->size()), 5.0 * SampleRate, 0.2 * SampleRate);
}

TEST_F(WholeRun, LoadCarriesSlotsAndKeepsToItsLimits) {
    const Outcome good = Lab({"load",
                              "--slots",
                              "6",
                              "--seconds",
                              "3",
                              "--codec",
                              "alaw/20:ulaw/30",
                              "--srtp",
                              "80",
                              "--srtp-leg",
                              "external",
                              "--input",
                              words.c_str(),
                              "--json",
                              "--max-loss",
                              "0",
                              "--max-rss",
                              "2000",
                              "--max-control",
                              "1000"});
    ASSERT_EQ(good.status, 0) << good.err << good.out;
    const nlohmann::json json = nlohmann::json::parse(good.out);
    EXPECT_EQ(json["internalToExternal"]["sent"], 6 * 150);
    EXPECT_EQ(json["internalToExternal"]["received"], 6 * 100);
    EXPECT_EQ(json["externalToInternal"]["received"], 6 * 150);
    EXPECT_EQ(json["externalToInternal"]["unmeasured"], 0);
    EXPECT_GT(json["delay"]["p50Ms"], 0);
    EXPECT_EQ(json["internal"]["srtp"], "none");
    EXPECT_EQ(json["external"]["srtp"], "80");
    const nlohmann::json& process = json["process"];
    EXPECT_GT(process["rssBytes"], 1'000'000);
    EXPECT_EQ(process["roles"]["relay"]["threads"], 6);
    EXPECT_EQ(process["roles"]["module"]["threads"], 1);
    EXPECT_GT(process["roles"]["relay"]["cpuPerSecond"], 0);
    EXPECT_GT(json["control"]["answer"]["packets"], 0) << json.dump();

    const Outcome missed =
        Lab({"load", "--slots", "2", "--seconds", "1", "--input", words.c_str(), "--max-p99", "0.001"});
    EXPECT_EQ(missed.status, 1);
    EXPECT_NE(missed.err.find("limit missed: p99 of the added delay"), std::string::npos) << missed.err;
}

TEST_F(WholeRun, SendReachesARunningModule) {
    ModuleSetup module;
    std::string error;
    ASSERT_TRUE(module.Start({.slots = 2}, error)) << error;
    const std::string control = ToText(module.Control().Module());
    const Outcome map = Lab({"send", "--module", control.c_str(), "map", "--chan", "1", "--codec", "g729/30",
                             "--to", "127.0.0.1:9000", "--srtp", "32"});
    EXPECT_EQ(map.status, 0) << map.err;
    EXPECT_NE(map.out.find("Answer: acknowledged"), std::string::npos) << map.out;
    EXPECT_TRUE(module.Daemon().WaitLine(
        "OnMap - chan 1, comp 11, addr 127.0.0.1, port 9000, mfpp 3, flags 0", 5000));
    const Outcome free = Lab({"send", "--module", control.c_str(), "free", "--chan", "0"});
    EXPECT_EQ(free.status, 0) << free.err;
    EXPECT_TRUE(module.Daemon().WaitLine("OnFreeChan - chan 0", 5000));
    EXPECT_EQ(module.Stop(), 0);
    EXPECT_TRUE(module.Registrar().WaitFor(Gatekeeper::Event::Unregistration, 1, 5000));
}

}  // namespace
}  // namespace lab

// What the daemon puts on the wire, as an independent dissector (tshark) and codec (ffmpeg) of other hands
// read it.
#include <cmath>
#include <fstream>
#include <set>

#include "tests/support/PcapFile.h"
#include "tests/system/SystemTest.h"

namespace {

bool IsInstalled(const std::string& program) {
    return std::system(("command -v " + program + " >/dev/null").c_str()) == 0;
}

std::vector<std::string> OutputOf(const std::string& command) {
    std::vector<std::string> lines;
    FILE* pipe = popen(command.c_str(), "r");
    char line[4096];
    while (pipe != nullptr && std::fgets(line, sizeof line, pipe) != nullptr) {
        lines.emplace_back(line);
        while (!lines.back().empty() && lines.back().back() == '\n') lines.back().pop_back();
    }
    if (pipe != nullptr) pclose(pipe);
    return lines;
}

class TestDissection : public SystemTest {
 protected:
    void SetUp() override {
        if (!IsInstalled("tshark")) GTEST_SKIP() << "tshark is not installed";
    }
    std::string CapturePath() const { return folder.Path() + "/capture.pcap"; }

    // Nothing in the capture is malformed or worth a warning to the dissector.
    void ExpectNoComplaint(const std::string& options) {
        const std::string tshark = "tshark -r " + CapturePath() + " " + options + " 2>/dev/null ";
        const auto complaints =
            OutputOf(tshark +
                     "-Y '_ws.malformed || _ws.expert.severity >= \"Warning\"' -T fields -e frame.number "
                     "-e _ws.expert.message");
        EXPECT_TRUE(complaints.empty()) << complaints.front();
    }
    std::multiset<std::string> Fields(const std::string& options, const std::string& fields) {
        const auto lines = OutputOf("tshark -r " + CapturePath() + " " + options +
                                    " -T fields -E separator=/s " + fields + " 2>/dev/null");
        return {lines.begin(), lines.end()};
    }

    lab::TemporaryFolder folder;
};

TEST_F(TestDissection, RasMessages) {
    using Event = lab::Gatekeeper::Event;
    PcapFile capture(CapturePath());
    lab::ModuleSetup::Options options;
    options.gatekeeper.timeToLive = 4;
    const SockAddr standard(0x7F000001, 1719);  // the port by which the dissector knows RAS
    options.gatekeeper.tap = [&](std::span<const UBYTE> datagram, const SockAddr& from) {
        capture.Add(from, standard, datagram);
    };
    StartModule(options);
    lab::Gatekeeper& gatekeeper = module.Registrar();
    ASSERT_TRUE(gatekeeper.WaitFor(Event::KeepAlive, 1, PatienceMs));
    gatekeeper.Inquire();
    ASSERT_TRUE(gatekeeper.WaitFor(Event::InfoResponse, 1, PatienceMs));
    gatekeeper.Unregister();
    ASSERT_TRUE(gatekeeper.WaitFor(Event::Confirmed, 1, PatienceMs));
    ASSERT_TRUE(gatekeeper.WaitFor(Event::Registration, 2, PatienceMs));
    ExpectCleanEnd();
    ASSERT_TRUE(gatekeeper.WaitFor(Event::Unregistration, 1, PatienceMs));
    gatekeeper.Stop();
    capture.Close();

    ExpectNoComplaint("");
    const auto kinds = Fields("", "-e h225.RasMessage");
    // gatekeeperRequest 0, registrationRequest 3 (full twice, light at least once), unregistrationRequest 6
    // and Confirm 7, infoRequestResponse 22
    for (const char* kind : {"0", "3", "6", "7", "22"})
        EXPECT_GE(kinds.count(kind), 1U) << "RAS message " << kind;
    EXPECT_GE(kinds.count("3"), 3U);
}

TEST_F(TestDissection, RtpRtcpAndEvents) {
    StartModule();
    std::string error;
    lab::UdpPair wire;  // takes what the external leg sends, as it is
    ASSERT_TRUE(wire.Open(module.OwnAddress(), error)) << error;
    auto talker = Phone(0, lab::Codec::Alaw);
    ASSERT_TRUE(module.Control().Map({.chan = 1, .comp = 11, .remote = wire.rtp.Local(), .mfpp = 2}));
    talker->Talk(Speech().Code(lab::Codec::Alaw, 20));

    PcapFile capture(CapturePath());
    const auto keep = [&](lab::UdpSocket& socket, int patience) {
        const auto arrival = socket.Receive(patience);
        if (arrival) capture.Add(arrival->from, socket.Local(), arrival->data);
        return arrival.has_value();
    };
    for (int i = 0; i < 20; ++i) ASSERT_TRUE(keep(wire.rtp, PatienceMs));
    ASSERT_TRUE(module.Control().SendDigit(1, '7', 120));
    ASSERT_TRUE(keep(wire.rtcp, PatienceMs)) << "a report within the first interval";
    while (keep(wire.rtp, 0)) {
    }
    ASSERT_TRUE(module.Control().Free(1));
    ASSERT_TRUE(keep(wire.rtcp, PatienceMs)) << "and a BYE";
    while (keep(wire.rtcp, 100)) {
    }
    capture.Close();

    const std::string decode = "-d udp.port==" + std::to_string(wire.rtp.Local().Port()) +
                               ",rtp -d udp.port==" + std::to_string(wire.rtcp.Local().Port()) +
                               ",rtcp -o rtpevent.event_payload_type_value:101";
    ExpectNoComplaint(decode);
    EXPECT_GE(Fields(decode + " -Y rtp", "-e rtp.p_type").count("18"), 20U);
    const auto events = Fields(decode + " -Y rtpevent", "-e rtpevent.event_id -e rtpevent.end_of_event");
    EXPECT_EQ(events.count("7 1"), 3U) << "three end packets";
    EXPECT_GE(events.count("7 0"), 3U);
    // Sender report 200 with source description 202, and BYE 203 at the end.
    const auto reports = Fields(decode + " -Y rtcp", "-e rtcp.pt");
    EXPECT_GE(reports.count("200,202"), 1U);
    EXPECT_EQ(reports.count("200,202,203") + reports.count("201,202,203"), 1U);
    ExpectCleanEnd();
}

double Correlation(std::span<const std::int16_t> a, std::span<const std::int16_t> b) {
    double ab = 0;
    double aa = 1;
    double bb = 1;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
        ab += static_cast<double>(a[i]) * b[i];
        aa += static_cast<double>(a[i]) * a[i];
        bb += static_cast<double>(b[i]) * b[i];
    }
    return ab / std::sqrt(aa * bb);
}

// The daemon's G.729 as ffmpeg decodes it sounds as it does through our decoder. ffmpeg's is not bit-exact to
// Annex A.
TEST_F(TestDissection, AnotherDecoderHearsTheSameSpeechInOurG729) {
    if (!IsInstalled("ffmpeg")) GTEST_SKIP() << "ffmpeg is not installed";
    StartModule();
    auto talker = Phone(0, lab::Codec::Alaw);
    auto listener = Phone(1, lab::Codec::G729);
    talker->Talk(Speech().Code(lab::Codec::Alaw, 20));
    ASSERT_TRUE(listener->WaitAudio(200, PatienceMs));
    talker->Hush();
    const std::vector<UBYTE> coded = listener->Bytes();
    const std::vector<std::int16_t> ours = lab::SpeechDecoder(lab::Codec::G729).Decode(coded);

    std::ofstream(folder.Path() + "/speech.g729", std::ios::binary)
        .write(reinterpret_cast<const char*>(coded.data()), static_cast<std::streamsize>(coded.size()));
    ASSERT_EQ(std::system(("cd " + folder.Path() +
                           " && ffmpeg -v error -f g729 -i speech.g729 -f s16le -ac 1 -ar 8000 speech.raw")
                              .c_str()),
              0);
    std::ifstream raw(folder.Path() + "/speech.raw", std::ios::binary);
    std::vector<std::int16_t> theirs(ours.size());
    raw.read(reinterpret_cast<char*>(theirs.data()),
             static_cast<std::streamsize>(theirs.size() * sizeof theirs[0]));
    ASSERT_GE(raw.gcount(), static_cast<std::streamsize>(ours.size()));
    EXPECT_GE(Correlation(ours, theirs), 0.95);
    ExpectCleanEnd();
}

}  // namespace

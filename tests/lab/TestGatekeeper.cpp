// The gatekeeper against datagrams octet by octet, as real endpoints send and real gatekeepers answer them.
#include <gtest/gtest.h>

#include <cstdio>

#include "tools/lab/Gatekeeper.h"
#include "tools/lab/SockAddrText.h"

namespace lab {
namespace {

constexpr int BoundMs = 10000;
constexpr ULONG Loopback = 0x7F000001;

const std::string DiscoveryRequest =
    "00200064060008914a0004007f0000019f53020002400600520065006c00610079002d003701807a44";
// The same for a gatekeeper by name, "!Kestrel".
const std::string DiscoveryByName =
    "00a00065060008914a0004007f00000198ad0201c00021004b00650073007400720065006c014003005400770069006e";
const std::string Registration =
    "0ec00065060008914a00048001007f000001513301007f0000019f53020002400600520065006c00610079002d003701807a440e"
    "0021004b0"
    "0650073007400720065006c60b50012340470726f62650031108b020077010001000100";
const std::string SmallestRegistration =
    "0c80006b060008914a00048001007f000001753101007f00000198ad0200014003005400770069006e60b50012340470726f6265"
    "0031";
const std::string KeepAliveOfAnother =
    "0e400067060008914a0004800001007f0000019f530201c00021004b00650073007400720065006c60b50012340470726f626500"
    "31100f0180"
    "1f1c0031003500350035003400340031003700370036005f0065006e0064007001000100";
const std::string WithdrawalOfAnother =
    "1a40006801007f00000151331c0031003500350035003400340031003700370036005f0065006e006400700a88110e0021004b00"
    "65007300740"
    "0720065006c0160";

std::vector<UBYTE> FromHex(const std::string& hex) {
    std::vector<UBYTE> bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes.push_back(static_cast<UBYTE>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return bytes;
}

std::string ToHex(const std::vector<UBYTE>& bytes) {
    std::string hex;
    for (const UBYTE byte : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        hex += digits;
    }
    return hex;
}

class GatekeeperTest : public ::testing::Test {
 protected:
    void Begin(ULONG timeToLive = 60) {
        std::string error;
        ASSERT_TRUE(gatekeeper.Start({.identifier = "!Kestrel", .timeToLive = timeToLive}, error)) << error;
        ASSERT_TRUE(endpoint.Open(SockAddr(Loopback, 0), error)) << error;
    }
    // The answer in hex; empty without one.
    std::string Ask(const std::string& hex, int ms = BoundMs) {
        endpoint.SendTo(FromHex(hex), gatekeeper.Address());
        const std::optional<UdpSocket::Arrival> answer = endpoint.Receive(ms);
        return answer ? ToHex(answer->data) : "";
    }
    std::optional<RasMessage> AskDecoded(const std::string& hex) {
        return RasMessage::Decode(FromHex(Ask(hex)));
    }
    // A registration request that names our port as its RAS address.
    std::string RegistrationFromHere() const {
        std::optional<RasMessage> message = RasMessage::Decode(FromHex(SmallestRegistration));
        h323::RegistrationRequest request = *message->As<h323::RegistrationRequest>();
        request.rasAddress = {h323::TransportAddress::FromIp(Loopback, endpoint.Local().Port())};
        request.nonStandardData = h323::ModuleData{40000, 6300, 500, 2}.ToNonStandard();
        return ToHex(RasMessage(request).Encode());
    }

    Gatekeeper gatekeeper;
    UdpSocket endpoint;
};

TEST_F(GatekeeperTest, AnswersDiscoveryOctetByOctet) {
    Begin();
    char port[5];
    std::snprintf(port, sizeof port, "%04x", gatekeeper.Address().Port());
    const std::string confirm = "060008914a00040e0021004b00650073007400720065006c007f000001";
    EXPECT_EQ(Ask(DiscoveryRequest), "04800064" + confirm + port);
    EXPECT_EQ(Ask(DiscoveryByName), "04800065" + confirm + port);
    std::string another = DiscoveryByName;
    another.replace(another.find("00650073"), 8, "00650074");
    EXPECT_EQ(Ask(another, 200), "") << "a request for another gatekeeper is not answered";
}

TEST_F(GatekeeperTest, RejectsAndIgnoresDiscoveryWhenTold) {
    Begin();
    gatekeeper.AnswerDiscovery(Gatekeeper::Answer::Reject);
    EXPECT_EQ(Ask(DiscoveryRequest), "08800064060008914a00040e0021004b00650073007400720065006c00");
    gatekeeper.AnswerDiscovery(Gatekeeper::Answer::Silent);
    EXPECT_EQ(Ask(DiscoveryRequest, 200), "");
    EXPECT_TRUE(gatekeeper.WaitFor(Gatekeeper::Event::Ignored, 1, BoundMs));
}

TEST_F(GatekeeperTest, AdmitsARegistrationAndShowsTheModule) {
    Begin(30);
    const std::optional<RasMessage> answer = AskDecoded(RegistrationFromHere());
    ASSERT_TRUE(answer);
    const auto* confirm = answer->As<h323::RegistrationConfirm>();
    ASSERT_NE(confirm, nullptr) << answer->Summary();
    EXPECT_EQ(confirm->requestSeqNum, 0x6CU);
    EXPECT_EQ(confirm->timeToLive->value, 30U);
    const std::optional<Gatekeeper::Module> module = gatekeeper.WaitModule(BoundMs);
    ASSERT_TRUE(module);
    EXPECT_EQ(module->alias, "Twin");
    EXPECT_EQ(module->product, "probe");
    EXPECT_EQ(module->version, "1");
    EXPECT_EQ(module->data, (h323::ModuleData{40000, 6300, 500, 2}));
    EXPECT_EQ(ToText(*module->Control()), "127.0.0.1:40000");
    EXPECT_EQ(module->endpoint, confirm->endpointIdentifier.text);

    // A second full registration of the same module keeps the name that it was given.
    const std::optional<RasMessage> again = AskDecoded(RegistrationFromHere());
    ASSERT_TRUE(again && again->As<h323::RegistrationConfirm>() != nullptr);
    EXPECT_EQ(again->As<h323::RegistrationConfirm>()->endpointIdentifier, confirm->endpointIdentifier);
    EXPECT_EQ(gatekeeper.Modules().size(), 1U);
}

TEST_F(GatekeeperTest, RefusesWhatItDoesNotKnow) {
    Begin();
    EXPECT_EQ(Ask(KeepAliveOfAnother), "14800067060008914a00048401000e0021004b00650073007400720065006c");
    EXPECT_EQ(Ask(WithdrawalOfAnother), "20006800");
    std::optional<RasMessage> homeless = RasMessage::Decode(FromHex(Registration));
    h323::RegistrationRequest request = *homeless->As<h323::RegistrationRequest>();
    request.callSignalAddress.clear();
    EXPECT_EQ(Ask(ToHex(RasMessage(request).Encode())),
              "14800065060008914a000420e00021004b00650073007400720065006c");
    EXPECT_TRUE(gatekeeper.Modules().empty());
}

TEST_F(GatekeeperTest, RejectsRegistrationsWhenTold) {
    Begin();
    gatekeeper.AnswerRegistration(Gatekeeper::Answer::Reject, h323::RegistrationRejectReason::SecurityDenial);
    const std::optional<RasMessage> answer = AskDecoded(Registration);
    ASSERT_TRUE(answer);
    ASSERT_NE(answer->As<h323::RegistrationReject>(), nullptr);
    EXPECT_EQ(answer->As<h323::RegistrationReject>()->rejectReason,
              h323::RegistrationRejectReason::SecurityDenial);
    gatekeeper.AnswerRegistration(Gatekeeper::Answer::Silent);
    EXPECT_EQ(Ask(Registration, 200), "");
    EXPECT_TRUE(gatekeeper.Modules().empty());
}

TEST_F(GatekeeperTest, KeepsARegistrationForItsTimeToLiveOnly) {
    Begin(1);
    ASSERT_TRUE(AskDecoded(RegistrationFromHere()));
    const std::optional<UdpSocket::Arrival> farewell = endpoint.Receive(BoundMs);
    ASSERT_TRUE(farewell);
    const std::optional<RasMessage> message = RasMessage::Decode(farewell->data);
    ASSERT_TRUE(message && message->As<h323::UnregistrationRequest>() != nullptr);
    EXPECT_EQ(message->As<h323::UnregistrationRequest>()->reason, h323::UnregRequestReason::TtlExpired);
    EXPECT_TRUE(gatekeeper.WaitFor(Gatekeeper::Event::Expired, 1, BoundMs));
    EXPECT_TRUE(gatekeeper.Modules().empty());
}

TEST_F(GatekeeperTest, ThrowsModulesOutAndForgetsThem) {
    Begin();
    ASSERT_TRUE(AskDecoded(RegistrationFromHere()));
    EXPECT_EQ(gatekeeper.Unregister(), 1U);
    const std::optional<UdpSocket::Arrival> request = endpoint.Receive(BoundMs);
    ASSERT_TRUE(request);
    const std::optional<RasMessage> message = RasMessage::Decode(request->data);
    ASSERT_TRUE(message && message->As<h323::UnregistrationRequest>() != nullptr);
    h323::UnregistrationConfirm confirm;
    confirm.requestSeqNum = message->As<h323::UnregistrationRequest>()->requestSeqNum;
    endpoint.SendTo(RasMessage(confirm).Encode(), request->from);
    EXPECT_TRUE(gatekeeper.WaitFor(Gatekeeper::Event::Confirmed, 1, BoundMs));
    EXPECT_TRUE(gatekeeper.Modules().empty());

    ASSERT_TRUE(AskDecoded(RegistrationFromHere()));
    gatekeeper.Forget();
    EXPECT_TRUE(gatekeeper.Modules().empty());
    EXPECT_FALSE(endpoint.Receive(100)) << "forgetting is silent";
}

TEST_F(GatekeeperTest, SurvivesAndCountsWhatIsNoRas) {
    Begin();
    const std::vector<UBYTE> whole = FromHex(Registration);
    unsigned sent = 0;
    for (std::size_t length = 1; length < whole.size(); length += 7, ++sent)
        endpoint.SendTo(std::span(whole).first(length), gatekeeper.Address());
    EXPECT_TRUE(gatekeeper.WaitFor(Gatekeeper::Event::Malformed, sent, BoundMs));
    EXPECT_NE(Ask(DiscoveryRequest), "");
}

}  // namespace
}  // namespace lab

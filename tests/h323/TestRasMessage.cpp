// RAS messages: real ones read and written octet by octet, and everything that is not one refused.
#include <gtest/gtest.h>

#include "platform/h323/RasMessage.h"
#include "tests/h323/Captures.h"
#include "tests/h323/Samples.h"

using namespace h323;

namespace {

std::optional<RasMessage> DecodeHex(const std::string& hex) {
    return RasMessage::Decode(FromHex(hex));
}

// What was decoded, encoded again, must be the same message; only what is passed over cannot be sent.
void ExpectStable(const RasMessage& message) {
    const std::vector<std::uint8_t> octets = message.Encode();
    if (octets.empty()) {
        EXPECT_NE(message.Dump().find("(not read)"), std::string::npos) << message.Dump();
        return;
    }
    const std::optional<RasMessage> again = RasMessage::Decode(octets);
    ASSERT_TRUE(again) << ToHex(octets);
    EXPECT_EQ(*again, message) << again->Dump() << message.Dump();
}

TEST(TestRasMessage, ReadsEveryComponentOfRealMessages) {
    for (const Capture& capture : Captures()) {
        SCOPED_TRACE(capture.name);
        const std::optional<RasMessage> message = DecodeHex(capture.hex);
        ASSERT_TRUE(message);
        const std::string dump = message->Dump();
        std::size_t at = 0;
        for (const std::string& component : capture.components) {
            at = dump.find(' ' + component + '\n', at);
            ASSERT_NE(at, std::string::npos) << component << " not in\n" << dump;
        }
    }
}

TEST(TestRasMessage, WritesRealMessagesOctetByOctet) {
    for (const Capture& capture : Captures()) {
        SCOPED_TRACE(capture.name);
        const std::optional<RasMessage> message = DecodeHex(capture.hex);
        ASSERT_TRUE(message);
        // Its sender announced 20 additions, where up to the last one present is enough.
        if (capture.name == "RCF (everything at once)") {
            ExpectStable(*message);
        } else {
            EXPECT_EQ(ToHex(message->Encode()), capture.hex);
        }
    }
}

TEST(TestRasMessage, EveryComponentSurvivesTheWay) {
    for (const RasMessage& sample : FullSamples()) {
        const std::vector<std::uint8_t> octets = sample.Encode();
        ASSERT_FALSE(octets.empty()) << sample.Dump();
        const std::optional<RasMessage> message = RasMessage::Decode(octets);
        ASSERT_TRUE(message) << sample.Dump();
        EXPECT_EQ(*message, sample) << message->Dump() << sample.Dump();
    }
}

TEST(TestRasMessage, CutAtAnyLengthOrTooLongIsRefused) {
    std::vector<std::vector<std::uint8_t>> datagrams;
    for (const Capture& capture : Captures()) datagrams.push_back(FromHex(capture.hex));
    for (const RasMessage& sample : FullSamples()) datagrams.push_back(sample.Encode());
    for (const std::vector<std::uint8_t>& whole : datagrams) {
        for (std::size_t length = 0; length < whole.size(); ++length) {
            const std::vector<std::uint8_t> cut(whole.begin(),
                                                whole.begin() + static_cast<std::ptrdiff_t>(length));
            EXPECT_FALSE(RasMessage::Decode(cut)) << length << " of " << ToHex(whole);
        }
        std::vector<std::uint8_t> longer = whole;
        longer.push_back(0);
        EXPECT_FALSE(RasMessage::Decode(longer)) << ToHex(longer);
    }
}

TEST(TestRasMessage, FlippedBitsGiveAnotherMessageOrNone) {
    for (const Capture& capture : Captures()) {
        const std::vector<std::uint8_t> whole = FromHex(capture.hex);
        for (std::size_t bit = 0; bit < whole.size() * 8; ++bit) {
            std::vector<std::uint8_t> flipped = whole;
            flipped[bit / 8] ^= static_cast<std::uint8_t>(0x80 >> bit % 8);
            if (const std::optional<RasMessage> message = RasMessage::Decode(flipped)) ExpectStable(*message);
        }
    }
}

TEST(TestRasMessage, ValuesOutsideTheirConstraintAreNotSent) {
    RegistrationRequest good = *FullSamples()[3].As<RegistrationRequest>();
    ASSERT_FALSE(RasMessage(good).Encode().empty());
    const auto expectRefused = [&](const char* what, auto spoil) {
        RegistrationRequest rrq = good;
        spoil(rrq);
        EXPECT_TRUE(RasMessage(rrq).Encode().empty()) << what;
    };
    expectRefused("number 0", [](auto& rrq) { rrq.requestSeqNum.value = 0; });
    expectRefused("number 65536", [](auto& rrq) { rrq.requestSeqNum.value = 65536; });
    expectRefused("no version", [](auto& rrq) { rrq.protocolIdentifier.contents.clear(); });
    expectRefused("empty alias", [](auto& rrq) { rrq.terminalAlias = {H323Id{}}; });
    expectRefused("long alias", [](auto& rrq) { rrq.terminalAlias = {H323Id{std::u16string(257, u'a')}}; });
    expectRefused("letters for digits", [](auto& rrq) { rrq.terminalAlias = {DigitText{"12a"}}; });
    expectRefused("long identifier", [](auto& rrq) { rrq.gatekeeperIdentifier->text.assign(129, u'g'); });
    expectRefused("empty product", [](auto& rrq) { rrq.endpointVendor.productId->octets.clear(); });
    expectRefused("bad addition", [](auto& rrq) { rrq.endpointIdentifier->text.clear(); });
    expectRefused("16384 octets", [](auto& rrq) { rrq.nonStandardData->data.octets.resize(16384); });
}

TEST(TestRasMessage, WhatIsMalformedIsRefused) {
    const char* const gcf = "04000064060008914a0004007f00000106b7";
    const char* const ucf = "1e0064010100";
    ASSERT_TRUE(DecodeHex(gcf));
    ASSERT_TRUE(DecodeHex(ucf));
    const struct {
        const char *what, *hex;
    } rows[] = {
        {"root alternative 25", "640000"},
        {"root alternative 31", "7c0000"},
        {"number 65536", "1cffff"},
        {"empty object identifier", "0400006400007f00000106b7"},
        {"object identifier without end", "04000064060008914a0084007f00000106b7"},
        {"transport address alternative 7", "04000064060008914a0004707f00000106b7"},
        {"alias digits outside the alphabet",
         "00200064060008914a0004007f0000019f53020002400600520065006c00610079002d003701807add"},
        {"a count that the datagram cannot hold", "1a400068bfff00"},
        {"more additions than octets", "1e006480bfff"},
        {"addition longer than the datagram", "1e0064017f00"},
        {"addition without content", "1e00640100"},
        {"unknown alternative without content", "14000068060008914a000440018800"},
    };
    for (const auto& row : rows) EXPECT_FALSE(DecodeHex(row.hex)) << row.what;
}

TEST(TestRasMessage, UnknownAdditionsAndAlternativesArePassedOver) {
    // A UCF with 66 additions, announced in the long form, of which the last is present.
    PerWriter per;
    per.Bits(0x1e, 8);
    per.Bits(6, 16);
    per.SmallLength(66);
    for (int i = 0; i < 65; ++i) per.Bit(false);
    per.Bit(true);
    PerWriter content;
    content.Bits(0xabcdef, 24);
    per.OpenType(content);
    const std::optional<RasMessage> ucf = RasMessage::Decode(per.Take());
    ASSERT_TRUE(ucf);
    EXPECT_EQ(ucf->SequenceNumber(), 7);

    const std::optional<RasMessage> grj = DecodeHex("08000064060008914a00048903aabbcc");
    ASSERT_TRUE(grj);
    EXPECT_EQ(grj->Summary(), "GRJ 101 (unknown extension)");

    const std::optional<RasMessage> rrj = DecodeHex("14000068060008914a0004400188020102");
    ASSERT_TRUE(rrj);
    EXPECT_EQ(rrj->As<RegistrationReject>()->duplicateAlias.front(),
              AliasAddress(UnknownAlternative{8, {1, 2}}));
    ExpectStable(*rrj);

    const std::optional<RasMessage> future = DecodeHex("8c0100");
    ASSERT_TRUE(future);
    EXPECT_EQ(future->SequenceNumber(), 0);
}

TEST(TestRasMessage, UnservedMessagesAreKnownByTheirNumber) {
    const struct {
        const char *hex, *summary;
        bool request;
    } rows[] = {
        {"240004d2ff", "ARQ 1235", true},     {"280004d2ff", "ACF 1235", false},
        {"300004d2ff", "BRQ 1235", true},     {"3c04d2ff", "DRQ 1235", true},
        {"480004d2ff", "LRQ 1235", true},     {"5c04d2ff", "NSM 1235", true},
        {"81040004d2ff", "RAI 1235", true},   {"83040004d2ff", "IACK 1235", false},
        {"8505000004d2ff", "SCI 1235", true}, {"86040004d2ff", "SCR 1235", false},
    };
    for (const auto& row : rows) {
        const std::optional<RasMessage> message = DecodeHex(row.hex);
        ASSERT_TRUE(message) << row.summary;
        EXPECT_EQ(message->Summary(), row.summary);
        EXPECT_EQ(message->IsUnservedRequest(), row.request) << row.summary;
        EXPECT_TRUE(message->Encode().empty()) << row.summary;
    }
}

TEST(TestRasMessage, WithoutTheSecurityTypesTheDelayIsUnknown) {
    const std::optional<RasMessage> rip = DecodeHex("80062000650102aa");
    ASSERT_TRUE(rip);
    EXPECT_EQ(rip->SequenceNumber(), 102);
    EXPECT_FALSE(rip->As<RequestInProgress>()->HasDelay());
}

TEST(TestRasMessage, DumpsShowNoControlCharacters) {
    GatekeeperConfirm gcf;
    gcf.gatekeeperIdentifier = GatekeeperIdentifier{u"!\n\x1b[2J\x9b\xd800é"};
    const std::string dump = RasMessage(gcf).Dump();
    EXPECT_NE(dump.find("gatekeeperIdentifier \"!??[2J?\uFFFDé\"\n"), std::string::npos) << dump;
}

}  // namespace

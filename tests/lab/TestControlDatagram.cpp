// The lab's own coding of the control protocol, row by row.
#include <gtest/gtest.h>

#include "tools/lab/ControlDatagram.h"
#include "tools/lab/SrtpKeys.h"

namespace lab {
namespace {

struct Row {
    const char* name;
    ControlDatagram message;
    std::vector<UBYTE> bytes;
};

std::vector<Row> Rows() {
    return {
        {"an acknowledgement",
         {5, ControlEvent::Ack, 0, 0, 0, 0, 0, 0, {}},
         {5, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {"a Map of the last one-byte channel",
         {1, ControlEvent::Map, 127, 1, 0xC0A8010A, 5004, 20, 3, {}},
         {1, 0, 0x7F, 1, 0xC0, 0xA8, 1, 0x0A, 0x13, 0x8C, 20, 3}},
        {"the first two-byte channel",
         {1, ControlEvent::FreeChan, 128, 0, 0, 0, 0, 0, {}},
         {1, 4, 0x80, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {"the last channel",
         {255, ControlEvent::Unmap, 32767, 0, 0, 0, 0, 0, {}},
         {255, 1, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {"a digit",
         {9, ControlEvent::Digit, 1, 0, 160, '#', 0, 0, {}},
         {9, 7, 1, 0, 0, 0, 0, 160, 0, 0x23, 0, 0}},
        {"extra bytes",
         {2, ControlEvent::Map, 0, 11, 0x7F000001, 9000, 2, 0, {0xAA, 0xBB}},
         {2, 0, 0, 11, 127, 0, 0, 1, 0x23, 0x28, 2, 0, 0xAA, 0xBB}},
    };
}

TEST(ControlDatagram, EncodesAndDecodesEveryRow) {
    for (const Row& row : Rows()) {
        EXPECT_EQ(row.message.Encode(), row.bytes) << row.name;
        const std::optional<ControlDatagram> decoded = ControlDatagram::Decode(row.bytes);
        ASSERT_TRUE(decoded) << row.name;
        EXPECT_EQ(decoded->Encode(), row.bytes) << row.name;
        EXPECT_EQ(decoded->chan, row.message.chan) << row.name;
        EXPECT_EQ(decoded->extra, row.message.extra) << row.name;
    }
}

TEST(ControlDatagram, DecodesShortFormsAndRefusesWhatEndsBeforeThePort) {
    for (const Row& row : Rows()) {
        const std::size_t fixed = row.message.chan < 128 ? 10 : 11;
        for (std::size_t length = 0; length < fixed + 2; ++length) {
            const auto decoded = ControlDatagram::Decode(std::span(row.bytes).first(length));
            EXPECT_EQ(decoded.has_value(), length >= fixed) << row.name << ", " << length << " bytes";
            if (length == fixed + 1) {
                EXPECT_EQ(decoded->mfpp, row.message.mfpp) << row.name;
            }
        }
    }
}

TEST(ControlDatagram, DescribesItselfInWords) {
    EXPECT_EQ((ControlDatagram{9, ControlEvent::Digit, 1, 0, 160, '#', 0, 0, {}}.Describe()),
              "Digit, channel 1, key #, 160 ms");
    EXPECT_EQ((ControlDatagram{9, ControlEvent::ConfAdd, 6, 0, 0, 2, 0, 0, {}}.Describe()),
              "ConfAdd, channel 6, conference of channel 2");
    EXPECT_EQ((ControlDatagram{9, static_cast<ControlEvent>(200), 6, 0, 0, 2, 0, 0, {}}.Describe()),
              "unknown event, channel 6");
}

TEST(SrtpKeys, KeyBlockHoldsBothSidesWithTheirLengths) {
    SrtpKeys keys;
    keys.suite = SrtpKeys::Sha1_32;
    keys.localKey.fill(1);
    keys.localSalt.fill(2);
    keys.remoteKey.fill(3);
    keys.remoteSalt.fill(4);
    std::vector<UBYTE> expected{2, 16};
    expected.insert(expected.end(), 16, 1);
    expected.push_back(14);
    expected.insert(expected.end(), 14, 2);
    expected.insert(expected.end(), {2, 16});
    expected.insert(expected.end(), 16, 3);
    expected.push_back(14);
    expected.insert(expected.end(), 14, 4);
    EXPECT_EQ(keys.KeyBlock(), expected);
    EXPECT_EQ(expected.size(), 66U);
    EXPECT_NE(SrtpKeys::Random(SrtpKeys::Sha1_80).localKey, SrtpKeys::Random(SrtpKeys::Sha1_80).localKey);
}

}  // namespace
}  // namespace lab

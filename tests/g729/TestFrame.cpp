// Bits of a frame.
#include <gtest/gtest.h>

#include <random>

#include "platform/media/g729/Frame.h"
#include "tests/g729/Vectors.h"

namespace g729::test {
namespace {

TEST(TestFrame, EveryFieldHasItsBits) {
    const Octets octets{0b1'0000001,  0b00001'000, 0b01'000000, 0b01'1'00000, 0b00000001,
                        0b0001'001'0, 0b001'00001, 0b00000000,  0b00001'000,  0b1'001'0001};
    const Frame frame = Frame::Unpack(octets.data());
    EXPECT_EQ(frame.lsp.mode, 1);
    EXPECT_EQ(frame.lsp.first, 1);
    EXPECT_EQ(frame.lsp.low, 1);
    EXPECT_EQ(frame.lsp.high, 1);
    EXPECT_EQ(frame.parity, 1);
    for (const Frame::Subframe& part : frame.subframes) {
        EXPECT_EQ(part.lag, 1);
        EXPECT_EQ(part.positions, 1);
        EXPECT_EQ(part.signs, 1);
        EXPECT_EQ(part.gain1, 1);
        EXPECT_EQ(part.gain2, 1);
    }
}

TEST(TestFrame, PackingUndoesUnpacking) {
    std::mt19937 random(80);
    for (int i = 0; i < 1000; i++) {
        Octets octets;
        for (std::uint8_t& octet : octets) octet = static_cast<std::uint8_t>(random());
        Octets packed{};
        Frame::Unpack(octets.data()).Pack(packed.data());
        ASSERT_EQ(packed, octets) << Shown(octets);
    }
}

TEST(TestFrame, ParityGuardsTheUpperSixBitsOfTheLag) {
    EXPECT_EQ(Frame::ParityOf(0), 1);
    EXPECT_EQ(Frame::ParityOf(0xFF), 1);
    for (int bit = 0; bit < 8; bit++) {
        EXPECT_EQ(Frame::ParityOf(static_cast<std::uint8_t>(1 << bit)), bit < 2 ? 1 : 0) << bit;
    }
}

}  // namespace
}  // namespace g729::test

// The key block of a Map request: lengths that lie, blocks cut short, tags, and what is left in memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <new>
#include <numeric>
#include <vector>

#include "app/ControlChannel/KeyBlock.h"

namespace {

using Bytes = std::vector<UBYTE>;

// 66 bytes; the fields' bytes count up from 0x10.
Bytes GoodBlock() {
    Bytes block;
    UBYTE next = 0x10;
    for (int direction = 0; direction < 2; ++direction) {
        block.push_back(AES_CM_128_HMAC_SHA1_80);
        for (const UBYTE length : {KeyBlock::KeyLength, KeyBlock::SaltLength}) {
            block.push_back(length);
            for (int i = 0; i < length; ++i) block.push_back(next++);
        }
    }
    return block;
}

TEST(TestKeyBlock, ReadsTheFieldsInTheirPlaces) {
    const Bytes block = GoodBlock();
    ASSERT_EQ(block.size(), 66U);
    KeyBlock keys;
    ASSERT_TRUE(keys.Parse(block));
    EXPECT_EQ(keys.loc_key.front(), 0x10);
    EXPECT_EQ(keys.loc_salt.front(), 0x20);
    EXPECT_EQ(keys.rem_key.front(), 0x2E);
    EXPECT_EQ(keys.rem_salt.front(), 0x3E);
    EXPECT_EQ(keys.rem_salt.back(), 0x4B);
}

TEST(TestKeyBlock, RefusesWhatIsCutShortOrHasOtherLengths) {
    const Bytes good = GoodBlock();
    for (size_t length = 0; length < good.size(); ++length)
        EXPECT_FALSE(KeyBlock().Parse(std::span(good).first(length))) << length;

    constexpr size_t LengthBytes[] = {1, 18, 34, 51};
    for (const size_t at : LengthBytes) {
        for (const int lie : {0, 1, 13, 15, 17, 255}) {
            Bytes block = good;
            block[at] = static_cast<UBYTE>(lie);
            EXPECT_FALSE(KeyBlock().Parse(block)) << at << " says " << lie;
        }
    }
}

TEST(TestKeyBlock, LocalSuiteAloneChoosesTheTag) {
    struct Row {
        UBYTE local;
        UBYTE remote;
        int tag;
    };
    for (const Row row :
         {Row{NO_CRYPT, 1, 10}, Row{AES_CM_128_HMAC_SHA1_80, 2, 10}, Row{AES_CM_128_HMAC_SHA1_32, 1, 4},
          Row{F8_128_HMAC_SHA1_80, 2, 10}, Row{255, 255, 10}}) {
        Bytes block = GoodBlock();
        block[0] = row.local;
        block[33] = row.remote;
        block.push_back(0xEE);  // what follows the block is not judged
        KeyBlock keys;
        ASSERT_TRUE(keys.Parse(block));
        EXPECT_EQ(keys.AuthTagLength(), row.tag) << int{row.local};
    }
}

TEST(TestKeyBlock, LeavesNoKeysInMemory) {
    alignas(KeyBlock) unsigned char memory[sizeof(KeyBlock)];
    auto* keys = new (memory) KeyBlock;
    ASSERT_TRUE(keys->Parse(GoodBlock()));
    keys->~KeyBlock();
    const volatile unsigned char* left = memory;
    for (size_t i = offsetof(KeyBlock, loc_key); i < sizeof memory; ++i) EXPECT_EQ(left[i], 0) << i;
}

}  // namespace

#include "persist/packed_block.h"

#include <gtest/gtest.h>

#include <numeric>
#include <random>

#include "persist/byte_source.h"

using BYTES = std::vector<uint8_t>;

static BYTES packed(const BYTES& bytes) {
    BYTES out;
    pack_write(out, bytes);
    return out;
}

static BYTES joined(std::initializer_list<BYTES> parts) {
    BYTES out;
    for (const BYTES& part : parts) out.insert(out.end(), part.begin(), part.end());
    return out;
}

TEST(PackedBlock, KnownForms) {
    BYTES different(200);
    std::iota(different.begin(), different.end(), uint8_t{0});
    const BYTES long_run(0x800000, 7);
    const struct {
        BYTES bytes, want;
    } rows[] = {
        {{}, {}},
        {{5}, {1, 5}},
        {{9, 9, 9, 1}, {4, 9, 9, 9, 1}},
        {{9, 9, 9, 9, 1, 2, 3}, {0x84, 9, 3, 1, 2, 3}},
        {{1, 9, 9, 9, 9, 9}, {1, 1, 0x85, 9}},
        {BYTES(128, 3), {0x80, 0x80, 0, 0, 3}},
        {different, joined({{0, 0xC8, 0, 0}, different})},
        {long_run, {0x80, 0xFF, 0xFF, 0x7F, 7, 1, 7}},
    };
    for (const auto& row : rows) EXPECT_TRUE(packed(row.bytes) == row.want) << row.bytes.size();
}

TEST(PackedBlock, LiteralsEndAtTheLargestCount) {
    BYTES bytes(PACK_COUNT_MAX + 10);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = uint8_t(i % 251);
    for (size_t i = PACK_COUNT_MAX - 1; i < PACK_COUNT_MAX + 4; ++i) bytes[i] = 255;  // a run of 5 across the limit
    const BYTES out = packed(bytes);
    const BYTES head = {0, 0xFE, 0xFF, 0x7F};
    EXPECT_TRUE(std::equal(head.begin(), head.end(), out.begin()));
    EXPECT_EQ(out[4 + PACK_COUNT_MAX - 1], 0x85);
}

TEST(PackedBlock, WhatIsWrittenReadsBack) {
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        BYTES bytes;
        while (bytes.size() < size_t(round) * 3)
            bytes.insert(bytes.end(), random() % 7 ? random() % 5 : random() % 400, uint8_t(random() % 3));
        const BYTES out = packed(bytes);
        BYTE_SOURCE source = byte_source_memory(out);
        BYTES back(bytes.size() + 1, 0xEE);
        ASSERT_TRUE(pack_read(&source, back.data(), bytes.size())) << round;
        EXPECT_EQ(byte_source_left(source), 0);
        EXPECT_EQ(back.back(), 0xEE);
        back.pop_back();
        EXPECT_TRUE(back == bytes) << round;
    }
}

TEST(PackedBlock, DamagedGroupsAreRefused) {
    for (const BYTES& bad : {BYTES{}, BYTES{3, 1, 2}, BYTES{0x85}, BYTES{0x85, 1}, BYTES{0, 4, 0}, BYTES{0, 4, 0, 0, 1},
                             BYTES{0x80, 4, 0, 0}, BYTES{0x80, 0xFF, 0xFF, 0xFF, 1}, BYTES{0, 0, 0, 0}}) {
        for (const bool skip : {false, true}) {
            BYTE_SOURCE source = byte_source_memory(bad);
            uint8_t target[4];
            EXPECT_FALSE(pack_read(&source, skip ? nullptr : target, sizeof target));
        }
    }
}

#include "persist/packed_block.h"

#include <gtest/gtest.h>

#include <numeric>

#include "persist/byte_source.h"

using BYTES = std::vector<uint8_t>;

static BYTES packed(const BYTES& bytes) {
    BYTES out;
    pack_write(out, bytes);
    return out;
}

TEST(PackedBlock, KnownForms) {
    BYTES literals = {0, 0xC8, 0, 0};
    literals.resize(204);
    std::iota(literals.begin() + 4, literals.end(), uint8_t{0});
    const struct {
        BYTES bytes, want;
    } rows[] = {
        {{}, {}},
        {{5}, {1, 5}},
        {{9, 9, 9, 1}, {4, 9, 9, 9, 1}},
        {{9, 9, 9, 9, 1, 2, 3}, {0x84, 9, 3, 1, 2, 3}},
        {{1, 9, 9, 9, 9, 9}, {1, 1, 0x85, 9}},
        {BYTES(128, 3), {0x80, 0x80, 0, 0, 3}},
        {BYTES(literals.begin() + 4, literals.end()), literals},
        {BYTES(0x800000, 7), {0x80, 0xFF, 0xFF, 0x7F, 7, 1, 7}},
    };
    for (const auto& row : rows) EXPECT_TRUE(packed(row.bytes) == row.want) << row.bytes.size();
}

TEST(PackedBlock, LiteralsEndAtTheLargestCount) {
    BYTES bytes(PACK_COUNT_MAX + 10);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = uint8_t(i % 251);
    for (size_t i = PACK_COUNT_MAX - 1; i < PACK_COUNT_MAX + 4; ++i) bytes[i] = 255;  // a run of 5 across the limit
    const BYTES out = packed(bytes);
    EXPECT_EQ(BYTES(out.begin(), out.begin() + 4), (BYTES{0, 0xFE, 0xFF, 0x7F}));
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
        bytes.push_back(0xEE);
        EXPECT_TRUE(back == bytes) << round;
    }
}

TEST(PackedBlock, DamagedGroupsAreRefused) {
    for (const BYTES& bad : {BYTES{}, BYTES{3, 1, 2}, BYTES{0x85}, BYTES{0x85, 1}, BYTES{0, 4, 0}, BYTES{0, 4, 0, 0, 1},
                             BYTES{0x80, 4, 0, 0}, BYTES{0x80, 0xFF, 0xFF, 0xFF, 1}, BYTES{0, 0, 0, 0}}) {
        uint8_t target[4];
        for (uint8_t* into : {target, static_cast<uint8_t*>(nullptr)}) {
            BYTE_SOURCE source = byte_source_memory(bad);
            EXPECT_FALSE(pack_read(&source, into, sizeof target));
        }
    }
}

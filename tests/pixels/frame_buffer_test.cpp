#include "pixels/frame_buffer.h"

#include <gtest/gtest.h>

TEST(FrameBuffer, GuardZonesTellOfStrayWrites) {
    for (const int pixel_size : {PIXEL_SIZE_YC48, PIXEL_SIZE_YUY2}) {
        frame_geometry = frame_geometry_make(328, 248, pixel_size);
        uint8_t* image = frame_buffer_new();
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(image) % 16, 0U);
        uint8_t* block = image - frame_geometry.origin;
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 4096, 0U);
        for (size_t i = 0; i < frame_geometry.block_size; ++i) {
            ASSERT_EQ(block[i], 0) << i;
            block[i] = 0xFF;
        }
        EXPECT_TRUE(frame_buffer_intact(image));
#ifndef NDEBUG
        uint8_t* end = block + frame_geometry.block_size;
        for (uint8_t* stray : {block - 4096, block - 1, end, end + 4095}) {
            *stray ^= 1;
            EXPECT_FALSE(frame_buffer_intact(image)) << stray - block;
            *stray ^= 1;
        }
#endif
        frame_buffer_free(image);
    }
}

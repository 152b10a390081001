#include "pixels/convert.h"
#include "pixels/rgb_row.h"
#include "pixels/rgb_yuy2_row.h"
#include "pixels/yc48_709_row.h"
#include "pixels/yuy2_709_row.h"
#include "pixels/yuy2_row.h"
#include "support/frame_test.h"
#include "support/kernel_test.h"

// Whole pictures: where rows lie, which bytes are written, how the work is shared. The arithmetic has tests of its own.

/// A conversion, how it does one row, and how far rows of the outside picture lie apart.
struct PICTURE_CASE {
    const char* name;
    int pixel_size;
    bool to_frame;
    bool bottom_up;  // of the outside picture
    void (*convert)(uint8_t* to, const uint8_t* from, int w, int h);
    void (*row)(uint8_t* to, const uint8_t* from, int w);
    int (*outside_stride)(int w);
};

static int pairs_of(int w) { return (w + 1) / 2; }
static int rgb_stride(int w) { return (w * 3 + 3) / 4 * 4; }
static int pair_stride(int w) { return pairs_of(w) * 4; }
static int word_stride(int w) { return (w * 6 + 3) / 4 * 4; }
static int close_stride(int w) { return w * 6; }

template <auto KERNEL>
static void pixels(uint8_t* to, const uint8_t* from, int w) {
    [&]<typename TO, typename FROM>(void (*kernel)(TO*, const FROM*, int)) {
        kernel(reinterpret_cast<TO*>(to), reinterpret_cast<const FROM*>(from), w);
    }(KERNEL);
}
template <auto KERNEL>
static void pairs(uint8_t* to, const uint8_t* from, int w) {
    pixels<KERNEL>(to, from, pairs_of(w));
}
static void copy_words(uint8_t* to, const uint8_t* from, int w) { std::memcpy(to, from, size_t(w) * 6); }
static void copy_pairs(uint8_t* to, const uint8_t* from, int w) { std::memcpy(to, from, size_t(pairs_of(w)) * 4); }

static constexpr PICTURE_CASE CASES[] = {
    {"rgb24_to_frame", 6, true, true, rgb24_to_frame, pixels<rgb_row_to_yc48_ref>, rgb_stride},
    {"frame_to_rgb24", 6, false, true, frame_to_rgb24, pixels<yc48_row_to_rgb_ref>, rgb_stride},
    {"yuy2_to_frame", 6, true, false, yuy2_to_frame, pairs<yuy2_row_to_yc48_ref>, pair_stride},
    {"frame_to_yuy2", 6, false, false, frame_to_yuy2, pairs<yc48_row_to_yuy2_ref>, pair_stride},
    {"yuy2_709_to_frame", 6, true, false, yuy2_709_to_frame, pairs<yuy2_709_row_to_yc48_ref>, pair_stride},
    {"frame_to_yuy2_709", 6, false, false, frame_to_yuy2_709, pairs<yc48_row_to_yuy2_709_ref>, pair_stride},
    {"yc48_709_to_frame", 6, true, false, yc48_709_to_frame, pixels<yc48_709_row_to_yc48_ref>, close_stride},
    {"frame_to_yc48_709", 6, false, false, frame_to_yc48_709, pixels<yc48_row_to_yc48_709_ref>, close_stride},
    {"yc48_to_frame", 6, true, false, yc48_to_frame, copy_words, word_stride},
    {"frame_to_yc48", 6, false, false, frame_to_yc48, copy_words, word_stride},
    {"rgb24_to_frame 2", 2, true, true, rgb24_to_frame, pixels<rgb_row_to_yuy2_ref>, rgb_stride},
    {"frame_to_rgb24 2", 2, false, true, frame_to_rgb24, pixels<yuy2_row_to_rgb_ref>, rgb_stride},
    {"yuy2_to_frame 2", 2, true, false, yuy2_to_frame, copy_pairs, pair_stride},
    {"frame_to_yuy2 2", 2, false, false, frame_to_yuy2, copy_pairs, pair_stride},
};

static int dispatches = 0;
static void counted_dispatch(PARALLEL_FUNC func, void* data) {
    ++dispatches;
    fake_dispatch(func, data);
}

/// Converts a random picture and one more time row by row; compares all memory of the side that is written.
static void picture_check(const PICTURE_CASE& c, int w, int h, RNG& rng) {
    frame_geometry = frame_geometry_make(320, 240, c.pixel_size);
    const int stride = c.outside_stride(w);
    // Bytes may lie anywhere, the words of YC48 at even addresses.
    const bool words = c.outside_stride == word_stride || c.outside_stride == close_stride;
    GUARDED_ROW<uint8_t> outside(size_t(stride) * size_t(h), words ? rng.below(8) * 2 : rng.below(16));
    GUARDED_ROW<uint8_t> outside_want(outside.size);
    rng_fill(outside.span(), rng);
    GUARDED_ROW<uint8_t> block(frame_geometry.block_size, 0), block_want(block.size, 0);
    rng_fill(block.span(), rng);
    std::copy_n(outside.data(), outside.size, outside_want.data());
    std::copy_n(block.data(), block.size, block_want.data());
    for (int i = 0; i < h; ++i) {
        uint8_t* out = outside_want.data() + ptrdiff_t{c.bottom_up ? h - 1 - i : i} * stride;
        uint8_t* in = block_want.data() + frame_geometry.origin + ptrdiff_t{i} * frame_geometry.stride;
        c.row(c.to_frame ? in : out, c.to_frame ? out : in, w);
        if (!c.to_frame && yuy2_limit) yuy2_row_clamp_limit_ref(out, pairs_of(w));
    }
    uint8_t* image = block.data() + frame_geometry.origin;
    c.convert(c.to_frame ? image : outside.data(), c.to_frame ? outside.data() : image, w, h);
    ASSERT_TRUE(rows_equal(outside_want, outside));
    ASSERT_TRUE(rows_equal(block_want, block));
}

static constexpr int SIZES[][2] = {{33, 35}, {31, 31}, {1, 1}, {2, 32}, {5, 64}, {64, 40}, {103, 33}, {320, 240}};

struct ConvertPicture : testing::Test {
    void SetUp() override { parallel_set_dispatch(counted_dispatch); }
    void TearDown() override {
        parallel_set_dispatch(nullptr);
        yuy2_limit = false;
    }
    static void check_all(const PICTURE_CASE& c) {
        RNG rng(kernel_seed());
        for (const auto& [w, h] : SIZES)
            for (const int threads : {1, 2, 7}) {
                SCOPED_TRACE(testing::Message() << c.name << ", " << w << " x " << h << ", threads " << threads
                                                << ", VANTEL_TEST_SEED=" << kernel_seed());
                fake_threads = threads;
                dispatches = 0;
                ASSERT_NO_FATAL_FAILURE(picture_check(c, w, h, rng));
                ASSERT_EQ(dispatches, h >= 32 ? 1 : 0);
            }
    }
};

TEST_F(ConvertPicture, RowsLieWhereTheyShould) {
    for (const PICTURE_CASE& c : CASES) ASSERT_NO_FATAL_FAILURE(check_all(c));
}

TEST_F(ConvertPicture, LimitIsAppliedToYuy2Alone) {
    yuy2_limit = true;
    for (const PICTURE_CASE& c : CASES) {
        if (c.to_frame || c.outside_stride != pair_stride) continue;
        ASSERT_NO_FATAL_FAILURE(check_all(c));
    }
    uint8_t white[8] = {255, 255, 255, 255, 0, 0, 0, 0};
    yuy2_clamp_limit(white, 2, 2);
    EXPECT_EQ(std::memcmp(white, "\xEB\xF0\xEB\xF0\x10\x10\x10\x10", 8), 0);
}

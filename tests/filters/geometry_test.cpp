#include <array>
#include <cstring>
#include <memory>

#include "core/edit_state.h"
#include "core/settings.h"
#include "core/ui_hooks.h"
#include "filters/clip_resize.h"
#include "filters/resample.h"
#include "hosts/filter_functions.h"
#include "hosts/filter_size_list.h"
#include "pixels/frame_buffer.h"
#include "platform/parallel.h"
#include "resources/language.h"
#include "resources/string_ids.h"
#include "support/frame_test.h"
#include "support/kernel_test.h"

/// Place of a pixel in a block.
static size_t place(int x, int y) {
    const ptrdiff_t offset = ptrdiff_t{y} * frame_geometry.stride + ptrdiff_t{x} * frame_geometry.pixel_size;
    return frame_geometry.origin + size_t(offset);
}

/// A filter on two pictures of random content, and what they held before.
struct GeometryTest : testing::TestWithParam<int> {
    static constexpr int W = 320, H = 240;  // the largest picture
    std::unique_ptr<FRAME> image, scratch;
    std::vector<uint8_t> before, scratch_before;
    int32_t tracks[4] = {}, checks[2] = {}, extra[3] = {};  // top, bottom, left, right
    FILTER filter{};
    FILTER_PROC_PARAM param{};

    void SetUp() override {
        frame_geometry = frame_geometry_make(W, H, GetParam());
        parallel_set_dispatch(fake_dispatch);
        image = std::make_unique<FRAME>();
        scratch = std::make_unique<FRAME>();
        filter.track_values = tracks;
        filter.check_values = checks;
        filter.extra_data = extra;
        RNG rng(7);
        for (FRAME* frame : {image.get(), scratch.get()})
            for (uint8_t& byte : frame->block()) byte = uint8_t(rng.next() >> 32);
        before = image->copy();
        scratch_before = scratch->copy();
    }
    void TearDown() override { parallel_set_dispatch(nullptr); }

    bool yuy2() const { return GetParam() == 2; }
    int even(int x) const { return yuy2() ? x - (x % 2 + 2) % 2 : x; }
    void restore() const {
        std::ranges::copy(before, image->block().begin());
        std::ranges::copy(scratch_before, scratch->block().begin());
    }
    void run(decltype(FILTER::func_proc) proc, int w, int h) {
        restore();
        param.image = reinterpret_cast<YC48_PIXEL*>(image->image);
        param.scratch = reinterpret_cast<YC48_PIXEL*>(scratch->image);
        param.width = w;
        param.height = h;
        proc(&filter, &param);
    }
    bool swapped() const { return reinterpret_cast<uint8_t*>(param.image) == scratch->image; }
    /// A random size, often one where limits bite.
    static int random_size(RNG& rng, int most) {
        const int sizes[] = {rng.between(1, 40), rng.between(28, 70), rng.between(most - 12, most)};
        return sizes[rng.below(8) < 4 ? 0 : rng.below(4) ? 1 : 2];
    }
    void random_tracks(RNG& rng, int low) {
        const int reach = rng.below(8) == 0 ? 1024 : 40;
        for (int32_t& track : tracks) track = rng.below(4) ? rng.between(low < 0 ? -reach : 0, reach) : 0;
        fake_threads = std::array{1, 2, 7}[rng.below(3)];
    }
    /// The result holds want(x, y), a place in the block `before` or -1 for black, at w x h pixels; nothing else of
    /// either picture has changed. A pair that the width cuts may hold anything in its second pixel.
    template <typename WANT>
    void check(int w, int h, bool swap, const WANT& want) {
        ASSERT_EQ(param.width * 1000 + param.height, w * 1000 + h);
        ASSERT_EQ(swapped(), swap);
        const FRAME& got = swap ? *scratch : *image;
        std::vector<uint8_t> all = swap ? scratch_before : before;
        static constexpr uint8_t BLACK[2][6] = {{0, 0, 0, 0, 0, 0}, {0, 128, 0, 0, 0, 0}};
        const auto size = size_t(GetParam());
        for (int y = 0; y < h; ++y) {
            for (int x = 0; x < w; ++x) {
                const std::array<int, 2> from = want(x, y);
                const uint8_t* pixel = from[0] < 0 ? BLACK[yuy2()] : before.data() + place(from[0], from[1]);
                std::memcpy(all.data() + place(x, y), pixel, size);
            }
            if (yuy2() && w % 2) std::memcpy(all.data() + place(w, y), got.block().data() + place(w, y), size);
        }
        if (swap)
            ASSERT_TRUE(std::ranges::equal(before, image->block()));
        else
            ASSERT_TRUE(std::ranges::equal(scratch_before, scratch->block()));
        if (std::ranges::equal(all, got.block())) return;
        const auto wrong = std::ranges::mismatch(all, got.block()).in1 - all.begin();
        const ptrdiff_t offset = wrong - ptrdiff_t(frame_geometry.origin);
        FAIL() << "row " << offset / frame_geometry.stride << " column " << offset % frame_geometry.stride / GetParam();
    }
    std::string text(int w, int h) const {
        return testing::PrintToString(std::array{w, h, tracks[0], tracks[1], tracks[2], tracks[3], checks[0], checks[1],
                                                 extra[0], extra[1], extra[2]}) +
               " VANTEL_TEST_SEED=" + std::to_string(kernel_seed());
    }
};
INSTANTIATE_TEST_SUITE_P(PixelSizes, GeometryTest, testing::Values(6, 2));

// ---- border ---------------------------------------------------------------------------------------------------------

struct SPAN {
    int from, size, first, second;
};

/// One direction, step by step.
static SPAN border_model(int size, int largest, int a, int b, bool pairs, bool center) {
    if (a > size) a = size;
    if (b > size) b = size;
    if (a + b > size) b = size - a;
    while (size - a > largest) ++a;
    while (size - b > largest) ++b;
    while (size - a - b > largest) ++b;
    if (pairs) {
        while (a % 2) --a;
        while (b % 2) --b;
        const int whole = size + size % 2;
        while (whole - a > largest) a += 2;
        while (whole - b > largest || whole - a - b > largest) b += 2;
    }
    SPAN span{std::max(a, 0), size - std::max(a, 0) - std::max(b, 0), std::abs(a), std::abs(b)};
    if (center) {
        const int sum = span.first + span.second;
        span.first = sum / 2 - (pairs ? sum / 2 % 2 : 0);
        span.second = sum - span.first;
    }
    return span;
}

TEST_P(GeometryTest, BorderAgreesWithTheModel) {
    RNG rng(kernel_seed());
    for (int n = 0; n < 700; ++n) {
        const int w = random_size(rng, W), h = random_size(rng, H);
        random_tracks(rng, -1);
        for (int32_t& check : checks) check = int32_t(rng.below(2));
        SCOPED_TRACE(text(w, h));
        run(border_proc, w, h);
        const SPAN x = border_model(w, W, tracks[2], tracks[3], yuy2(), checks[0]);
        const SPAN y = border_model(h, H, tracks[0], tracks[1], false, checks[0]);
        const bool kept = x.size > 0 && y.size > 0, edges = checks[1] && kept;
        const auto want = [&](int column, int row) -> std::array<int, 2> {
            int u = column - x.first, v = row - y.first;
            const bool inside = u >= 0 && v >= 0 && u < x.size && v < y.size;
            if (!inside && !edges) return {-1, -1};
            v = std::clamp(v, 0, y.size - 1);
            const int unit = yuy2() ? 2 : 1, end = std::max(x.size, unit);
            while (u < 0) u += unit;
            while (u >= end) u -= unit;
            return {x.from + u, y.from + v};
        };
        check(x.first + x.size + x.second, y.first + y.size + y.second,
              kept && (x.first != x.from || y.first != y.from), want);
        ASSERT_FALSE(HasFatalFailure());
    }
}

TEST_P(GeometryTest, BorderKnownValues) {
    const auto sizes = [&](std::array<int, 4> set, bool center, int w, int h) {
        std::ranges::copy(set, tracks);
        checks[0] = center;
        run(border_proc, w, h);
        return testing::PrintToString(std::array{param.width, param.height, int(swapped())});
    };
    const auto text_of = [](int w, int h, int swap) { return testing::PrintToString(std::array{w, h, swap}); };
    EXPECT_EQ(sizes({0, 0, 0, 0}, false, 40, 40), text_of(40, 40, 0));
    EXPECT_EQ(sizes({0, 0, -8, 0}, false, 40, 40), text_of(48, 40, 1));
    EXPECT_EQ(sizes({0, 0, 8, 0}, false, 40, 40), text_of(40, 40, 0));
    EXPECT_EQ(sizes({0, 0, 8, 0}, true, 40, 40), text_of(40, 40, 1));  // the picture moves by 4
    EXPECT_EQ(sizes({-3, -1024, -1024, -5}, false, 300, 20), text_of(320, 240, 1));
    EXPECT_EQ(sizes({500, 500, 500, 500}, false, 300, 20), text_of(300, 20, 0));
    EXPECT_EQ(sizes({0, 0, -7, 0}, false, 40, 40), text_of(yuy2() ? 48 : 47, 40, 1));
}

// ---- clip -----------------------------------------------------------------------------------------------------------

TEST_P(GeometryTest, ClipAgreesWithTheModel) {
    RNG rng(kernel_seed());
    for (int n = 0; n < 700; ++n) {
        const int w = random_size(rng, W), h = random_size(rng, H);
        random_tracks(rng, 0);
        const bool sized = rng.below(3) == 0;
        extra[0] =
            sized || rng.below(2) ? std::array{rng.between(1, 400), 5000, -3}[rng.below(8) ? 0 : rng.below(3)] : 0;
        extra[1] = sized ? rng.between(1, 300) : 0;
        if (sized && extra[0] == 0) extra[0] = 1;
        extra[2] = int32_t(rng.below(2));
        SCOPED_TRACE(text(w, h));
        run(clip_resize_proc, w, h);
        int tw = w, th = h;
        if (sized) tw = std::clamp(extra[0], 32, W), th = std::clamp(extra[1], 32, H);
        if (even(tw) > 0) tw = even(tw);
        const auto cut = [](int size, int* a, int* b) {  // what is taken off, a pixel at a time
            while (*a > 0 && *a > size - 32) --*a;
            while (*b > 0 && *a + *b > size - 32) --*b;
        };
        int top = tracks[0], bottom = tracks[1], left = tracks[2], right = tracks[3];
        cut(w, &left, &right);
        cut(h, &top, &bottom);
        left = even(left), right = even(right);
        int cw = w - left - right, ch = h - top - bottom;
        if (extra[2]) {
            cw = std::max(std::min(cw, (th / 2 + ch * tw) / th), 1);
            ch = std::max(std::min(ch, (tw / 2 + cw * th) / tw), 1);
            if (even(cw) > 0) cw = even(cw);
        }
        if (!sized) {
            check(cw, ch, true, [&](int x, int y) { return std::array{left + x, top + y}; });
        } else {
            const std::vector<uint8_t> got = image->copy(), got_scratch = scratch->copy();
            restore();
            const bool swap = frame_resize(image->image, tw, th, left, top, cw, ch, scratch->image) == scratch->image;
            ASSERT_EQ(swapped(), swap);
            ASSERT_EQ(param.width * 1000 + param.height, tw * 1000 + th);
            ASSERT_TRUE(std::ranges::equal(got, image->block()) && std::ranges::equal(got_scratch, scratch->block()));
        }
        ASSERT_FALSE(HasFatalFailure());
    }
}

TEST_P(GeometryTest, ClipKeepsTheTargetsShapeAtTheTopLeft) {
    clip_target_set(&filter, {64, 48, 1});
    std::ranges::copy(std::array{10, 10, 20, 21}, tracks);
    run(clip_resize_proc, 200, 100);  // 160 x 80 (YC48: 159) left of it; 80 rows of 4 : 3 are 107 columns wide
    const int cw = yuy2() ? 106 : 107;
    const bool swap = swapped();
    EXPECT_EQ(param.width * 1000 + param.height, 64048);
    const std::vector<uint8_t> got = (swap ? scratch : image)->copy();
    restore();
    EXPECT_EQ(frame_resize(image->image, 64, 48, 20, 10, cw, 80, scratch->image) == scratch->image, swap);
    EXPECT_TRUE(std::ranges::equal(got, (swap ? scratch : image)->block()));
}

TEST(ClipTarget, IsParsedAndShown) {
    frame_geometry = frame_geometry_make(1280, 720, 6);
    const auto parse = [](const char* text) {
        CLIP_TARGET target{-1, -1, 5};
        clip_target_parse(text, &target);
        char label[32];
        clip_target_label(target, label, sizeof label);
        EXPECT_EQ(target.keep_aspect, 5);
        return testing::PrintToString(std::array{target.width, target.height}) + label;
    };
    const std::string none = language_string(STR_NONE);
    EXPECT_EQ(parse("640x480"), "{ 640, 480 }640x480");
    EXPECT_EQ(parse("640 480"), "{ 640, 480 }640x480");
    EXPECT_EQ(parse("640\x81\x7E"
                    "480"),
              "{ 640, 480 }640x480");  // a character of two bytes
    EXPECT_EQ(parse("32x33 "), "{ 32, 33 }32x33");
    EXPECT_EQ(parse("99999999999999999999x721"), "{ 1280, 720 }1280x720");
    EXPECT_EQ(parse("31x480"), "{ 0, 480 }" + none);
    EXPECT_EQ(parse("640xx480"), "{ 640, 0 }" + none);
    EXPECT_EQ(parse("640"), "{ 640, 0 }" + none);
    EXPECT_EQ(parse(none.c_str()), "{ 0, 0 }" + none);
    EXPECT_EQ(parse(""), "{ 0, 0 }" + none);
}

// ---- size change ----------------------------------------------------------------------------------------------------

struct SizeChangeTest : GeometryTest {
    std::unique_ptr<EDIT_STATE> edit = std::make_unique<EDIT_STATE>();
    static inline SIZE_DIALOG typed, shown;
    static inline int asked;
    static inline bool answer;
    static inline FILTER* again;

    void SetUp() override {
        GeometryTest::SetUp();
        std::strcpy(system_settings.resizelist, "65x48,5000x7,40x30");
        size_list_read();
        filter.check_count = 5;  // none, three sizes, given
        edit_state = edit.get();
        asked = 0;
        ui_hooks.ask_size = [](SIZE_DIALOG* dialog) {
            ++asked;
            shown = *dialog;
            if (again) size_change_update(again, 4 | FILTER_UPDATE_CHECK);
            *dialog = typed;
            return answer;
        };
    }
    void TearDown() override {
        ui_hooks.ask_size = nullptr;
        edit_state = nullptr;
        again = nullptr;
        GeometryTest::TearDown();
    }
    std::array<int, 2> stored() const { return {extra[0], extra[1]}; }
    /// Size and stored size after entry `selected`.
    std::array<int, 4> select(int selected, int w, int h) {
        filter.track_store[0] = selected;
        param.source_width = 111;
        param.source_height = 22;
        run(size_change_proc, w, h);
        return {param.width, param.height, extra[0], extra[1]};
    }
};
INSTANTIATE_TEST_SUITE_P(PixelSizes, SizeChangeTest, testing::Values(6, 2));

TEST_P(SizeChangeTest, TakesTheSizeOfTheEntry) {
    EXPECT_EQ(select(0, 50, 60), (std::array{50, 60, 111, 22}));
    EXPECT_TRUE(std::ranges::equal(before, image->block()));
    EXPECT_EQ(select(1, 50, 60), (std::array{even(65), 48, even(65), 48}));
    EXPECT_EQ(select(1, 65, 48), (std::array{65, 48, 65, 48}));  // no change needed
    EXPECT_EQ(select(2, 50, 60), (std::array{320, 32, 320, 32}));
    extra[0] = 33, extra[1] = 2000000000;
    EXPECT_EQ(select(4, 50, 60), (std::array{even(33), 240, even(33), 240}));
    EXPECT_EQ(select(3, 50, 60), (std::array{40, 30 + 2, 40, 32}));
    const std::vector<uint8_t> got = (swapped() ? scratch : image)->copy();
    const bool swap = swapped();
    restore();
    EXPECT_EQ(frame_resize(image->image, 40, 32, 0, 0, 50, 60, scratch->image) == scratch->image, swap);
    EXPECT_TRUE(std::ranges::equal(got, (swap ? scratch : image)->block()));
}

TEST_P(SizeChangeTest, AsksForTheGivenSize) {
    extra[0] = 100, extra[1] = 90;
    typed = {7, 5000};
    answer = false;
    EXPECT_EQ(size_change_update(&filter, 4 | FILTER_UPDATE_CHECK), 1);
    EXPECT_EQ(shown.width * 1000 + shown.height, 100090);
    EXPECT_EQ(stored(), (std::array{100, 90}));
    answer = true;
    again = &filter;  // a second click while the dialog is open
    size_change_update(&filter, 4 | FILTER_UPDATE_CHECK);
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(stored(), (std::array{32, 240}));
    EXPECT_TRUE(edit->edit_flag & EDIT_RELAYOUT);

    edit->edit_flag = 0;
    size_change_update(&filter, 0);  // settings that were loaded
    EXPECT_EQ(asked * 10 + int(edit->edit_flag), 20);
    size_change_update(&filter, 1 | FILTER_UPDATE_CHECK);
    EXPECT_EQ(asked, 2);
    EXPECT_TRUE(edit->edit_flag & EDIT_RELAYOUT);
    ui_hooks.ask_size = nullptr;  // nobody there: as cancelled
    size_change_update(&filter, 4 | FILTER_UPDATE_CHECK);
    EXPECT_EQ(stored(), (std::array{32, 240}));
    EXPECT_STREQ(clip_target_entry(0), language_string(STR_NONE));
    EXPECT_STREQ(clip_target_entry(3), "40x30");
    EXPECT_EQ(clip_target_entry(4), nullptr);
}

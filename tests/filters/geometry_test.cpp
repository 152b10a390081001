#include <memory>

#include "core/edit_state.h"
#include "core/settings.h"
#include "core/ui_hooks.h"
#include "filters/clip_resize.h"
#include "filters/picture_fixture.h"
#include "filters/resample.h"
#include "hosts/filter_functions.h"
#include "hosts/filter_size_list.h"
#include "resources/language.h"
#include "resources/string_ids.h"

/// A pixel in a block.
template <class BYTE>
static BYTE* place(BYTE* block, int x, int y) {
    return frame_row(block + frame_geometry.origin, y, x);
}

/// A filter on two pictures of random content, and what they held before.
struct GeometryTest : PictureTest {
    static constexpr int W = 320, H = 240;  // the largest picture
    std::unique_ptr<FILTER_RUN> filter;
    std::vector<uint8_t> before, scratch_before;
    int32_t *tracks, *checks, *extra;  // tracks: top, bottom, left, right
    void SetUp() override {
        PictureTest::SetUp();
        filter = std::make_unique<FILTER_RUN>();
        tracks = filter->tracks.data(), checks = filter->checks.data(), extra = filter->extra.data();
        RNG rng(7);
        for (const FRAME* frame : {&filter->image, &filter->scratch})
            for (uint8_t& byte : frame->block()) byte = uint8_t(rng.next() >> 32);
        before = filter->image.copy();
        scratch_before = filter->scratch.copy();
    }
    bool yuy2() const { return GetParam() == 2; }
    int even(int x) const { return yuy2() ? x - (x % 2 + 2) % 2 : x; }
    void restore() const {
        std::ranges::copy(before, filter->image.block().begin());
        std::ranges::copy(scratch_before, filter->scratch.block().begin());
    }
    void run(FILTER_RUN::PROC proc, int w, int h) const {
        restore();
        filter->run(proc, w, h);
    }
    std::array<int, 2> size() const { return {filter->param.width, filter->param.height}; }
    /// A random size, often one where limits bite.
    static int random_size(RNG& rng, int most) {
        const int sizes[] = {rng.between(1, 40), rng.between(28, 70), rng.between(most - 12, most)};
        return sizes[rng.below(8) < 4 ? 0 : rng.below(4) ? 1 : 2];
    }
    void random_tracks(RNG& rng, int low) const {
        const int reach = rng.below(8) == 0 ? 1024 : 40;
        for (int i = 0; i < 4; ++i) tracks[i] = rng.below(4) ? rng.between(low < 0 ? -reach : 0, reach) : 0;
        random_threads(rng);
    }
    /// The result holds want(x, y), a place in the block `before` or -1 for black, at w x h pixels; nothing else of
    /// either picture has changed. A pair that the width cuts may hold anything in its second pixel.
    template <typename WANT>
    void check(int w, int h, bool swap, const WANT& want) const {
        ASSERT_EQ(size(), (std::array{w, h}));
        ASSERT_EQ(filter->swapped(), swap);
        const std::span<const uint8_t> got = filter->result().block();
        std::vector<uint8_t> all = swap ? scratch_before : before;
        static constexpr uint8_t BLACK[2][6] = {{0, 0, 0, 0, 0, 0}, {0, 128, 0, 0, 0, 0}};
        const auto pixel_size = size_t(GetParam());
        for (int y = 0; y < h; ++y) {
            for (int x = 0; x < w; ++x) {
                const std::array<int, 2> from = want(x, y);
                const uint8_t* pixel = from[0] < 0 ? BLACK[yuy2()] : place(before.data(), from[0], from[1]);
                std::memcpy(place(all.data(), x, y), pixel, pixel_size);
            }
            if (yuy2() && w % 2) std::memcpy(place(all.data(), w, y), place(got.data(), w, y), pixel_size);
        }
        expect_block(all, got);
        EXPECT_TRUE(filter->other().copy() == (swap ? before : scratch_before));
    }
    /// The result is what frame_resize makes of a part of the picture.
    void check_resized(int out_w, int out_h, int x, int y, int w, int h) const {
        ASSERT_EQ(size(), (std::array{out_w, out_h}));
        const bool swap = filter->swapped();
        const std::vector<uint8_t> got = filter->image.copy(), got_scratch = filter->scratch.copy();
        restore();
        uint8_t* scratch = filter->scratch.image;
        ASSERT_EQ(frame_resize(filter->image.image, out_w, out_h, x, y, w, h, scratch) == scratch, swap);
        EXPECT_TRUE(got == filter->image.copy() && got_scratch == filter->scratch.copy());
    }
    std::string text(int w, int h) const {
        return testing::PrintToString(std::array{w, h, tracks[0], tracks[1], tracks[2], tracks[3], checks[0], checks[1],
                                                 extra[0], extra[1], extra[2]}) +
               " VANTEL_TEST_SEED=" + std::to_string(kernel_seed());
    }
};
INSTANTIATE_TEST_SUITE_P(PixelSizes, GeometryTest, testing::Values(6, 2));

struct SPAN {
    int from, size, first, second;
};

/// One direction, step by step.
static SPAN border_model(int size, int largest, int a, int b, bool pairs, bool center) {
    a = std::min(a, size), b = std::min({b, size, size - a});
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
        for (int i = 0; i < 2; ++i) checks[i] = int32_t(rng.below(2));
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

TEST_P(GeometryTest, ClipAgreesWithTheModel) {
    RNG rng(kernel_seed());
    for (int n = 0; n < 700; ++n) {
        const int w = random_size(rng, W), h = random_size(rng, H);
        random_tracks(rng, 0);
        const bool sized = rng.below(3) == 0;
        extra[0] =
            sized || rng.below(2) ? std::array{rng.between(1, 400), 5000, -3}[rng.below(8) ? 0 : rng.below(3)] : 0;
        extra[1] = sized ? rng.between(1, 300) : 0;
        extra[2] = int32_t(rng.below(2));
        SCOPED_TRACE(text(w, h));
        run(clip_resize_proc, w, h);
        int tw = w, th = h;
        if (sized) tw = std::clamp(extra[0], 32, W), th = std::clamp(extra[1], 32, H);
        if (even(tw) > 0) tw = even(tw);
        int top = tracks[0], bottom = tracks[1], left = tracks[2], right = tracks[3];
        for (auto [size, a, b] : {std::tuple{w, &left, &right}, {h, &top, &bottom}}) {  // a pixel at a time
            while (*a > 0 && *a > size - 32) --*a;
            while (*b > 0 && *a + *b > size - 32) --*b;
        }
        left = even(left), right = even(right);
        int cw = w - left - right, ch = h - top - bottom;
        if (extra[2]) {
            cw = std::max(std::min(cw, (th / 2 + ch * tw) / th), 1);
            ch = std::max(std::min(ch, (tw / 2 + cw * th) / tw), 1);
            if (even(cw) > 0) cw = even(cw);
        }
        if (sized)
            check_resized(tw, th, left, top, cw, ch);
        else
            check(cw, ch, true, [&](int x, int y) { return std::array{left + x, top + y}; });
        ASSERT_FALSE(HasFailure());
    }
}

TEST(ClipTarget, IsParsedAndShown) {
    frame_geometry = frame_geometry_make(1280, 720, 6);
    const std::string none = language_string(STR_NONE);
    const struct {
        std::string text, want;
    } rows[] = {
        {"640x480", "640 480 640x480"}, {"640\x81\x7E\x34\x38\x30", "640 480 640x480"},  // a character of two bytes
        {"32 33 ", "32 33 32x33"},      {"99999999999999999999x721", "1280 720 1280x720"},
        {"31x480", "0 480 " + none},    {"640xx480", "640 0 " + none},
        {"640", "640 0 " + none},       {none, "0 0 " + none}};
    for (const auto& row : rows) {
        CLIP_TARGET target{-1, -1, 5};
        clip_target_parse(row.text.c_str(), &target);
        char label[32];
        clip_target_label(target, label, sizeof label);
        EXPECT_EQ(std::to_string(target.width) + " " + std::to_string(target.height) + " " + label, row.want);
        EXPECT_EQ(target.keep_aspect, 5);
    }
}

struct SizeChangeTest : GeometryTest {
    std::unique_ptr<EDIT_STATE> edit = std::make_unique<EDIT_STATE>();
    static inline SIZE_DIALOG typed, shown;
    static inline int asked;
    static inline bool answer;
    void SetUp() override {
        GeometryTest::SetUp();
        std::strcpy(system_settings.resizelist, "65x48,5000x7,40x30");
        size_list_read();
        filter->filter.check_count = 5;  // none, three sizes, given
        filter->filter.extra_data = extra;
        edit_state = edit.get();
        asked = 0;
        ui_hooks.ask_size = [](SIZE_DIALOG* dialog) {
            ++asked;
            shown = *dialog;
            *dialog = typed;
            return answer;
        };
    }
    void TearDown() override {
        ui_hooks.ask_size = nullptr;
        edit_state = nullptr;
        GeometryTest::TearDown();
    }
    std::array<int, 2> stored() const { return {extra[0], extra[1]}; }
    void update(int status) const { EXPECT_EQ(size_change_update(&filter->filter, status), 1); }
};
INSTANTIATE_TEST_SUITE_P(PixelSizes, SizeChangeTest, testing::Values(6, 2));

TEST_P(SizeChangeTest, TakesTheSizeOfTheEntry) {
    using SIZE = std::array<int, 2>;
    const struct {
        int entry;
        SIZE from, given, want, stored;
    } rows[] = {{0, {50, 60}, {0, 0}, {50, 60}, {111, 22}},
                {1, {65, 48}, {0, 0}, {65, 48}, {65, 48}},  // no change needed
                {1, {50, 60}, {0, 0}, {even(65), 48}, {even(65), 48}},
                {2, {50, 60}, {0, 0}, {320, 32}, {320, 32}},
                {3, {50, 60}, {0, 0}, {40, 32}, {40, 32}},
                {4, {50, 60}, {33, 2000000000}, {even(33), 240}, {even(33), 240}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.entry);
        filter->filter.track_store[0] = row.entry;
        filter->param.source_width = 111, filter->param.source_height = 22;
        extra[0] = row.given[0], extra[1] = row.given[1];
        run(size_change_proc, row.from[0], row.from[1]);
        EXPECT_EQ(stored(), row.stored);
        check_resized(row.want[0], row.want[1], 0, 0, row.from[0], row.from[1]);
    }
}

TEST_P(SizeChangeTest, AsksForTheGivenSize) {
    extra[0] = 100, extra[1] = 90;
    typed = {7, 5000};
    for (const bool given : {false, true}) {
        answer = given;
        update(4 | FILTER_UPDATE_CHECK);
        EXPECT_EQ((std::array{shown.width, shown.height}), (std::array{100, 90}));
        EXPECT_EQ(stored(), given ? (std::array{32, 240}) : (std::array{100, 90}));
    }
    EXPECT_TRUE(edit->edit_flag & EDIT_RELAYOUT);
    edit->edit_flag = 0;
    update(0);  // settings that were loaded
    EXPECT_EQ(edit->edit_flag, 0u);
    update(1 | FILTER_UPDATE_CHECK);
    EXPECT_TRUE(edit->edit_flag & EDIT_RELAYOUT);
    EXPECT_EQ(asked, 2);
    ui_hooks.ask_size = nullptr;  // nobody there: as cancelled
    update(4 | FILTER_UPDATE_CHECK);
    EXPECT_EQ(stored(), (std::array{32, 240}));
    EXPECT_STREQ(clip_target_entry(0), language_string(STR_NONE));
    EXPECT_STREQ(clip_target_entry(3), "40x30");
    EXPECT_EQ(clip_target_entry(4), nullptr);
}

#include "ui/view.h"

#include <array>

#include "main_fixture.h"
#include "platform/image.h"
#include "platform/window_draw.h"

static std::vector<int> rect_at(VIEW_RECORD* view, int zoom, POINT area, POINT picture) {
    view->zoom = zoom;
    view_place_picture(view, area.x, area.y, picture.x, picture.y);
    return {std::begin(view->draw_rect), std::end(view->draw_rect)};
}

TEST(View, ZoomsPlaceThePicture) {
    const struct {
        int zoom;
        POINT area, picture;
        std::vector<int> rect;
    } cases[] = {{0, {400, 300}, {100, 100}, {187, 137, 25, 25, 100, 100}},
                 {2, {320, 240}, {320, 240}, {0, 0, 320, 240, 320, 240}},
                 {2, {321, 200}, {320, 240}, {0, 0, 320, 200, 320, 200}},
                 {3, {501, 401}, {320, 240}, {0, 0, 500, 400, 250, 200}},  // a cut shows whole pixels
                 {1, {100, 300}, {320, 240}, {0, 90, 100, 120, 200, 240}},
                 {6, {640, 480}, {320, 100}, {0, 140, 640, 200, 320, 100}},
                 {6, {640, 480}, {100, 320}, {245, 0, 150, 480, 100, 320}}};
    VIEW_RECORD view{};
    for (const auto& [zoom, area, picture, rect] : cases) EXPECT_EQ(rect_at(&view, zoom, area, picture), rect) << zoom;
    for (const auto& [zoom, length, scaled, back] : {std::array{0, 99, 24, 96}, {4, 99, 297, 99}}) {
        view.zoom = zoom;
        EXPECT_EQ(view_zoom_scale(&view, length), scaled);
        EXPECT_EQ(view_zoom_unscale(&view, scaled), back);
    }
    EXPECT_EQ(view_zoom_unscale(&view, 299), 99);
    rect_at(&view, 3, {501, 401}, {320, 240});
    POINT at = {499, 101};
    EXPECT_TRUE(view_to_picture(&view, &at));
    EXPECT_TRUE(at.x == 249 && at.y == 50);
    view.draw_rect[4] = view.draw_rect[5] = 0;
    EXPECT_FALSE(view_to_picture(&view, &at));
}

struct ViewWindow : MAIN_FIXTURE {
    std::vector<uint8_t> shot;  // B, G, R, A, lowest row first
    int width = 0, height = 0;

    static uint32_t colour_at(const uint8_t* p) { return uint32_t(p[2]) << 16 | uint32_t(p[1]) << 8 | p[0]; }
    void shoot() {
        const std::string path = folder / "shot.png", inner_path = text_from_utf8(path);
        window_repaint(main_window());
        ASSERT_TRUE(window_picture(main_window(), path));
        ASSERT_TRUE(image_file_size(inner_path.c_str(), &width, &height));
        shot.resize(size_t(width) * size_t(height) * 4);
        ASSERT_EQ(image_file_read(inner_path.c_str(), width, height, shot.data()), IMAGE_WHOLE);
    }
    // Of the client area, which is the lower part of the picture.
    uint32_t colour(int x, int y) const {
        const int up = window_client(main_window()).height - 1 - y;
        return colour_at(shot.data() + (size_t(up) * size_t(width) + size_t(x)) * 4);
    }
    uint32_t source(int x, int y) const {
        const auto* pixels = static_cast<const uint8_t*>(handle_get(edit->shown_pixels));
        return colour_at(pixels + (size_t(edit->out_height - 1 - y) * size_t(edit->out_width) + size_t(x)) * 3);
    }
    /// Whether some pixels inside the picture are the ones that the zoom puts there.
    void expect_picture(int factor, int step) {
        shoot();
        const int32_t* r = edit->view.draw_rect;
        for (const POINT at : {POINT{0, 0}, POINT{7, r[3] / 2}, POINT{r[2] - 1, r[3] - 1}, POINT{r[2] / 2, r[3] / 3}}) {
            const int x = at.x / factor * step, y = at.y / factor * step;
            // the lowest row of a block stands for it
            EXPECT_EQ(colour(r[0] + at.x, r[1] + at.y), source(x, y + step - 1)) << at.x << ' ' << at.y;
        }
    }
};

TEST_F(ViewWindow, EveryZoomShowsThePicturesPixels) {
    edit->view.view_flag &= ~(VIEW_AT_START | VIEW_AT_END);
    open("a.avi", {128, 96, 30, 1, 8, 24, 44100, 0});
    command(5145, 3);  // neither end of the selection: no marks
    EXPECT_EQ(window_frame(main_window()).width, VIEW_MIN_WIDTH);
    expect_picture(1, 1);
    EXPECT_EQ(colour(2, 2), theme_colour(COLOUR_FACE));
    command(9200);
    expect_picture(1, 4);
    window_move(main_window(), screen_desktop().width - 490, 20);
    command(9205);  // larger than the largest tile is not, but cut by nothing
    EXPECT_EQ(window_client(main_window()).width, 512);
    const RECT frame = window_frame(main_window());
    EXPECT_TRUE(frame.left + frame.width == screen_desktop().width && frame.top == 20);
    expect_picture(4, 1);
    window_resize_client(main_window(), 300, 250);
    window_pump();
    expect_picture(4, 1);
    EXPECT_EQ(edit->view.draw_rect[4], 75);
    command(9202);
    shoot();
    const int strip = window_client(main_window()).height - VIEW_STRIP_HEIGHT - VIEW_BAR_HEIGHT;
    EXPECT_EQ(colour(10, strip + 32), 0x3FFF3Fu);  // a beep is in the first frame of a second
    EXPECT_EQ(colour(10, strip + 1), 0x3F3F3Fu);
    const int wide = screen_desktop().width + 40;  // over two screens
    window_resize_client(main_window(), wide, 100);
    view_fit(&edit->view, 128, 96, true);
    EXPECT_EQ(window_client(main_window()).width, wide);
    EXPECT_GT(window_client(main_window()).height, 100);
}

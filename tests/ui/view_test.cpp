#include "ui/view.h"

#include "main_fixture.h"
#include "platform/image.h"
#include "platform/window_draw.h"
#include "ui/view_overlay.h"

static std::vector<int> rect_at(VIEW_RECORD* view, int zoom, int aw, int ah, int w, int h) {
    view->zoom = zoom;
    view_place_picture(view, aw, ah, w, h);
    return {std::begin(view->draw_rect), std::end(view->draw_rect)};
}

TEST(View, ZoomsPlaceThePicture) {
    using R = std::vector<int>;
    VIEW_RECORD view{};
    view.zoom = 0;
    EXPECT_EQ(view_zoom_scale(&view, 99), 24);
    EXPECT_EQ(view_zoom_unscale(&view, 24), 96);
    view.zoom = 4;
    EXPECT_EQ(view_zoom_scale(&view, 99), 297);
    EXPECT_EQ(view_zoom_unscale(&view, 299), 99);
    EXPECT_EQ(rect_at(&view, 0, 400, 300, 100, 100), (R{187, 137, 25, 25, 100, 100}));
    EXPECT_EQ(rect_at(&view, 2, 320, 240, 320, 240), (R{0, 0, 320, 240, 320, 240}));
    EXPECT_EQ(rect_at(&view, 2, 321, 200, 320, 240), (R{0, 0, 320, 200, 320, 200}));
    EXPECT_EQ(rect_at(&view, 3, 501, 401, 320, 240), (R{0, 0, 500, 400, 250, 200}));  // a cut shows whole pixels
    EXPECT_EQ(rect_at(&view, 1, 100, 300, 320, 240), (R{0, 90, 100, 120, 200, 240}));
    EXPECT_EQ(rect_at(&view, 6, 640, 480, 320, 100), (R{0, 140, 640, 200, 320, 100}));
    EXPECT_EQ(rect_at(&view, 6, 640, 480, 100, 320), (R{245, 0, 150, 480, 100, 320}));

    rect_at(&view, 3, 501, 401, 320, 240);
    POINT at = {499, 101};
    EXPECT_TRUE(view_to_picture(&view, &at));
    EXPECT_EQ(at.x, 249);
    EXPECT_EQ(at.y, 50);
    view.draw_rect[4] = view.draw_rect[5] = 0;
    EXPECT_FALSE(view_to_picture(&view, &at));
}

struct ViewWindow : MAIN_FIXTURE {
    std::vector<uint8_t> shot;  // B, G, R, A, lowest row first
    int width = 0, height = 0;
    POINT client{};  // its corner in the picture of the window

    void shoot() {
        const std::string path = folder / "shot.png";
        window_repaint(main_window());
        ASSERT_TRUE(window_picture(main_window(), path));
        ASSERT_TRUE(image_file_size(text_from_utf8(path).c_str(), &width, &height));
        shot.resize(size_t(width) * size_t(height) * 4);
        ASSERT_EQ(image_file_read(text_from_utf8(path).c_str(), width, height, shot.data()), IMAGE_WHOLE);
        const RECT inner = window_client(main_window());
        client = {0, height - inner.height};
    }
    uint32_t colour(int x, int y) const {
        const size_t at = (size_t(height - 1 - client.y - y) * size_t(width) + size_t(client.x + x)) * 4;
        return uint32_t(shot[at + 2]) << 16 | uint32_t(shot[at + 1]) << 8 | shot[at];
    }
    uint32_t source(int x, int y) const {
        const auto* pixels = static_cast<const uint8_t*>(handle_get(edit->shown_pixels));
        const uint8_t* p = pixels + (size_t(edit->out_height - 1 - y) * size_t(edit->out_width) + size_t(x)) * 3;
        return uint32_t(p[2]) << 16 | uint32_t(p[1]) << 8 | p[0];
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
    const RECT frame = window_frame(main_window()), client = window_client(main_window());
    EXPECT_EQ(client.width, VIEW_MIN_WIDTH - (frame.width - client.width));
    EXPECT_EQ(client.height, VIEW_MIN_HEIGHT - (frame.height - client.height));
    expect_picture(1, 1);
    EXPECT_EQ(colour(2, 2), theme_colour(COLOUR_FACE));
    command(9200);
    expect_picture(1, 4);
    command(9201);
    expect_picture(1, 2);
    command(9205);  // larger than the largest tile is not, but cut by nothing
    EXPECT_EQ(window_client(main_window()).width, 512);
    expect_picture(4, 1);
    window_resize_client(main_window(), 300, 250);
    window_pump();
    expect_picture(4, 1);
    EXPECT_EQ(edit->view.draw_rect[4], 75);
    command(9206);
    EXPECT_EQ(edit->view.draw_rect[3], 250 - VIEW_BAR_HEIGHT - VIEW_STRIP_HEIGHT);
    command(9202);
    const int wide = screen_desktop().width + 40;  // over two screens
    window_resize_client(main_window(), wide, 100);
    view_fit(&edit->view, 128, 96, true);
    EXPECT_EQ(window_client(main_window()).width, wide);
    EXPECT_GT(window_client(main_window()).height, 100);
}

TEST_F(ViewWindow, StripAndMarksFollow) {
    open("a.avi", {320, 240, 30, 1, 8, 24, 44100, 0});
    shoot();
    const int32_t* r = edit->view.draw_rect;
    const int strip = window_client(main_window()).height - VIEW_BAR_HEIGHT - VIEW_STRIP_HEIGHT;
    EXPECT_EQ(colour(10, strip + 32), 0x3FFF3Fu);  // a beep is in the first frame of a second
    EXPECT_EQ(colour(10, strip + 1), 0x3F3F3Fu);
    int marked = 0;
    for (int y = 6; y < 30; ++y)
        for (int x = 6; x < 30; ++x) marked += colour(r[0] + x, r[1] + y) != source(x, y);
    EXPECT_GT(marked, 50);
    command(9104);  // without the strip the window fits closer
    EXPECT_EQ(window_client(main_window()).height,
              std::max(240 + VIEW_BAR_HEIGHT,
                       VIEW_MIN_HEIGHT - (window_frame(main_window()).height - window_client(main_window()).height)));
    command(5157);
    EXPECT_EQ(edit->view.draw_rect[4], 0);
    shoot();
    EXPECT_EQ(colour(100, 100), theme_colour(COLOUR_FACE));
    EXPECT_EQ(text_to_utf8(overlay_info()), "使用されていません。");
}
